// What applications rely on, against the simulator: callbacks on the desktop host run on
// its delivery thread and may send requests (the answer arrives while the callback waits,
// later events wait for the callback), and a placed call's identifier arrives in its first
// call-state event.

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Client.h"
#include "CommunicationsService/CommunicationsServiceEventAdapter.h"
#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/desktop/Host.h"
#include "SimulatorProcess.h"

namespace {

// Answers every incoming call from inside its callback, as applications do.
class AnsweringSubscriber : public Executable,
                            public CommunicationsServiceEventAdapter,
                            public desktop::ServiceWatcher {
public:
    // Called by the host when it attaches the subscriber, as the phone's framework does.
    void init(Context& /*context*/) override {
        note("init: activate " + std::to_string(service->activate()) + ", subscribe " +
                 std::to_string(service->subscribe(this)),
             Thread::attaching);
    }
    void shutdown() override {}

    void onIncomingCallEvent(const std::string& lineId, int callId, const std::string&,
                             const std::string&, const std::string&, const std::string&,
                             const std::string&, bool, int, const std::string&, const std::string&,
                             int, bool, int, int, int, bool) override {
        note("incoming " + std::to_string(callId));
        const int answered = service->answerCall(lineId, callId);
        bool muted = true;
        const int queried = service->getMicrophoneMute(muted);
        note("answerCall " + std::to_string(answered) + ", getMicrophoneMute " +
             std::to_string(queried));
    }

    void onCallStateChangeEvent(const std::string&, int callId, int callState, int, int,
                                const std::string&, const std::string&, const std::string&,
                                CallPartyInfo*, int, int, const std::string&, bool, int,
                                int) override {
        note("call " + std::to_string(callId) + " state " + std::to_string(callState));
    }

    // A restarted service has forgotten the lines; the host has renewed the subscription.
    void onServiceBack() override { note("back: activate " + std::to_string(service->activate())); }

    // What happened, once `last` has; empty after the timeout.
    std::vector<std::string> awaitNote(const std::string& last) {
        std::unique_lock<std::mutex> lock(mutex);
        const bool seen = noted.wait_for(lock, std::chrono::seconds(20),
                                         [&] { return !notes.empty() && notes.back() == last; });
        return seen ? notes : std::vector<std::string>();
    }

    std::set<std::thread::id> callbackThreads() {
        std::lock_guard<std::mutex> lock(mutex);
        return threads;
    }

    CommunicationsServiceIfc* service = nullptr;

private:
    // Which thread a note comes from: init() runs on the one that attaches, not among the
    // callbacks.
    enum class Thread { delivery, attaching };
    void note(const std::string& line, Thread from = Thread::delivery) {
        std::lock_guard<std::mutex> lock(mutex);
        notes.push_back(line);
        if (from == Thread::delivery) threads.insert(std::this_thread::get_id());
        noted.notify_all();
    }

    std::mutex mutex;
    std::condition_variable noted;
    std::vector<std::string> notes;
    std::set<std::thread::id> threads;
};

// The answering application on a desktop host, which has activated and subscribed once
// attached.
struct AnsweringApplication {
    explicit AnsweringApplication(const kit::SimulatorProcess& simulator)
        : host([&] {
              desktop::Host::Options options;
              options.pluginPath = PLUGIN_PATH;
              options.socketPath = simulator.socketPath();
              options.report = [](const std::string&) {};
              return options;
          }()) {
        subscriber.service = &host.service();
        attached = host.attach(subscriber, "answering");
        EXPECT_FALSE(subscriber.awaitNote("init: activate 5, subscribe 5").empty());
    }

    AnsweringSubscriber subscriber;
    desktop::Host host;
    desktop::Attachment attached;
};

// How often the simulator's log says the answering application subscribed.
int subscriptionsIn(const std::string& log) {
    int count = 0;
    const std::string subscribed = "subscribed channel 'answering'";
    for (auto at = log.find(subscribed); at != std::string::npos; at = log.find(subscribed, at + 1))
        ++count;
    return count;
}

TEST(CallbacksOnTheHost, RunOnItsDeliveryThreadAndMaySendRequests) {
    kit::SimulatorProcess simulator;
    AnsweringApplication application(simulator);
    AnsweringSubscriber& subscriber = application.subscriber;

    ASSERT_EQ(application.host.channel().control("incomingCall 1001 2005").rfind("ok", 0), 0u);
    const std::vector<std::string> expected = {"init: activate 5, subscribe 5", "incoming 1",
                                               "answerCall 5, getMicrophoneMute 5",
                                               "call 1 state 3", "call 1 state 4"};
    EXPECT_EQ(subscriber.awaitNote("call 1 state 4"), expected) << simulator.log();
    const std::set<std::thread::id> threads = subscriber.callbackThreads();
    ASSERT_EQ(threads.size(), 1u);
    EXPECT_NE(*threads.begin(), std::this_thread::get_id());
}

TEST(PlacedCalls, LearnTheirIdentifierFromTheFirstCallStateEvent) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    EXPECT_TRUE(client.run({
        "subscribe => sfiSuccess",
        "activate => sfiSuccess",
        // A free identifier is kept; 0, or one a call holds, makes the service choose.
        "outgoingCallMake 1001 5 2002 0 0 0 => sfiSuccess",
        "await onCallStateChangeEvent lineId=1001 callId=5 callState=dialing "
        "uri=sip:2002@pbx.example.com",
        "outgoingCallMake 1001 0 2002 0 0 0 => sfiSuccess",
        "await onCallStateChangeEvent lineId=1001 callId=1 callState=dialing",
        "outgoingCallMake 1002 5 2002 0 0 0 => sfiSuccess",
        "await onCallStateChangeEvent lineId=1002 callId=2 callState=dialing",
    })) << simulator.log();
}

TEST(RestartedService, HasTheApplicationSubscribedOnceByTheHostAndActivatedAgainByItself) {
    kit::SimulatorProcess first;
    AnsweringApplication application(first);
    AnsweringSubscriber& subscriber = application.subscriber;

    first.kill();
    kit::SimulatorProcess second({}, first.socketPath());
    ASSERT_FALSE(subscriber.awaitNote("back: activate 5").empty());
    ASSERT_EQ(application.host.channel().control("incomingCall 1001 2005").rfind("ok", 0), 0u);
    EXPECT_FALSE(subscriber.awaitNote("call 1 state 4").empty()) << second.log();
    EXPECT_EQ(subscriptionsIn(second.log()), 1) << second.log();
}

} // namespace
