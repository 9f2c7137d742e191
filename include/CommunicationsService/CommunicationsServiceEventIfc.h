#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "CommunicationsService/framework/Visibility.h"

/// @file
/// The callbacks through which the service's notifications reach an application, and the
/// record of a call's parties that the call-state notification carries.

/// The parties of a call as the call-state event reports them. A fixed C layout shared
/// with applications built elsewhere: widths and order never change. Text fields are
/// NUL-terminated; the service fills only the last four.
///
/// The record belongs to the event's delivery: it is valid only until
/// CommunicationsServiceEventIfc::onCallStateChangeEvent returns, and must not be kept.
struct CallPartyInfo {
    /// Reserved; always empty.
    char reservedText1[81];
    /// Reserved; always empty.
    char reservedText2[81];
    /// Reserved; always empty.
    char reservedText3[61];
    /// Reserved; always empty.
    char reservedText4[61];
    /// Reserved; always 0.
    std::int32_t reservedValue;
    /// Display name of the called party.
    char calledPartyName[65]; // <GPUCLDName>
    /// Address of the called party.
    char calledParty[65]; // <GPUCLD>
    /// Display name of the calling party.
    char callingPartyName[65]; // <GPUCLGName>
    /// Address of the calling party.
    char callingParty[65]; // <GPUCLG>
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

/// The service's notifications, implemented by the application's subscriber (an
/// Executable that also derives from this interface). Every callback runs synchronously
/// on the thread that delivers the event; strings live only until it returns. Numbers
/// missing from an event arrive as -1, texts as "", and flags as true.
///
/// The subscriber is registered with CommunicationsServiceIfc::subscribe. Common
/// arguments: a `lineId` or `lineURI` names the line (its address of record) that the
/// event concerns, a `callId` the call within the service, as the requests of
/// CommunicationsServiceIfc name them. A `uri`, `name` and `fullPai` describe the remote
/// party: its address, its display name and its full P-Asserted-Identity. Codes whose
/// numbering the service defines (call states, reasons, impact levels and the like) are
/// passed on as the service sends them; the desktop simulator's numbering is on the
/// main page of this reference.
///
/// Threads: the framework calls the invoker, and so every callback, on the thread it
/// delivers events on; the library starts none. On the desktop host that is one delivery
/// thread per host: callbacks run there one at a time, in the order the service sent the
/// events, never on the thread that sent a request. A callback may send requests of
/// CommunicationsServiceIfc there and gets their answers; events that arrive meanwhile
/// wait until it returns.
///
/// CommunicationsServiceEventAdapter implements every callback with an empty body, for
/// subscribers that handle a few events only.
class FRAMEWORK_API CommunicationsServiceEventIfc {
public:
    /// A call changed its state.
    /// @param lineId                    the call's line.
    /// @param callId                    the call.
    /// @param callState                 the state the call is in now; the desktop
    ///                                  simulator's states are 0 idle (cleared),
    ///                                  1 dialing, 2 ringback, 3 ringing, 4 connected,
    ///                                  5 held, 6 busy, 7 failed, 8 conferenced.
    /// @param reason                    why the state changed.
    /// @param sendOptions               the service's send options for the call.
    /// @param uri                       the remote party's address.
    /// @param name                      the remote party's display name.
    /// @param fullPai                   the remote party's full P-Asserted-Identity.
    /// @param callPartyInfo             the calling and the called party; valid only during
    ///                                  the call.
    /// @param resourcePriority          the call's precedence (resource priority).
    /// @param preemptionCause           why the call was pre-empted, if it was.
    /// @param preemptionText            the pre-emption's text.
    /// @param callBackFeatureAvailable  whether a call-back can be requested for the call.
    /// @param ilCallLevel               the call's impact level.
    /// @param ilLocalLevel              the phone's own impact level.
    virtual void onCallStateChangeEvent(const std::string& lineId, int callId, int callState,
                                        int reason, int sendOptions, const std::string& uri,
                                        const std::string& name, const std::string& fullPai,
                                        CallPartyInfo* callPartyInfo, int resourcePriority,
                                        int preemptionCause, const std::string& preemptionText,
                                        bool callBackFeatureAvailable, int ilCallLevel,
                                        int ilLocalLevel) = 0;
    /// A line's registration with its server changed.
    /// @param lineId              the line.
    /// @param callId              the call the registration concerns, if any.
    /// @param registered          whether the line is registered now.
    /// @param registrationResult  the registrar's result code, such as 200.
    virtual void onRegistrationStateChangeEvent(const std::string& lineId, int callId,
                                                bool registered, int registrationResult) = 0;
    /// A call arrives and rings.
    /// @param lineId            the line it arrives on.
    /// @param callId            the new call.
    /// @param uri               the caller's address.
    /// @param name              the caller's display name.
    /// @param fullPai           the caller's full P-Asserted-Identity.
    /// @param alertUri          the URI of the call's alert information (its ring tone).
    /// @param alertInfoParam    the parameter of the call's alert information.
    /// @param alertAutoAnswer   whether the alert information asks for automatic answer.
    /// @param callType          the kind of call.
    /// @param diversionUri      who diverted the call to this phone, if anyone did.
    /// @param diversionName     the display name of who diverted the call.
    /// @param diversionReason   why the call was diverted.
    /// @param zipAutoAnswer     whether the call asks for automatic answer by AICS zip.
    /// @param resourcePriority  the call's precedence (resource priority).
    /// @param ilCallLevel       the call's impact level.
    /// @param ilLocalLevel      the phone's own impact level.
    /// @param isVideoCall       whether the call offers video.
    virtual void onIncomingCallEvent(const std::string& lineId, int callId, const std::string& uri,
                                     const std::string& name, const std::string& fullPai,
                                     const std::string& alertUri, const std::string& alertInfoParam,
                                     bool alertAutoAnswer, int callType,
                                     const std::string& diversionUri,
                                     const std::string& diversionName, int diversionReason,
                                     bool zipAutoAnswer, int resourcePriority, int ilCallLevel,
                                     int ilLocalLevel, bool isVideoCall) = 0;
    /// A call that rings elsewhere is offered to this phone for pickup.
    /// @param lineId   the line it is offered on.
    /// @param callId   the call.
    /// @param uri      the caller's address.
    /// @param name     the caller's display name.
    /// @param fullPai  the caller's full P-Asserted-Identity.
    virtual void onIncomingPickupCallEvent(const std::string& lineId, int callId,
                                           const std::string& uri, const std::string& name,
                                           const std::string& fullPai) = 0;
    /// Call @p callId on line @p lineId was put on hold.
    virtual void onCallHeldEvent(const std::string& lineId, int callId) = 0;
    /// A held call was taken back.
    /// @param lineId                  the call's line.
    /// @param callId                  the call.
    /// @param uri                     the remote party's address.
    /// @param name                    the remote party's display name.
    /// @param fullPai                 the remote party's full P-Asserted-Identity.
    /// @param ilCallLevel             the call's impact level.
    /// @param ilLocalLevel            the phone's own impact level.
    /// @param connectedToMediaServer  whether the call is connected to a media server.
    virtual void onCallRetrievedEvent(const std::string& lineId, int callId, const std::string& uri,
                                      const std::string& name, const std::string& fullPai,
                                      int ilCallLevel, int ilLocalLevel,
                                      bool connectedToMediaServer) = 0;
    /// The feature @p feature (numbered as #sfiFeature) succeeded for call @p callId on line
    /// @p lineId.
    virtual void onFeatureSuccessEvent(const std::string& lineId, int callId, int feature) = 0;
    /// A feature failed.
    /// @param lineId          the line.
    /// @param callId          the call it was used for.
    /// @param feature         the feature, numbered as #sfiFeature.
    /// @param featureFailure  why it failed.
    virtual void onFeatureFailedEvent(const std::string& lineId, int callId, int feature,
                                      int featureFailure) = 0;
    /// The remote party of a call changed: a new identity, or it left or joined a
    /// conference.
    /// @param lineId     the call's line.
    /// @param callId     the call.
    /// @param uri        the remote party's address.
    /// @param name       the remote party's display name.
    /// @param fullPai    the remote party's full P-Asserted-Identity.
    /// @param exitConf   whether the remote party left a conference.
    /// @param jointCall  whether the call was joined with another.
    virtual void onRemoteEndpointDetailsChangedEvent(const std::string& lineId, int callId,
                                                     const std::string& uri,
                                                     const std::string& name,
                                                     const std::string& fullPai, bool exitConf,
                                                     bool jointCall) = 0;
    /// A call that rang on this phone was not answered here.
    /// @param lineId           the line it arrived on.
    /// @param callId           the call.
    /// @param uri              the caller's address.
    /// @param name             the caller's display name.
    /// @param fullPai          the caller's full P-Asserted-Identity.
    /// @param reason           why the call was missed.
    /// @param diversionUri     who diverted the call to this phone, if anyone did.
    /// @param diversionName    the display name of who diverted the call.
    /// @param diversionReason  why the call was diverted.
    virtual void onIncomingCallMissedEvent(const std::string& lineId, int callId,
                                           const std::string& uri, const std::string& name,
                                           const std::string& fullPai, int reason,
                                           const std::string& diversionUri,
                                           const std::string& diversionName,
                                           int diversionReason) = 0;
    /// A call was forwarded.
    /// @param lineId               the line it arrived on.
    /// @param callId               the call.
    /// @param callingParty         the caller's address.
    /// @param callingPartyName     the caller's display name.
    /// @param callingPartyFullPai  the caller's full P-Asserted-Identity.
    /// @param newDestination       where the call was forwarded to.
    /// @param reason               why it was forwarded.
    virtual void onCallForwardedEvent(const std::string& lineId, int callId,
                                      const std::string& callingParty,
                                      const std::string& callingPartyName,
                                      const std::string& callingPartyFullPai,
                                      const std::string& newDestination, int reason) = 0;
    /// A new call @p newCallId that belongs with the current call @p currentCallId arrived on
    /// line @p lineId.
    virtual void onIncomingAssociatedCallEvent(const std::string& lineId, int currentCallId,
                                               int newCallId) = 0;
    /// The service's devices changed; CommunicationsServiceIfc::getDevices reads them.
    virtual void onDevicesChangedEvent() = 0;
    /// The message-waiting indication of the phone's mailbox changed. The nine values after
    /// the line are those of CommunicationsServiceIfc::getMessageWaitingIndicator; a counter
    /// missing from the event arrives as 4294967295.
    /// @param lineId             the line.
    /// @param type               the service's message type code.
    /// @param newMessages        number of new messages.
    /// @param oldMessages        number of old (heard) messages.
    /// @param newUrgentMessages  number of new urgent messages.
    /// @param oldUrgentMessages  number of old urgent messages.
    /// @param returnType         the service's return type code.
    /// @param availInfo          the service's code for the information available.
    /// @param messagesWaiting    the service's messages-waiting indication.
    /// @param voiceMailNumber    the number that reaches the mailbox.
    virtual void onMessageWaitingEvent(const std::string& lineId, int type,
                                       unsigned int newMessages, unsigned int oldMessages,
                                       unsigned int newUrgentMessages,
                                       unsigned int oldUrgentMessages, int returnType,
                                       int availInfo, int messagesWaiting,
                                       const std::string& voiceMailNumber) = 0;
    /// Do-not-disturb was switched on (@p doNotDisturbOn set) or off for device
    /// @p deviceId.
    virtual void onDoNotDisturbEvent(const std::string& deviceId, bool doNotDisturbOn) = 0;
    /// The call-centre agent state of device @p deviceId is now @p agentState, a text of the
    /// service's vocabulary.
    virtual void onAgentStateEvent(const std::string& deviceId, const std::string& agentState) = 0;
    /// The security status of a call changed. The lists belong to the delivery: copy what
    /// is to be kept.
    /// @param lineURI               the call's line.
    /// @param callId                the call.
    /// @param securityStatus        its security status now.
    /// @param callIdsRecorded       the calls that are recorded.
    /// @param callLineURIsRecorded  the lines of the recorded calls.
    virtual void onSecurityStatusChanged(const std::string& lineURI, int callId, int securityStatus,
                                         std::vector<int>& callIdsRecorded,
                                         std::vector<std::string>& callLineURIsRecorded) = 0;
    /// The recording of call @p callId on line @p lineId changed; @p callRecorded is the
    /// service's text for the recording status.
    virtual void onCallRecordingStatusEvent(const std::string& lineId, int callId,
                                            const std::string& callRecorded) = 0;
    /// A call was pre-empted by one of higher precedence.
    /// @param lineURI   the call's line.
    /// @param callId    the call.
    /// @param priority  the precedence involved.
    /// @param cause     the cause of the pre-emption.
    /// @param reason    the pre-emption's text.
    virtual void onPreemptionStatusChanged(const std::string& lineURI, int callId, int priority,
                                           int cause, const std::string& reason) = 0;
    /// The impact levels of call @p callId on line @p lineURI changed: @p ilCallLevel is
    /// the call's, @p ilLocalLevel the phone's own.
    virtual void onImpactLevelChanged(const std::string& lineURI, int callId, int ilCallLevel,
                                      int ilLocalLevel) = 0;
    /// The system status changed to @p status, with @p statusInfo as detail.
    virtual void onSystemStatusEvent(const std::string& status, const std::string& statusInfo) = 0;
    /// The status of the server-side features of line @p lineURI is now @p status, a text
    /// of the service.
    virtual void onServerFeatureStatusEvent(const std::string& lineURI,
                                            const std::string& status) = 0;
    /// The answer to a CSTA request passed through with
    /// CommunicationsServiceIfc::SendCSTARequest or
    /// CommunicationsServiceIfc::sendUACSTAServerMessage.
    /// @param lineURI       the line the request was sent for.
    /// @param success       whether the response reports success.
    /// @param cstaResponse  the CSTA response document, unparsed. The payload is the event
    ///                      text itself, shortened to what follows the leading fields; the
    ///                      subscriber may change or move from it.
    virtual void onB2buaCSTAResponse(const std::string& lineURI, bool success,
                                     std::string& cstaResponse) = 0;
    /// A CSTA event, or a request, that the CSTA peer sent unprompted.
    /// @param lineURI      the line it concerns.
    /// @param cstaMessage  the CSTA document, unparsed; like the response's payload, the
    ///                     subscriber may change or move from it.
    virtual void onB2buaCSTAEventOrRequest(const std::string& lineURI,
                                           std::string& cstaMessage) = 0;
    /// The status of conference call @p callId on line @p lineId changed; @p xmlContent is
    /// the conference document as the service sends it.
    virtual void onConferenceStatusEvent(const std::string& lineId, int callId,
                                         const std::string& xmlContent) = 0;
    /// A call-back request (call completion) changed.
    /// @param lineId                the line that made the request.
    /// @param uri                   the party to be called back.
    /// @param callCompletionType    the kind of call-back.
    /// @param callCompletionState   its state now.
    /// @param displayOutcomeCallUI  whether the phone is to show the outcome to the user.
    virtual void onCallCompletionEvent(const std::string& lineId, const std::string& uri,
                                       int callCompletionType, int callCompletionState,
                                       bool displayOutcomeCallUI) = 0;
    /// A call-back request of line @p lineId for party @p uri failed;
    /// @p callCompletionFailureType tells how.
    virtual void onCallCompletionFailedEvent(const std::string& lineId, const std::string& uri,
                                             int callCompletionFailureType) = 0;
    /// The Bluetooth audio of a call changed.
    /// @param lineId          the call's line.
    /// @param callId          the call.
    /// @param audioEnabled    whether the call's audio goes through Bluetooth.
    /// @param audioGateway    whether the phone acts as the Bluetooth audio gateway.
    /// @param inBandRinging   whether the ring tone is sent in band.
    virtual void onBluetoothAudioStatusChanged(const std::string& lineId, int callId,
                                               bool audioEnabled, bool audioGateway,
                                               bool inBandRinging) = 0;

protected:
    // Not in the table: subscribers are owned and deleted as Executables.
    ~CommunicationsServiceEventIfc() = default;
};
