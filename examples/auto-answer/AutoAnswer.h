#pragma once

#include <string>

#include "CommunicationsService/CommunicationsServiceEventAdapter.h"
#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/framework/Executable.h"

// A phone application that answers every call arriving on any of the phone's lines and
// logs each change of a call's state through the framework's logging. The adapter gives
// every other callback an empty body.
class AutoAnswer : public Executable, public CommunicationsServiceEventAdapter {
public:
    static constexpr const char* logComponent = "Auto Answer";
    static constexpr int logLevel = 5;

    explicit AutoAnswer(CommunicationsServiceIfc& service) : service(service) {}

    // Called by the framework when it starts the application (on the desktop, by the host
    // when it attaches it): activates the service and registers this object for its events.
    void init(Context& context) override;
    void shutdown() override {}

    void onIncomingCallEvent(const std::string& lineId, int callId, const std::string& uri,
                             const std::string& name, const std::string& fullPai,
                             const std::string& alertUri, const std::string& alertInfoParam,
                             bool alertAutoAnswer, int callType, const std::string& diversionUri,
                             const std::string& diversionName, int diversionReason,
                             bool zipAutoAnswer, int resourcePriority, int ilCallLevel,
                             int ilLocalLevel, bool isVideoCall) override;
    void onCallStateChangeEvent(const std::string& lineId, int callId, int callState, int reason,
                                int sendOptions, const std::string& uri, const std::string& name,
                                const std::string& fullPai, CallPartyInfo* callPartyInfo,
                                int resourcePriority, int preemptionCause,
                                const std::string& preemptionText, bool callBackFeatureAvailable,
                                int ilCallLevel, int ilLocalLevel) override;

private:
    void log(int sourceLine, const std::string& message);

    CommunicationsServiceIfc& service;
};
