// What an application is told about the service: that it went and that it is back, typed
// and in order with its events, and what it got wrong in setting up the host.

#include <gtest/gtest.h>

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
