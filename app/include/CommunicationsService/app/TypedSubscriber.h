#pragma once

#include <cstddef>
#include <functional>

#include "CommunicationsService/CommunicationsServiceEventIfc.h"
#include "CommunicationsService/app/Events.h"
#include "CommunicationsService/framework/Executable.h"

/// @file
/// The subscriber that turns every callback into its typed event.

namespace CommunicationsService::app {

/// Where a TypedSubscriber hands each event, with the bytes the event holds (the variant
/// and the texts and lists it owns), by which a queue bounds its memory. It runs on the
/// thread that delivers the events.
using EventSink = std::function<void(Event&& event, std::size_t bytes)>;

/// A subscriber for CommunicationsServiceIfc::subscribe that copies every callback's
/// arguments into the event's struct and hands it to its sink. The payloads of the CSTA
/// events are moved, everything else copied; nothing of the delivery is kept.
class TypedSubscriber : public Executable, public CommunicationsServiceEventIfc {
public:
    /// Hands every event to @p sink.
    explicit TypedSubscriber(EventSink sink);

    void init(Context& /*context*/) override {}
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
    template <typename Struct, typename... Args> void hand(Args&&... args);

    EventSink sink;
};

} // namespace CommunicationsService::app
