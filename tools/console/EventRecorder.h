#pragma once

// A subscriber that turns every callback into a named record of its arguments, and a
// log of those records that scripts can wait on.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "CommunicationsService/CommunicationsServiceEventIfc.h"
#include "CommunicationsService/framework/Executable.h"

namespace console {

struct NamedValue {
    std::string name;
    std::string value;
};

struct RecordedEvent {
    std::string callback; // "onCallStateChangeEvent", ...
    std::vector<NamedValue> arguments;

    // The value of the named argument, or nothing.
    std::optional<std::string> argument(const std::string& name) const;
    // "onCallHeldEvent lineId=1001 callId=3"; values with blanks are quoted.
    std::string describe() const;
};

// Shows a value the way the console prints it: quoted when empty or holding blanks.
std::string displayValue(const std::string& value);

class EventRecorder : public Executable, public CommunicationsServiceEventIfc {
public:
    using Sink = std::function<void(const RecordedEvent& event)>;
    explicit EventRecorder(Sink sink) : sink(std::move(sink)) {}

    void init(Context&) override {}
    void shutdown() override {}

    void onCallStateChangeEvent(const std::string& lineId, int callId, int callState, int reason,
                                int sendOptions, const std::string& uri, const std::string& name,
                                const std::string& fullPai, CallPartyInfo* callPartyInfo,
                                int resourcePriority, int preemptionCause,
                                const std::string& preemptionText, bool callBackFeatureAvailable,
                                int ilCallLevel, int ilLocalLevel) override;
    void onRegistrationStateChangeEvent(const std::string& lineId, int callId, bool registered,
                                        int registrationResult) override;
    void onIncomingCallEvent(const std::string& lineId, int callId, const std::string& uri,
                             const std::string& name, const std::string& fullPai,
                             const std::string& alertUri, const std::string& alertInfoParam,
                             bool alertAutoAnswer, int callType, const std::string& diversionUri,
                             const std::string& diversionName, int diversionReason,
                             bool zipAutoAnswer, int resourcePriority, int ilCallLevel,
                             int ilLocalLevel, bool isVideoCall) override;
    void onIncomingPickupCallEvent(const std::string& lineId, int callId, const std::string& uri,
                                   const std::string& name, const std::string& fullPai) override;
    void onCallHeldEvent(const std::string& lineId, int callId) override;
    void onCallRetrievedEvent(const std::string& lineId, int callId, const std::string& uri,
                              const std::string& name, const std::string& fullPai, int ilCallLevel,
                              int ilLocalLevel, bool connectedToMediaServer) override;
    void onFeatureSuccessEvent(const std::string& lineId, int callId, int feature) override;
    void onFeatureFailedEvent(const std::string& lineId, int callId, int feature,
                              int featureFailure) override;
    void onRemoteEndpointDetailsChangedEvent(const std::string& lineId, int callId,
                                             const std::string& uri, const std::string& name,
                                             const std::string& fullPai, bool exitConf,
                                             bool jointCall) override;
    void onIncomingCallMissedEvent(const std::string& lineId, int callId, const std::string& uri,
                                   const std::string& name, const std::string& fullPai, int reason,
                                   const std::string& diversionUri,
                                   const std::string& diversionName, int diversionReason) override;
    void onCallForwardedEvent(const std::string& lineId, int callId,
                              const std::string& callingParty, const std::string& callingPartyName,
                              const std::string& callingPartyFullPai,
                              const std::string& newDestination, int reason) override;
    void onIncomingAssociatedCallEvent(const std::string& lineId, int currentCallId,
                                       int newCallId) override;
    void onDevicesChangedEvent() override;
    void onMessageWaitingEvent(const std::string& lineId, int type, unsigned int newMessages,
                               unsigned int oldMessages, unsigned int newUrgentMessages,
                               unsigned int oldUrgentMessages, int returnType, int availInfo,
                               int messagesWaiting, const std::string& voiceMailNumber) override;
    void onDoNotDisturbEvent(const std::string& deviceId, bool doNotDisturbOn) override;
    void onAgentStateEvent(const std::string& deviceId, const std::string& agentState) override;
    void onSecurityStatusChanged(const std::string& lineURI, int callId, int securityStatus,
                                 std::vector<int>& callIdsRecorded,
                                 std::vector<std::string>& callLineURIsRecorded) override;
    void onCallRecordingStatusEvent(const std::string& lineId, int callId,
                                    const std::string& callRecorded) override;
    void onPreemptionStatusChanged(const std::string& lineURI, int callId, int priority, int cause,
                                   const std::string& reason) override;
    void onImpactLevelChanged(const std::string& lineURI, int callId, int ilCallLevel,
                              int ilLocalLevel) override;
    void onSystemStatusEvent(const std::string& status, const std::string& statusInfo) override;
    void onServerFeatureStatusEvent(const std::string& lineURI, const std::string& status) override;
    void onB2buaCSTAResponse(const std::string& lineURI, bool success,
                             std::string& cstaResponse) override;
    void onB2buaCSTAEventOrRequest(const std::string& lineURI, std::string& cstaMessage) override;
    void onConferenceStatusEvent(const std::string& lineId, int callId,
                                 const std::string& xmlContent) override;
    void onCallCompletionEvent(const std::string& lineId, const std::string& uri,
                               int callCompletionType, int callCompletionState,
                               bool displayOutcomeCallUI) override;
    void onCallCompletionFailedEvent(const std::string& lineId, const std::string& uri,
                                     int callCompletionFailureType) override;
    void onBluetoothAudioStatusChanged(const std::string& lineId, int callId, bool audioEnabled,
                                       bool audioGateway, bool inBandRinging) override;

private:
    Sink sink;
};

// Every event that arrived, for waiting on one that matches.
class EventLog {
public:
    void add(const RecordedEvent& event);

    // Waits for an event of the callback whose arguments hold the given values, and takes
    // it out of the log so that the next wait needs another one.
    std::optional<RecordedEvent> await(const std::string& callback,
                                       const std::vector<NamedValue>& expected,
                                       std::chrono::milliseconds timeout);

    std::vector<RecordedEvent> all() const;

private:
    mutable std::mutex mutex;
    std::condition_variable arrived;
    std::vector<RecordedEvent> events;
    std::vector<bool> taken;
};

} // namespace console
