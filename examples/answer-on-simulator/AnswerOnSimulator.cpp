// An application run on a desktop against the service simulator: it loads the installed
// plug-in through the desktop host, subscribes, has the simulator ring line 1001, answers
// the call from its callback and waits until the call is connected.
//
//   answer-on-simulator [SOCKET]
//
// Exits 0 once the call it answered is connected, 1 when that does not happen within five
// seconds, 2 when the plug-in or the simulator cannot be reached.

#include <chrono>
#include <condition_variable>
#include <exception>
#include <iostream>
#include <mutex>
#include <string>

#include "CommunicationsService/CommunicationsServiceEventAdapter.h"
#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/desktop/Host.h"

namespace {

// The simulator's call states (the service owns the numbering; this is the simulator's).
constexpr int kRinging = 3;
constexpr int kConnected = 4;

class Answerer : public Executable, public CommunicationsServiceEventAdapter {
public:
    // Set before the subscription, once the host has made the proxy.
    CommunicationsServiceIfc* service = nullptr;

    void init(Context& /*context*/) override {}
    void shutdown() override {}

    // Runs on the host's delivery thread. A callback may send requests: the host reads
    // their answers on another thread.
    void onIncomingCallEvent(const std::string& lineId, int callId, const std::string& uri,
                             const std::string& name, const std::string& /*fullPai*/,
                             const std::string& /*alertUri*/, const std::string& /*alertInfoParam*/,
                             bool /*alertAutoAnswer*/, int /*callType*/,
                             const std::string& /*diversionUri*/,
                             const std::string& /*diversionName*/, int /*diversionReason*/,
                             bool /*zipAutoAnswer*/, int /*resourcePriority*/, int /*ilCallLevel*/,
                             int /*ilLocalLevel*/, bool /*isVideoCall*/) override {
        std::cout << "call " << callId << " on line " << lineId << " from " << name << " <" << uri
                  << ">" << std::endl;
        const int result = service->answerCall(lineId, callId);
        std::cout << "answerCall: " << (result == sfiSuccess ? "sfiSuccess" : "refused")
                  << std::endl;
        std::lock_guard<std::mutex> lock(mutex);
        if (result == sfiSuccess) answered = callId;
    }

    void onCallStateChangeEvent(const std::string& /*lineId*/, int callId, int callState,
                                int /*reason*/, int /*sendOptions*/, const std::string& /*uri*/,
                                const std::string& /*name*/, const std::string& /*fullPai*/,
                                CallPartyInfo* /*callPartyInfo*/, int /*resourcePriority*/,
                                int /*preemptionCause*/, const std::string& /*preemptionText*/,
                                bool /*callBackFeatureAvailable*/, int /*ilCallLevel*/,
                                int /*ilLocalLevel*/) override {
        std::cout << "call " << callId << " state " << callState
                  << (callState == kRinging     ? " (ringing)"
                      : callState == kConnected ? " (connected)"
                                                : "")
                  << std::endl;
        std::lock_guard<std::mutex> lock(mutex);
        if (callState == kConnected && callId == answered) connected = callId;
        changed.notify_all();
    }

    // The call this application answered, once it is connected; -1 after the time-out.
    int awaitConnected(std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait_for(lock, timeout, [this] { return connected != -1; });
        return connected;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    int answered = -1;
    int connected = -1;
};

} // namespace

int main(int argc, char** argv) {
    desktop::Host::Options options;
    options.pluginPath = PLUGIN_PATH;
    if (argc > 1) options.socketPath = argv[1];
    // The subscriber outlives the host, whose delivery thread may still be calling it.
    Answerer app;
    try {
        desktop::Host host(options);
        app.service = &host.service();
        host.attach(app, "answer-on-simulator");
        // Lines start unregistered; activate registers them.
        if (host.service().activate() != sfiSuccess ||
            host.service().subscribe(&app) != sfiSuccess) {
            std::cerr << "answer-on-simulator: the service refused activate or subscribe\n";
            return 2;
        }
        // What a caller would do: a control command has the simulator ring the line.
        if (host.channel().control("incomingCall 1001 2005 Erik Fischer").rfind("ok", 0) != 0) {
            std::cerr << "answer-on-simulator: the simulator did not ring line 1001\n";
            return 2;
        }
        const int callId = app.awaitConnected(std::chrono::seconds(5));
        if (callId == -1) {
            std::cerr << "answer-on-simulator: no answered call was connected\n";
            return 1;
        }
        host.service().callClear("1001", callId, CSTAEventCauseNormalClearing);
        std::cout << "call " << callId << " answered and connected" << std::endl;
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "answer-on-simulator: " << error.what() << "\n";
        return 2;
    }
}
