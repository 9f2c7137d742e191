// The application against a simulator of its own: it answers a call, and after the
// simulator restarts it is told, activates again and answers the next call on the line,
// subscribed once.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "Answerer.h"
#include "CommunicationsService/testing/Simulator.h"

namespace {

class AnswerOnSimulator : public communications::testing::SimulatorTest {
protected:
    desktop::Host::Options options() {
        desktop::Host::Options options;
        options.pluginPath = PLUGIN_PATH;
        options.socketPath = simulator.socketPath();
        return options;
    }
    bool ring(desktop::Host& host) {
        return host.channel().control("incomingCall 1001 2005").rfind("ok", 0) == 0;
    }
};

TEST_F(AnswerOnSimulator, AnswersACallAgainAfterTheServiceRestarted) {
    desktop::Host host(options());
    Answerer app(host.service());
    const desktop::Attachment attached = host.attach(app, "answerer");
    ASSERT_TRUE(app.startedWell());
    ASSERT_TRUE(ring(host));
    EXPECT_EQ(app.awaitConnected(std::chrono::seconds(20)), 1) << simulator.log();

    const std::size_t before = simulator.log().size();
    simulator.stop(SIGKILL);
    simulator.start();
    // Ringing works once the application has activated the lines again.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!ring(host) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(app.awaitConnected(std::chrono::seconds(20)), 1) << simulator.log();
    // The host renewed the subscription and the application did not add a second one.
    const std::string log = simulator.log().substr(before);
    const std::string subscribed = "subscribed channel 'answerer'";
    const auto first = log.find(subscribed);
    EXPECT_NE(first, std::string::npos) << log;
    EXPECT_EQ(log.find(subscribed, first + 1), std::string::npos) << log;
}

// The application ends in either order while another client has the simulator send it
// events as fast as it can.
TEST_F(AnswerOnSimulator, EndsSafelyInEitherOrderWhileEventsFlood) {
    for (const bool hostFirst : {false, true}) {
        auto host = std::make_unique<desktop::Host>(options());
        auto app = std::make_unique<Answerer>(host->service());
        auto attached = std::make_unique<desktop::Attachment>(host->attach(*app, "answerer"));
        ASSERT_TRUE(app->startedWell());
        ASSERT_TRUE(ring(*host));
        EXPECT_EQ(app->awaitConnected(std::chrono::seconds(20)), 1) << simulator.log();

        desktop::Host caller(options());
        std::atomic<bool> flooding{true};
        std::thread flood([&] {
            for (int messages = 0; flooding; ++messages)
                caller.channel().control("emit messageWaiting lineId=1001 newMessages=" +
                                         std::to_string(messages));
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (hostFirst) host.reset();
        attached.reset();
        app.reset();
        host.reset();
        flooding = false;
        flood.join();
        caller.channel().control("reset");
    }
}

} // namespace
