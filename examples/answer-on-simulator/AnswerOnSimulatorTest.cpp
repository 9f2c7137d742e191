// The application against a simulator of its own: it answers a call, and after the
// simulator restarts it is told, activates again and answers the next call on the line.

#include <gtest/gtest.h>

#include <chrono>

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
    ASSERT_TRUE(app.start());
    ASSERT_TRUE(ring(host));
    EXPECT_EQ(app.awaitConnected(std::chrono::seconds(20)), 1) << simulator.log();

    simulator.stop(SIGKILL);
    simulator.start();
    // Ringing works once the application has activated the lines again.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!ring(host) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(app.awaitConnected(std::chrono::seconds(20)), 1) << simulator.log();
}

} // namespace
