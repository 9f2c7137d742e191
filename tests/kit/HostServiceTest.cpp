// What an application is told about the service: that it went and that it is back, typed
// and in order with its events, and what it got wrong in setting up the host.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

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

// Writes down each call of its life and subscribes from init(), as phone applications do.
class LifeRecorder : public Executable {
public:
    explicit LifeRecorder(desktop::Host& host) : host(host) {}
    void init(Context& /*context*/) override {
        calls.push_back("init, subscribe " + std::to_string(host.service().subscribe(this)));
    }
    void shutdown() override { calls.push_back("shutdown"); }

    desktop::Host& host;
    std::vector<std::string> calls;
};

TEST(SubscriberLife, BeginsWithInitOnceAttachedAndEndsWithOneShutdownWhicheverEndsFirst) {
    const std::vector<std::string> wholeLife = {"init, subscribe 5", "shutdown"};
    for (const bool hostFirst : {false, true}) {
        FakeService service;
        hosttest::Reports reports;
        auto host = hosttest::makeHost(service, &reports);
        LifeRecorder app(*host);
        auto attached = std::make_unique<desktop::Attachment>(host->attach(app, "app"));
        EXPECT_EQ(app.calls, std::vector<std::string>{"init, subscribe 5"});

        if (hostFirst) {
            host.reset();
            EXPECT_EQ(app.calls, wholeLife);
        } else {
            attached->detach();
            EXPECT_EQ(app.calls, wholeLife);
        }
        attached.reset();
        host.reset();
        EXPECT_EQ(app.calls, wholeLife) << (hostFirst ? "host first" : "attachment first");
        // Subscribed under its channel name: init() runs once the subscriber is attached.
        for (const std::string& line : reports.lines())
            EXPECT_EQ(line.find("not attached"), std::string::npos) << line;
    }
}

// Whether waiting for the service can help: a plug-in that cannot be used stays so, a
// service that is not there yet may come.
TEST(HostErrors, TellAPluginThatCannotBeLoadedFromAServiceThatCannotBeReached) {
    FakeService service;
    FakeService stopped;
    stopped.stop();
    struct Case {
        std::string pluginPath;
        std::string socketPath;
        bool pluginFails;
        std::string saying;
    };
    const Case cases[] = {
        {"", service.socketPath(), true, "Host::Options::pluginPath"},
        {"/nonexistent/libCommunicationsService.so", service.socketPath(), true,
         "cannot load plug-in /nonexistent/libCommunicationsService.so"},
        {"/nonexistent/libCommunicationsService.so", stopped.socketPath(), true, "cannot load"},
        {PLUGIN_PATH, stopped.socketPath(), false, "is it running?"},
    };
    for (const Case& one : cases) {
        desktop::Host::Options options;
        options.pluginPath = one.pluginPath;
        options.socketPath = one.socketPath;
        try {
            desktop::Host host(options);
            ADD_FAILURE() << "a host was made with " << one.pluginPath;
        } catch (const desktop::PluginLoadError& error) {
            EXPECT_TRUE(one.pluginFails) << error.what();
            EXPECT_NE(std::string(error.what()).find(one.saying), std::string::npos)
                << error.what();
        } catch (const desktop::ServiceUnreachable& error) {
            EXPECT_FALSE(one.pluginFails) << error.what();
            EXPECT_NE(std::string(error.what()).find(one.saying), std::string::npos)
                << error.what();
        }
    }
    // Applications of 1.3 catch std::runtime_error.
    desktop::Host::Options options;
    options.socketPath = stopped.socketPath();
    options.pluginPath = PLUGIN_PATH;
    EXPECT_THROW(desktop::Host{options}, std::runtime_error);
}

} // namespace
