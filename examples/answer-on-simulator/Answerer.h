#pragma once

// An application that answers the first call ringing on a line and waits until it is
// connected. It activates and subscribes when the host attaches it, as on the phone. It is
// told when the service goes away and comes back, and then activates again: a restarted
// service has forgotten that, while the host has already renewed the subscription.

#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <string>

#include "CommunicationsService/CommunicationsServiceEventAdapter.h"
#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/desktop/Host.h"
#include "CommunicationsService/desktop/SimulatorCodes.h"

class Answerer : public Executable,
                 public CommunicationsServiceEventAdapter,
                 public desktop::ServiceWatcher {
public:
    explicit Answerer(CommunicationsServiceIfc& service) : service(service) {}

    // Called by the host once it has attached this application. Lines start unregistered;
    // activate registers them.
    void init(Context& /*context*/) override {
        started = service.activate() == sfiSuccess && service.subscribe(this) == sfiSuccess;
    }
    void shutdown() override {}

    // Whether the service took both activate and subscribe when the host attached this
    // application.
    bool startedWell() const { return started; }

    void onServiceLost(const std::string& reason) override {
        std::cout << "service lost (" << reason << ")" << std::endl;
    }
    void onServiceBack() override {
        const bool activated = service.activate() == sfiSuccess;
        std::cout << "service back; " << (activated ? "activated again" : "activating failed")
                  << std::endl;
    }

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
        const int result = service.answerCall(lineId, callId);
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
        std::cout << "call " << callId << " " << desktop::simulator::callStateName(callState)
                  << std::endl;
        std::lock_guard<std::mutex> lock(mutex);
        if (callState == static_cast<int>(desktop::simulator::CallState::connected) &&
            callId == answered)
            connected = callId;
        changed.notify_all();
    }

    // The call this application answered, once it is connected; -1 after the time-out.
    // The next call then counts afresh.
    int awaitConnected(std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait_for(lock, timeout, [this] { return connected != -1; });
        const int call = connected;
        connected = answered = -1;
        return call;
    }

private:
    CommunicationsServiceIfc& service;
    // Set by init() on the thread that attaches, which reads it.
    bool started = false;
    std::mutex mutex;
    std::condition_variable changed;
    int answered = -1;
    int connected = -1;
};
