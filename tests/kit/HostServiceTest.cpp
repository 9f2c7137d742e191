// What an application is told about the service: that it went and that it is back, typed
// and in order with its events, and what it got wrong in setting up the host.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "HostFixture.h"

namespace {

using hosttest::Application;
using hosttest::FakeService;

TEST(ServiceWatcher, IsToldOfLossAndReturnAndMayActivateAgainThen) {
    FakeService service;
    hosttest::Reports reports;
    auto host = hosttest::makeHost(service, &reports);
    Application app;
    app.onBack = [&] { return " activate " + std::to_string(host->service().activate()); };
    const desktop::Attachment attached = host->attach(app, "app");
    ASSERT_EQ(host->service().subscribe(&app), sfiSuccess);

    service.stop();
    ASSERT_TRUE(app.await([&] { return app.notes.size() == 1; }));
    service.start();
    ASSERT_TRUE(app.await([&] { return app.notes.size() == 2; }));
    EXPECT_EQ(app.notes[0], "lost: the service closed the connection");
    EXPECT_EQ(app.notes[1], "back activate 5");

    service.startFlood("app", hosttest::kCallEvent, 1);
    EXPECT_TRUE(app.await([&] { return app.events == 1; }));
}

TEST(HostLog, AtTraceLevelReadsAsTypedCallsAndSaysWhenASubscriberWasNotAttached) {
    FakeService service;
    hosttest::Reports reports;
    auto host = hosttest::makeHost(service, &reports, desktop::LogLevel::trace);
    Application app;
    EXPECT_EQ(host->service().subscribe(&app), sfiSuccess);
    const desktop::Attachment attached = host->attach(app, "app");
    EXPECT_EQ(host->service().answerCall("1001", 1), sfiSuccess);
    host->service().setIsInServiceInitiatedState("1001", true);
    service.startFlood("app", hosttest::kCallEvent, 1);
    ASSERT_TRUE(app.await([&] { return app.events == 1; }));

    const std::vector<std::string> lines = reports.lines();
    const std::vector<std::string> wanted = {
        "subscribe for a subscriber that is not attached",
        "answerCall(line=\"1001\", callId=1) -> sfiSuccess (5) in ",
        "setIsInServiceInitiatedState(line=\"1001\", isInServiceInitiatedState=TRUE) posted",
        "event onCallStateChangeEvent(lineId=\"1001\", callId=7, callState=4)",
    };
    for (const std::string& line : wanted) {
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const std::string& one) {
            return one.find(line) != std::string::npos;
        })) << line;
    }
}

TEST(HostLog, LevelsAreNamedAndAWrongNameInTheEnvironmentIsRefused) {
    EXPECT_EQ(desktop::logLevelNamed("trace"), desktop::LogLevel::trace);
    EXPECT_EQ(desktop::logLevelNamed("warning"), desktop::LogLevel::warning);
    EXPECT_EQ(desktop::logLevelNamed("verbose"), std::nullopt);
    setenv("COMMS_LOG_LEVEL", "loud", 1);
    try {
        desktop::logLevelFromEnvironment();
        ADD_FAILURE() << "accepted";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(
            std::string(error.what()).find("'loud' (levels: error, warning, info, debug, trace)"),
            std::string::npos);
    }
    setenv("COMMS_LOG_LEVEL", "error", 1);
    EXPECT_EQ(desktop::logLevelFromEnvironment(), desktop::LogLevel::error);
    unsetenv("COMMS_LOG_LEVEL");
    EXPECT_EQ(desktop::logLevelFromEnvironment(), desktop::LogLevel::info);
}

TEST(HostOptions, AnEmptyPluginPathNamesTheOption) {
    FakeService service;
    desktop::Host::Options options;
    options.socketPath = service.socketPath();
    try {
        desktop::Host host(options);
        FAIL() << "a host without a plug-in was made";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("Host::Options::pluginPath"), std::string::npos)
            << error.what();
    }
}

} // namespace
