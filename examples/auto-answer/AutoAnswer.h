#pragma once

#include <string>
#include <vector>

#include "CommunicationsService/CommunicationsServiceEventIfc.h"
#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/framework/Executable.h"

// A phone application that answers every call arriving on any of the phone's lines and
// logs each change of a call's state through the framework's logging.
class AutoAnswer : public Executable, public CommunicationsServiceEventIfc {
public:
    static constexpr const char* logComponent = "Auto Answer";
    static constexpr int logLevel = 5;

    explicit AutoAnswer(CommunicationsServiceIfc& service) : service(service) {}

    // Called by the framework when it starts the application: activates the service and
    // registers this object for its events.
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

    // The other events do not concern this application.
    void onRegistrationStateChangeEvent(const std::string&, int, bool, int) override {}
    void onIncomingPickupCallEvent(const std::string&, int, const std::string&, const std::string&,
                                   const std::string&) override {}
    void onCallHeldEvent(const std::string&, int) override {}
    void onCallRetrievedEvent(const std::string&, int, const std::string&, const std::string&,
                              const std::string&, int, int, bool) override {}
    void onFeatureSuccessEvent(const std::string&, int, int) override {}
    void onFeatureFailedEvent(const std::string&, int, int, int) override {}
    void onRemoteEndpointDetailsChangedEvent(const std::string&, int, const std::string&,
                                             const std::string&, const std::string&, bool,
                                             bool) override {}
    void onIncomingCallMissedEvent(const std::string&, int, const std::string&, const std::string&,
                                   const std::string&, int, const std::string&, const std::string&,
                                   int) override {}
    void onCallForwardedEvent(const std::string&, int, const std::string&, const std::string&,
                              const std::string&, const std::string&, int) override {}
    void onIncomingAssociatedCallEvent(const std::string&, int, int) override {}
    void onDevicesChangedEvent() override {}
    void onMessageWaitingEvent(const std::string&, int, unsigned int, unsigned int, unsigned int,
                               unsigned int, int, int, int, const std::string&) override {}
    void onDoNotDisturbEvent(const std::string&, bool) override {}
    void onAgentStateEvent(const std::string&, const std::string&) override {}
    void onSecurityStatusChanged(const std::string&, int, int, std::vector<int>&,
                                 std::vector<std::string>&) override {}
    void onCallRecordingStatusEvent(const std::string&, int, const std::string&) override {}
    void onPreemptionStatusChanged(const std::string&, int, int, int, const std::string&) override {
    }
    void onImpactLevelChanged(const std::string&, int, int, int) override {}
    void onSystemStatusEvent(const std::string&, const std::string&) override {}
    void onServerFeatureStatusEvent(const std::string&, const std::string&) override {}
    void onB2buaCSTAResponse(const std::string&, bool, std::string&) override {}
    void onB2buaCSTAEventOrRequest(const std::string&, std::string&) override {}
    void onConferenceStatusEvent(const std::string&, int, const std::string&) override {}
    void onCallCompletionEvent(const std::string&, const std::string&, int, int, bool) override {}
    void onCallCompletionFailedEvent(const std::string&, const std::string&, int) override {}
    void onBluetoothAudioStatusChanged(const std::string&, int, bool, bool, bool) override {}

private:
    void log(int sourceLine, const std::string& message);

    CommunicationsServiceIfc& service;
};
