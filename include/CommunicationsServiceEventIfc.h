#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "framework/Visibility.h"

// The parties of a call as the call-state event reports them. A fixed C layout shared
// with applications built elsewhere: widths and order never change. Text fields are
// NUL-terminated; the service fills only the last four.
struct CallPartyInfo {
    char reservedText1[81];
    char reservedText2[81];
    char reservedText3[61];
    char reservedText4[61];
    std::int32_t reservedValue;
    char calledPartyName[65];  // <GPUCLDName>
    char calledParty[65];      // <GPUCLD>
    char callingPartyName[65]; // <GPUCLGName>
    char callingParty[65];     // <GPUCLG>
};

static_assert(sizeof(CallPartyInfo) == 548, "CallPartyInfo is 548 bytes");
static_assert(offsetof(CallPartyInfo, reservedText1) == 0, "field 1");
static_assert(offsetof(CallPartyInfo, reservedText2) == 81, "field 2");
static_assert(offsetof(CallPartyInfo, reservedText3) == 162, "field 3");
static_assert(offsetof(CallPartyInfo, reservedText4) == 223, "field 4");
static_assert(offsetof(CallPartyInfo, reservedValue) == 284, "field 5");
static_assert(offsetof(CallPartyInfo, calledPartyName) == 288, "field 6");
static_assert(offsetof(CallPartyInfo, calledParty) == 353, "field 7");
static_assert(offsetof(CallPartyInfo, callingPartyName) == 418, "field 8");
static_assert(offsetof(CallPartyInfo, callingParty) == 483, "field 9");

// The service's notifications, implemented by the application's subscriber (an
// Executable that also derives from this interface). Every callback runs synchronously
// on the thread that delivers the event; strings live only until it returns. Numbers
// missing from an event arrive as -1, texts as "", and flags as true.
class FRAMEWORK_API CommunicationsServiceEventIfc {
public:
    virtual void onCallStateChangeEvent(const std::string& lineId, int callId, int callState,
                                        int reason, int sendOptions, const std::string& uri,
                                        const std::string& name, const std::string& fullPai,
                                        CallPartyInfo* callPartyInfo, int resourcePriority,
                                        int preemptionCause, const std::string& preemptionText,
                                        bool callBackFeatureAvailable, int ilCallLevel,
                                        int ilLocalLevel) = 0;
    virtual void onRegistrationStateChangeEvent(const std::string& lineId, int callId,
                                                bool registered, int registrationResult) = 0;
    virtual void onIncomingCallEvent(const std::string& lineId, int callId, const std::string& uri,
                                     const std::string& name, const std::string& fullPai,
                                     const std::string& alertUri,
                                     const std::string& alertInfoParam, bool alertAutoAnswer,
                                     int callType, const std::string& diversionUri,
                                     const std::string& diversionName, int diversionReason,
                                     bool zipAutoAnswer, int resourcePriority, int ilCallLevel,
                                     int ilLocalLevel, bool isVideoCall) = 0;
    virtual void onIncomingPickupCallEvent(const std::string& lineId, int callId,
                                           const std::string& uri, const std::string& name,
                                           const std::string& fullPai) = 0;
    virtual void onCallHeldEvent(const std::string& lineId, int callId) = 0;
    virtual void onCallRetrievedEvent(const std::string& lineId, int callId, const std::string& uri,
                                      const std::string& name, const std::string& fullPai,
                                      int ilCallLevel, int ilLocalLevel,
                                      bool connectedToMediaServer) = 0;
    virtual void onFeatureSuccessEvent(const std::string& lineId, int callId, int feature) = 0;
    virtual void onFeatureFailedEvent(const std::string& lineId, int callId, int feature,
                                      int featureFailure) = 0;
    virtual void onRemoteEndpointDetailsChangedEvent(const std::string& lineId, int callId,
                                                     const std::string& uri,
                                                     const std::string& name,
                                                     const std::string& fullPai, bool exitConf,
                                                     bool jointCall) = 0;
    virtual void onIncomingCallMissedEvent(const std::string& lineId, int callId,
                                           const std::string& uri, const std::string& name,
                                           const std::string& fullPai, int reason,
                                           const std::string& diversionUri,
                                           const std::string& diversionName,
                                           int diversionReason) = 0;
    virtual void onCallForwardedEvent(const std::string& lineId, int callId,
                                      const std::string& callingParty,
                                      const std::string& callingPartyName,
                                      const std::string& callingPartyFullPai,
                                      const std::string& newDestination, int reason) = 0;
    virtual void onIncomingAssociatedCallEvent(const std::string& lineId, int currentCallId,
                                               int newCallId) = 0;
    virtual void onDevicesChangedEvent() = 0;
    virtual void onMessageWaitingEvent(const std::string& lineId, int type,
                                       unsigned int newMessages, unsigned int oldMessages,
                                       unsigned int newUrgentMessages,
                                       unsigned int oldUrgentMessages, int returnType,
                                       int availInfo, int messagesWaiting,
                                       const std::string& voiceMailNumber) = 0;
    virtual void onDoNotDisturbEvent(const std::string& deviceId, bool doNotDisturbOn) = 0;
    virtual void onAgentStateEvent(const std::string& deviceId, const std::string& agentState) = 0;
    virtual void onSecurityStatusChanged(const std::string& lineURI, int callId,
                                         int securityStatus, std::vector<int>& callIdsRecorded,
                                         std::vector<std::string>& callLineURIsRecorded) = 0;
    virtual void onCallRecordingStatusEvent(const std::string& lineId, int callId,
                                            const std::string& callRecorded) = 0;
    virtual void onPreemptionStatusChanged(const std::string& lineURI, int callId, int priority,
                                           int cause, const std::string& reason) = 0;
    virtual void onImpactLevelChanged(const std::string& lineURI, int callId, int ilCallLevel,
                                      int ilLocalLevel) = 0;
    virtual void onSystemStatusEvent(const std::string& status, const std::string& statusInfo) = 0;
    virtual void onServerFeatureStatusEvent(const std::string& lineURI,
                                            const std::string& status) = 0;
    // The payload is the event text itself, shortened to what follows the leading fields;
    // the subscriber may change or move from it.
    virtual void onB2buaCSTAResponse(const std::string& lineURI, bool success,
                                     std::string& cstaResponse) = 0;
    virtual void onB2buaCSTAEventOrRequest(const std::string& lineURI,
                                           std::string& cstaMessage) = 0;
    virtual void onConferenceStatusEvent(const std::string& lineId, int callId,
                                         const std::string& xmlContent) = 0;
    virtual void onCallCompletionEvent(const std::string& lineId, const std::string& uri,
                                       int callCompletionType, int callCompletionState,
                                       bool displayOutcomeCallUI) = 0;
    virtual void onCallCompletionFailedEvent(const std::string& lineId, const std::string& uri,
                                             int callCompletionFailureType) = 0;
    virtual void onBluetoothAudioStatusChanged(const std::string& lineId, int callId,
                                               bool audioEnabled, bool audioGateway,
                                               bool inBandRinging) = 0;

protected:
    // Not in the table: subscribers are owned and deleted as Executables.
    ~CommunicationsServiceEventIfc() = default;
};
