#include "CommunicationsService/app/TypedSubscriber.h"

#include <type_traits>
#include <utility>

namespace CommunicationsService::app {

namespace {

// What each argument becomes in the event's struct. The payload of a pass-through event
// is the delivery's to give away; the lists stay with the delivery.
const std::string& kept(const std::string& text) { return text; }
std::string&& kept(std::string& payload) { return std::move(payload); }
template <typename Item> const std::vector<Item>& kept(std::vector<Item>& list) { return list; }
CallParties kept(const CallPartyInfo* record) { return CallParties(record); }
template <typename Value, typename = std::enable_if_t<std::is_arithmetic_v<Value>>>
Value kept(Value value) {
    return value;
}

// The heap bytes an argument adds to its event once kept.
std::size_t heldBytes(const std::string& text) { return text.size(); }
std::size_t heldBytes(const std::vector<int>& list) { return list.size() * sizeof(int); }
std::size_t heldBytes(const std::vector<std::string>& list) {
    std::size_t bytes = list.size() * sizeof(std::string);
    for (const std::string& item : list)
        bytes += item.size();
    return bytes;
}
std::size_t heldBytes(const CallPartyInfo* record) {
    return record == nullptr ? 0 : sizeof(record->calledPartyName) * 4;
}
template <typename Value, typename = std::enable_if_t<std::is_arithmetic_v<Value>>>
std::size_t heldBytes(Value) {
    return 0;
}

} // namespace

static_assert(!std::is_abstract_v<TypedSubscriber>, "every callback turns into its event");

TypedSubscriber::TypedSubscriber(EventSink sink) : sink(std::move(sink)) {}

template <typename Struct, typename... Args> void TypedSubscriber::hand(Args&&... args) {
    const std::size_t bytes = (sizeof(Event) + ... + heldBytes(args));
    sink(Event(Struct{kept(args)...}), bytes);
}

void TypedSubscriber::onCallStateChangeEvent(const std::string& lineId, int callId, int callState,
                                             int reason, int sendOptions, const std::string& uri,
                                             const std::string& name, const std::string& fullPai,
                                             CallPartyInfo* callPartyInfo, int resourcePriority,
                                             int preemptionCause, const std::string& preemptionText,
                                             bool callBackFeatureAvailable, int ilCallLevel,
                                             int ilLocalLevel) {
    hand<CallStateChange>(lineId, callId, callState, reason, sendOptions, uri, name, fullPai,
                          callPartyInfo, resourcePriority, preemptionCause, preemptionText,
                          callBackFeatureAvailable, ilCallLevel, ilLocalLevel);
}

void TypedSubscriber::onRegistrationStateChangeEvent(const std::string& lineId, int callId,
                                                     bool registered, int registrationResult) {
    hand<RegistrationStateChange>(lineId, callId, registered, registrationResult);
}

void TypedSubscriber::onIncomingCallEvent(const std::string& lineId, int callId,
                                          const std::string& uri, const std::string& name,
                                          const std::string& fullPai, const std::string& alertUri,
                                          const std::string& alertInfoParam, bool alertAutoAnswer,
                                          int callType, const std::string& diversionUri,
                                          const std::string& diversionName, int diversionReason,
                                          bool zipAutoAnswer, int resourcePriority, int ilCallLevel,
                                          int ilLocalLevel, bool isVideoCall) {
    hand<IncomingCall>(lineId, callId, uri, name, fullPai, alertUri, alertInfoParam,
                       alertAutoAnswer, callType, diversionUri, diversionName, diversionReason,
                       zipAutoAnswer, resourcePriority, ilCallLevel, ilLocalLevel, isVideoCall);
}

void TypedSubscriber::onIncomingPickupCallEvent(const std::string& lineId, int callId,
                                                const std::string& uri, const std::string& name,
                                                const std::string& fullPai) {
    hand<IncomingPickupCall>(lineId, callId, uri, name, fullPai);
}

void TypedSubscriber::onCallHeldEvent(const std::string& lineId, int callId) {
    hand<CallHeld>(lineId, callId);
}

void TypedSubscriber::onCallRetrievedEvent(const std::string& lineId, int callId,
                                           const std::string& uri, const std::string& name,
                                           const std::string& fullPai, int ilCallLevel,
                                           int ilLocalLevel, bool connectedToMediaServer) {
    hand<CallRetrieved>(lineId, callId, uri, name, fullPai, ilCallLevel, ilLocalLevel,
                        connectedToMediaServer);
}

void TypedSubscriber::onFeatureSuccessEvent(const std::string& lineId, int callId, int feature) {
    hand<FeatureSuccess>(lineId, callId, feature);
}

void TypedSubscriber::onFeatureFailedEvent(const std::string& lineId, int callId, int feature,
                                           int featureFailure) {
    hand<FeatureFailed>(lineId, callId, feature, featureFailure);
}

void TypedSubscriber::onRemoteEndpointDetailsChangedEvent(const std::string& lineId, int callId,
                                                          const std::string& uri,
                                                          const std::string& name,
                                                          const std::string& fullPai, bool exitConf,
                                                          bool jointCall) {
    hand<RemoteEndpointDetailsChanged>(lineId, callId, uri, name, fullPai, exitConf, jointCall);
}

void TypedSubscriber::onIncomingCallMissedEvent(const std::string& lineId, int callId,
                                                const std::string& uri, const std::string& name,
                                                const std::string& fullPai, int reason,
                                                const std::string& diversionUri,
                                                const std::string& diversionName,
                                                int diversionReason) {
    hand<IncomingCallMissed>(lineId, callId, uri, name, fullPai, reason, diversionUri,
                             diversionName, diversionReason);
}

void TypedSubscriber::onCallForwardedEvent(const std::string& lineId, int callId,
                                           const std::string& callingParty,
                                           const std::string& callingPartyName,
                                           const std::string& callingPartyFullPai,
                                           const std::string& newDestination, int reason) {
    hand<CallForwarded>(lineId, callId, callingParty, callingPartyName, callingPartyFullPai,
                        newDestination, reason);
}

void TypedSubscriber::onIncomingAssociatedCallEvent(const std::string& lineId, int currentCallId,
                                                    int newCallId) {
    hand<IncomingAssociatedCall>(lineId, currentCallId, newCallId);
}

void TypedSubscriber::onDevicesChangedEvent() { hand<DevicesChanged>(); }

void TypedSubscriber::onMessageWaitingEvent(const std::string& lineId, int type,
                                            unsigned int newMessages, unsigned int oldMessages,
                                            unsigned int newUrgentMessages,
                                            unsigned int oldUrgentMessages, int returnType,
                                            int availInfo, int messagesWaiting,
                                            const std::string& voiceMailNumber) {
    hand<MessageWaiting>(lineId, type, newMessages, oldMessages, newUrgentMessages,
                         oldUrgentMessages, returnType, availInfo, messagesWaiting,
                         voiceMailNumber);
}

void TypedSubscriber::onDoNotDisturbEvent(const std::string& deviceId, bool doNotDisturbOn) {
    hand<DoNotDisturb>(deviceId, doNotDisturbOn);
}

void TypedSubscriber::onAgentStateEvent(const std::string& deviceId,
                                        const std::string& agentState) {
    hand<AgentState>(deviceId, agentState);
}

void TypedSubscriber::onSecurityStatusChanged(const std::string& lineURI, int callId,
                                              int securityStatus, std::vector<int>& callIdsRecorded,
                                              std::vector<std::string>& callLineURIsRecorded) {
    hand<SecurityStatusChanged>(lineURI, callId, securityStatus, callIdsRecorded,
                                callLineURIsRecorded);
}

void TypedSubscriber::onCallRecordingStatusEvent(const std::string& lineId, int callId,
                                                 const std::string& callRecorded) {
    hand<CallRecordingStatus>(lineId, callId, callRecorded);
}

void TypedSubscriber::onPreemptionStatusChanged(const std::string& lineURI, int callId,
                                                int priority, int cause,
                                                const std::string& reason) {
    hand<PreemptionStatusChanged>(lineURI, callId, priority, cause, reason);
}

void TypedSubscriber::onImpactLevelChanged(const std::string& lineURI, int callId, int ilCallLevel,
                                           int ilLocalLevel) {
    hand<ImpactLevelChanged>(lineURI, callId, ilCallLevel, ilLocalLevel);
}

void TypedSubscriber::onSystemStatusEvent(const std::string& status,
                                          const std::string& statusInfo) {
    hand<SystemStatus>(status, statusInfo);
}

void TypedSubscriber::onServerFeatureStatusEvent(const std::string& lineURI,
                                                 const std::string& status) {
    hand<ServerFeatureStatus>(lineURI, status);
}

void TypedSubscriber::onB2buaCSTAResponse(const std::string& lineURI, bool success,
                                          std::string& cstaResponse) {
    hand<B2buaCSTAResponse>(lineURI, success, cstaResponse);
}

void TypedSubscriber::onB2buaCSTAEventOrRequest(const std::string& lineURI,
                                                std::string& cstaMessage) {
    hand<B2buaCSTAEventOrRequest>(lineURI, cstaMessage);
}

void TypedSubscriber::onConferenceStatusEvent(const std::string& lineId, int callId,
                                              const std::string& xmlContent) {
    hand<ConferenceStatus>(lineId, callId, xmlContent);
}

void TypedSubscriber::onCallCompletionEvent(const std::string& lineId, const std::string& uri,
                                            int callCompletionType, int callCompletionState,
                                            bool displayOutcomeCallUI) {
    hand<CallCompletion>(lineId, uri, callCompletionType, callCompletionState,
                         displayOutcomeCallUI);
}

void TypedSubscriber::onCallCompletionFailedEvent(const std::string& lineId, const std::string& uri,
                                                  int callCompletionFailureType) {
    hand<CallCompletionFailed>(lineId, uri, callCompletionFailureType);
}

void TypedSubscriber::onBluetoothAudioStatusChanged(const std::string& lineId, int callId,
                                                    bool audioEnabled, bool audioGateway,
                                                    bool inBandRinging) {
    hand<BluetoothAudioStatusChanged>(lineId, callId, audioEnabled, audioGateway, inBandRinging);
}

} // namespace CommunicationsService::app
