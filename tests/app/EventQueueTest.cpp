// The hand-over of events to the application's loop: order, the descriptor's readiness,
// the limits and the losses they cause, the executor's jobs, and teardown in every order
// while another thread delivers events.

#include <gtest/gtest.h>

#include <poll.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "CommunicationsService/app/EventQueue.h"

namespace {

using namespace CommunicationsService::app;

// Writes down the calls of the held events it receives, and the losses, in order.
struct Trace : EventHandler {
    std::vector<std::string> seen;
    std::function<void()> afterEach;

    void on(const CallHeld& held) override {
        seen.push_back(std::to_string(held.callId));
        if (afterEach) afterEach();
    }
    void on(const Lost& lost) override { seen.push_back("lost " + std::to_string(lost.count)); }

    std::string text() const {
        std::string all;
        for (const std::string& one : seen)
            all += (all.empty() ? "" : " ") + one;
        return all;
    }
};

bool readable(int descriptor) {
    pollfd watched{descriptor, POLLIN, 0};
    return ::poll(&watched, 1, 0) == 1;
}

void held(TypedSubscriber& subscriber, int callId, const std::string& lineId = "1001") {
    subscriber.onCallHeldEvent(lineId, callId);
}

TEST(EventQueue, HandsEventsOverInOrderAndIsReadableJustWhileTheyWait) {
    EventQueue queue;
    TypedSubscriber subscriber(queue.sink());
    Trace trace;
    EXPECT_FALSE(readable(queue.descriptor()));
    for (int call : {1, 2, 3})
        held(subscriber, call);
    EXPECT_TRUE(readable(queue.descriptor()));
    EXPECT_EQ(queue.dispatch(trace, 2), 2u);
    EXPECT_TRUE(readable(queue.descriptor())) << "one event still waits";
    EXPECT_EQ(queue.dispatch(trace), 1u);
    EXPECT_FALSE(readable(queue.descriptor()));
    EXPECT_EQ(queue.dispatch(trace), 0u);
    EXPECT_EQ(trace.text(), "1 2 3");
}

TEST(EventQueue, CarriesEventsFromTheDeliveryThreadToAPollLoopInTheirOrder) {
    constexpr int kEvents = 20000;
    EventQueue queue(QueueLimits{kEvents, std::size_t(-1)});
    Trace trace;
    std::thread delivery([sink = queue.sink()] {
        TypedSubscriber subscriber(sink);
        for (int call = 0; call < kEvents; ++call)
            held(subscriber, call);
    });
    while (trace.seen.size() < std::size_t(kEvents)) {
        pollfd watched{queue.descriptor(), POLLIN, 0};
        ASSERT_EQ(::poll(&watched, 1, 5000), 1) << "woken for every event";
        queue.dispatch(trace);
    }
    delivery.join();
    for (int call = 0; call < kEvents; ++call)
        ASSERT_EQ(trace.seen[call], std::to_string(call));
    EXPECT_EQ(queue.counts().lost, 0u);
}

// Steps: a number delivers that call's held event, "big" one whose line is 10000 bytes
// long, "d1" dispatches one event, "d" everything.
struct LimitCase {
    const char* label;
    QueueLimits limits;
    const char* steps;
    const char* handed;
    std::size_t lost;
};

TEST(EventQueue, StaysWithinItsLimitsAndTellsHowManyEventsWereLostWhereTheyAreMissing) {
    const std::size_t two = 2 * sizeof(Event) + 100;
    const LimitCase cases[] = {
        {"a full queue drops the newest", {2, 1 << 20}, "1 2 3 4 d", "1 2 lost 2", 2},
        {"the loss stands where the gap is", {2, 1 << 20}, "1 2 3 4 d1 5 d", "1 2 lost 2 5", 2},
        {"losses apart are told apart", {1, 1 << 20}, "1 2 d 3 4 5 d", "1 lost 1 3 lost 2", 3},
        {"a queue of nothing tells every loss", {0, 1 << 20}, "1 2 d", "lost 2", 2},
        {"the bytes bound too", {100, two}, "1 big 3 4 d", "1 lost 1 3 lost 1", 2},
    };
    for (const LimitCase& row : cases) {
        SCOPED_TRACE(row.label);
        EventQueue queue(row.limits);
        TypedSubscriber subscriber(queue.sink());
        Trace trace;
        std::istringstream steps(row.steps);
        for (std::string step; steps >> step;) {
            if (step == "d1")
                queue.dispatch(trace, 1);
            else if (step == "d")
                queue.dispatch(trace);
            else if (step == "big")
                held(subscriber, 0, std::string(10000, 'x'));
            else
                held(subscriber, std::stoi(step));
            EXPECT_LE(queue.counts().events, row.limits.events);
            EXPECT_LE(queue.counts().bytes, row.limits.bytes);
        }
        EXPECT_EQ(trace.text(), row.handed);
        EXPECT_EQ(queue.counts().lost, row.lost);
        EXPECT_FALSE(readable(queue.descriptor()));
    }
}

// An executor that keeps its jobs until the test runs them, as a loop would.
struct Jobs {
    std::mutex mutex;
    std::vector<std::function<void()>> waiting;

    Executor executor() {
        return [this](std::function<void()> job) {
            std::lock_guard<std::mutex> lock(mutex);
            waiting.push_back(std::move(job));
        };
    }
    std::size_t runAll() {
        std::vector<std::function<void()>> now;
        {
            std::lock_guard<std::mutex> lock(mutex);
            now.swap(waiting);
        }
        for (auto& job : now)
            job();
        return now.size();
    }
};

TEST(EventQueue, GivesTheExecutorOneJobForWhatWaitsAndAnotherForWhatCameMeanwhile) {
    Jobs jobs;
    Trace trace;
    EventQueue queue(jobs.executor(), trace);
    TypedSubscriber subscriber(queue.sink());
    EXPECT_EQ(queue.descriptor(), -1);
    held(subscriber, 1);
    held(subscriber, 2);
    // Arrives while the job runs: left for the next job, so a stream cannot hold the loop.
    trace.afterEach = [&] {
        if (trace.seen.size() == 1) held(subscriber, 3);
    };
    EXPECT_EQ(jobs.runAll(), 1u);
    EXPECT_EQ(trace.text(), "1 2");
    EXPECT_EQ(jobs.runAll(), 1u);
    EXPECT_EQ(trace.text(), "1 2 3");
    EXPECT_EQ(jobs.runAll(), 0u);
}

TEST(EventQueue, AJobOfAQueueThatIsGoneHandsNothingOver) {
    Jobs jobs;
    Trace trace;
    auto queue = std::make_unique<EventQueue>(jobs.executor(), trace);
    TypedSubscriber subscriber(queue->sink());
    held(subscriber, 1);
    queue.reset();
    held(subscriber, 2);
    EXPECT_EQ(jobs.runAll(), 1u);
    EXPECT_EQ(trace.text(), "");
}

// Teardown while a thread delivers events as fast as it can. The delivery thread owns the
// subscriber, as the framework holds it, and destroys it when it stops.
enum class Teardown { queueFirst, subscriberFirst, queueWithJobsWaiting };

void floodAndTearDown(Teardown order) {
    Jobs jobs;
    Trace trace;
    auto queue = order == Teardown::queueWithJobsWaiting
                     ? std::make_unique<EventQueue>(jobs.executor(), trace, QueueLimits{64})
                     : std::make_unique<EventQueue>(QueueLimits{64});
    std::atomic<bool> stop{false};
    std::thread delivery([&, sink = queue->sink()] {
        TypedSubscriber subscriber(sink);
        for (int call = 0; !stop && call < 50000; ++call)
            held(subscriber, call, "sip:line-with-a-heap-allocated-address@pbx.example");
    });
    while (trace.seen.size() < 10) {
        jobs.runAll();
        queue->dispatch(trace, 5);
    }
    if (order == Teardown::subscriberFirst) {
        delivery.join();
        queue->dispatch(trace);
        queue.reset();
        return;
    }
    queue.reset();
    const std::size_t handed = trace.seen.size();
    jobs.runAll();
    stop = true;
    delivery.join();
    jobs.runAll();
    EXPECT_EQ(trace.seen.size(), handed) << "nothing reaches the handler once the queue is gone";
}

TEST(EventQueue, TearsDownInAnyOrderWhileEventsFlood) {
    for (Teardown order :
         {Teardown::queueFirst, Teardown::subscriberFirst, Teardown::queueWithJobsWaiting}) {
        SCOPED_TRACE(static_cast<int>(order));
        floodAndTearDown(order);
    }
}

} // namespace
