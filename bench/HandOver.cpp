// The hand-over of a call-state event from the delivery thread to the application's loop
// (the typed copy, the queue, the descriptor's wake-up and the dispatch), against the floor
// of a bare descriptor ping-pong between the same two threads. Both are round trips: the
// loop wakes the other thread, which answers, and the loop waits for the answer in poll.
// Then the rate the loop keeps up with when the delivery thread sends without pause.

#include <benchmark/benchmark.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include "CommunicationsService/app/EventQueue.h"

namespace {

using namespace CommunicationsService::app;

void waitReadable(int descriptor) {
    pollfd watched{descriptor, POLLIN, 0};
    while (::poll(&watched, 1, -1) != 1) {
    }
}

void signal(int descriptor) {
    const std::uint64_t one = 1;
    if (::write(descriptor, &one, sizeof one) != sizeof one) std::abort();
}

void consume(int descriptor) {
    std::uint64_t count = 0;
    if (::read(descriptor, &count, sizeof count) != sizeof count) std::abort();
}

// A thread that sleeps in poll on its own descriptor and does `work` each time it is woken.
class Peer {
public:
    explicit Peer(std::function<void()> work) : work(std::move(work)), thread([this] { run(); }) {}
    ~Peer() {
        stopping = true;
        wake();
        thread.join();
        ::close(go);
    }

    void wake() { signal(go); }

private:
    void run() {
        for (;;) {
            waitReadable(go);
            consume(go);
            if (stopping) return;
            work();
        }
    }

    int go = ::eventfd(0, EFD_CLOEXEC);
    std::atomic<bool> stopping{false};
    std::function<void()> work;
    std::thread thread;
};

void BareDescriptorPingPong(benchmark::State& state) {
    const int back = ::eventfd(0, EFD_CLOEXEC);
    Peer peer([back] { signal(back); });
    for (auto _ : state) {
        peer.wake();
        waitReadable(back);
        consume(back);
    }
    ::close(back);
}

struct StateCounter : EventHandler {
    benchmark::IterationCount states = 0;
    void on(const CallStateChange& change) override { states += change.callState != 0; }
};

// A call-state event's arguments, as the invoker passes them.
struct CallStateSender {
    CallPartyInfo parties{};
    const std::string lineId = "sip:1001@pbx.example.com";
    const std::string uri = "sip:2002@pbx.example.com";
    const std::string name = "Bob Example";
    const std::string fullPai = "\"Bob Example\" <sip:2002@pbx.example.com>";
    const std::string none;

    CallStateSender() {
        std::strcpy(parties.callingParty, "sip:2002@pbx.example.com");
        std::strcpy(parties.callingPartyName, "Bob Example");
    }
    void send(TypedSubscriber& subscriber) {
        subscriber.onCallStateChangeEvent(lineId, 12, 3, 0, 0, uri, name, fullPai, &parties, -1, -1,
                                          none, true, -1, -1);
    }
};

void CallStateHandOver(benchmark::State& state) {
    EventQueue queue;
    TypedSubscriber subscriber(queue.sink());
    CallStateSender sender;
    Peer delivery([&] { sender.send(subscriber); });
    StateCounter handler;
    for (auto _ : state) {
        delivery.wake();
        waitReadable(queue.descriptor());
        queue.dispatch(handler);
    }
    if (handler.states != state.iterations()) state.SkipWithError("an event went missing");
}

// The delivery thread sends a burst as fast as it can while the loop drains the queue,
// within the queue's default limits: the events a second the loop handled, and the share of
// the burst that the queue dropped to stay within them ("lost").
void CallStateStream(benchmark::State& state) {
    constexpr int kBurst = 20000;
    double lost = 0;
    benchmark::IterationCount handled = 0;
    for (auto _ : state) {
        EventQueue queue;
        StateCounter handler;
        std::thread delivery([&] {
            TypedSubscriber subscriber(queue.sink());
            CallStateSender sender;
            for (int sent = 0; sent < kBurst; ++sent)
                sender.send(subscriber);
        });
        while (handler.states + static_cast<benchmark::IterationCount>(queue.counts().lost) <
               kBurst) {
            waitReadable(queue.descriptor());
            queue.dispatch(handler);
        }
        delivery.join();
        lost += static_cast<double>(queue.counts().lost) / kBurst;
        handled += handler.states;
    }
    state.SetItemsProcessed(handled);
    state.counters["lost"] = benchmark::Counter(lost / static_cast<double>(state.iterations()));
}

BENCHMARK(BareDescriptorPingPong)->UseRealTime()->Repetitions(9)->ReportAggregatesOnly(true);
BENCHMARK(CallStateHandOver)->UseRealTime()->Repetitions(9)->ReportAggregatesOnly(true);
BENCHMARK(CallStateStream)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly(true);

} // namespace

BENCHMARK_MAIN();
