#pragma once

// A subscriber as applications write them, and a host on the fake service, for the host's
// tests.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "CommunicationsService/CommunicationsServiceEventAdapter.h"
#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/desktop/Host.h"
#include "FakeService.h"

namespace hosttest {

inline const std::string kCallEvent =
    "<Method>CallStateChangeEvent</Method><LineID>1001</LineID><CallID>7</CallID>"
    "<CallState>4</CallState>";

// Counts its call-state events and runs what the test gives it from each callback and
// from its shutdown().
class Application : public Executable,
                    public CommunicationsServiceEventAdapter,
                    public desktop::ServiceWatcher {
public:
    void init(Context& /*context*/) override {}
    void shutdown() override {
        if (onShutdown) onShutdown();
    }

    void onCallStateChangeEvent(const std::string&, int, int, int, int, const std::string&,
                                const std::string&, const std::string&, CallPartyInfo*, int, int,
                                const std::string&, bool, int, int) override {
        note([this] { ++events; });
        if (onEvent) onEvent();
    }
    void onServiceLost(const std::string& reason) override {
        note([&] { notes.push_back("lost: " + reason); });
    }
    void onServiceBack() override {
        const std::string result = onBack ? onBack() : std::string();
        note([&] { notes.push_back("back" + result); });
    }

    // Waits until the condition holds of what was noted; false after 20 s.
    bool await(const std::function<bool()>& condition) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(20), condition);
    }
    int eventCount() {
        std::lock_guard<std::mutex> lock(mutex);
        return events;
    }

    std::function<void()> onEvent;
    std::function<void()> onShutdown;
    std::function<std::string()> onBack;
    // Guarded by the mutex.
    int events = 0;
    std::vector<std::string> notes;
    std::mutex mutex;

private:
    template <typename Change> void note(Change change) {
        std::lock_guard<std::mutex> lock(mutex);
        change();
        changed.notify_all();
    }

    std::condition_variable changed;
};

// The host's reports, kept.
struct Reports {
    std::vector<std::string> lines() {
        std::lock_guard<std::mutex> lock(mutex);
        return kept;
    }
    std::mutex mutex;
    std::vector<std::string> kept;
};

inline std::unique_ptr<desktop::Host> makeHost(const FakeService& service,
                                               Reports* reports = nullptr,
                                               desktop::LogLevel level = desktop::LogLevel::info) {
    desktop::Host::Options options;
    options.pluginPath = PLUGIN_PATH;
    options.socketPath = service.socketPath();
    options.logLevel = level;
    options.report = [reports](const std::string& line) {
        if (reports == nullptr) return;
        std::lock_guard<std::mutex> lock(reports->mutex);
        reports->kept.push_back(line);
    };
    return std::make_unique<desktop::Host>(options);
}

} // namespace hosttest
