// An application on the desktop host with its events on its own loop, against the
// simulator: subscribed before it activates, it hears every line that activate registers.

#include <gtest/gtest.h>

#include <poll.h>

#include <chrono>
#include <set>
#include <string>

#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/app/EventQueue.h"
#include "CommunicationsService/desktop/Host.h"
#include "CommunicationsService/testing/Simulator.h"

namespace {

using namespace CommunicationsService::app;

struct Registrations : EventHandler {
    std::set<std::string> lines;
    void on(const RegistrationStateChange& change) override {
        if (change.registered) lines.insert(change.lineId);
    }
};

TEST(StartUp, SubscribingBeforeActivatingBringsTheRegistrationsThatActivateCauses) {
    communications::testing::SimulatorProcess simulator;
    desktop::Host::Options options;
    options.pluginPath = PLUGIN_PATH;
    options.socketPath = simulator.socketPath();
    options.report = [](const std::string&) {};
    desktop::Host host(options);
    EventQueue queue;
    TypedSubscriber subscriber(queue.sink());
    const desktop::Attachment attached = host.attach(subscriber, "application");

    ASSERT_EQ(host.service().subscribe(&subscriber), sfiSuccess);
    ASSERT_EQ(host.service().activate(), sfiSuccess);

    Registrations registrations;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (registrations.lines.size() < 2 && std::chrono::steady_clock::now() < deadline) {
        pollfd watched{queue.descriptor(), POLLIN, 0};
        if (::poll(&watched, 1, 100) == 1) queue.dispatch(registrations);
    }
    EXPECT_EQ(registrations.lines, (std::set<std::string>{"1001", "1002"})) << simulator.log();
}

} // namespace
