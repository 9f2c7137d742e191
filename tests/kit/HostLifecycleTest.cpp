// The host and its subscribers end in any order while the service floods them with events
// and callbacks send requests; detaching waits for a callback in progress and never for
// itself.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <thread>

#include "HostFixture.h"

namespace {

using hosttest::Application;
using hosttest::FakeService;

// What an application holds, ended one by one in the order a row names: (a)ttachment,
// (s)ubscriber, (h)ost. The attachment only has to end before the subscriber.
TEST(Teardown, IsSafeInEveryOrderWhileEventsFloodAndCallbacksSendRequests) {
    for (const std::string order : {"ash", "ahs", "has", "hsa"}) {
        for (int round = 0; round < 3; ++round) {
            SCOPED_TRACE("order " + order + ", round " + std::to_string(round));
            FakeService service;
            service.startFlood("app", hosttest::kCallEvent);
            auto host = hosttest::makeHost(service);
            auto app = std::make_unique<Application>();
            CommunicationsServiceIfc* proxy = &host->service();
            app->onEvent = [proxy] { proxy->answerCall("1001", 7); };
            auto attached = std::make_unique<desktop::Attachment>(host->attach(*app, "app"));
            ASSERT_TRUE(app->await([&] { return app->events >= 20; }));

            for (const char part : order) {
                if (part == 'a') attached.reset();
                if (part == 'a' && app) {
                    // Nothing reaches a detached subscriber.
                    const int seen = app->eventCount();
                    std::this_thread::sleep_for(std::chrono::milliseconds(20));
                    EXPECT_EQ(app->eventCount(), seen);
                }
                if (part == 's') app.reset();
                if (part == 'h') host.reset();
            }
        }
    }
}

// Holds a subscriber's call until the test opens it, and tells the test when the call
// has come.
struct Gate {
    void pass() {
        entered.set_value();
        released.wait();
    }
    void awaitEntered() { entered.get_future().wait(); }
    void open() { release.set_value(); }

private:
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
};

// Whether @p ending waits while the gate is closed and returns once it is open.
void expectToWaitFor(Gate& gate, std::future<void>& ending) {
    EXPECT_EQ(ending.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    gate.open();
    EXPECT_EQ(ending.wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

TEST(Detaching, WaitsForTheSubscribersCallbackInProgress) {
    FakeService service;
    auto host = hosttest::makeHost(service);
    Application app;
    Gate gate;
    std::atomic<bool> first{true};
    app.onEvent = [&] {
        if (first.exchange(false)) gate.pass();
    };
    desktop::Attachment attached = host->attach(app, "app");
    service.startFlood("app", hosttest::kCallEvent, 1);
    gate.awaitEntered();

    auto detached = std::async(std::launch::async, [&] { attached.detach(); });
    expectToWaitFor(gate, detached);
}

// The host's end and the attachment's end on two threads: whichever shuts the subscriber
// down, the other returns only after its shutdown(), which may still send requests.
TEST(Ending, TheHostAndTheAttachmentAtOnceWaitsForTheSubscribersShutdown) {
    for (const bool hostFirst : {true, false}) {
        SCOPED_TRACE(hostFirst ? "the host ends first" : "the attachment ends first");
        FakeService service;
        auto host = hosttest::makeHost(service);
        Application app;
        Gate gate;
        CommunicationsServiceIfc* proxy = &host->service();
        app.onShutdown = [&] {
            gate.pass();
            proxy->answerCall("1001", 7);
        };
        desktop::Attachment attached = host->attach(app, "app");
        const std::function<void()> endHost = [&] { host.reset(); };
        const std::function<void()> endAttachment = [&] { attached.detach(); };

        auto first = std::async(std::launch::async, hostFirst ? endHost : endAttachment);
        gate.awaitEntered();
        auto second = std::async(std::launch::async, hostFirst ? endAttachment : endHost);
        expectToWaitFor(gate, second);
        first.wait();
    }
}

TEST(Detaching, FromInsideItsOwnCallbackEndsDeliveryWithoutWaitingForItself) {
    FakeService service;
    auto host = hosttest::makeHost(service);
    Application app;
    desktop::Attachment attached = host->attach(app, "app");
    app.onEvent = [&] { attached.detach(); };
    service.startFlood("app", hosttest::kCallEvent, 50);
    ASSERT_TRUE(app.await([&] { return app.events >= 1; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(app.eventCount(), 1);
}

TEST(OneHost, CarriesRequestsFromManyThreadsWhileEventsArrive) {
    FakeService service;
    auto host = hosttest::makeHost(service);
    Application app;
    app.onEvent = [&] { host->service().getManualHoldIndication("1001", 7); };
    const desktop::Attachment attached = host->attach(app, "app");
    service.startFlood("app", hosttest::kCallEvent);

    constexpr int kThreads = 4;
    constexpr int kRequests = 200;
    std::atomic<int> succeeded{0};
    std::vector<std::thread> senders;
    for (int thread = 0; thread < kThreads; ++thread) {
        senders.emplace_back([&] {
            for (int request = 0; request < kRequests; ++request)
                succeeded += host->service().activate() == sfiSuccess ? 1 : 0;
        });
    }
    for (std::thread& sender : senders)
        sender.join();
    EXPECT_EQ(succeeded.load(), kThreads * kRequests);
    EXPECT_GT(app.eventCount(), 0);
}

} // namespace
