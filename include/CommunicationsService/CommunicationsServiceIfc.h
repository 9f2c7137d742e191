#pragma once

#include <string>
#include <vector>

#include "CommunicationsService/CommunicationsServiceTypes.h"
#include "CommunicationsService/framework/Visibility.h"

class Executable;

/// The requests an application sends to the phone's communications service. The slot
/// order of this table is the ABI that applications are compiled against.
///
/// The framework creates the object behind this interface, binds it to its request channel
/// and owns it. Each operation sends one request to the service and, unless it says it
/// posts its message, blocks on the caller's thread until the service answers.
///
/// Common arguments:
/// - a `line` names the line (its address of record) that the request concerns;
/// - a `callId` names one call within the service, as the events report it;
/// - texts are sent as they are, neither escaped nor checked, so they must not contain
///   `<` or tags of their own.
///
/// Most operations return a result code, an #sfiResult held in an `int`: #sfiSuccess (5)
/// when the service carried the request out, #sfiFailure (0) for every other answer.
/// Success is the highest value, not zero. Failures of the service are never thrown.
///
/// The operations by what they do (the table keeps its own order):
/// - Session: #activate, #deactivate, #subscribe, #processSignallingComponentEvent,
///   #csCommunicationsService, #activateStoredFwd.
/// - Calls: #outgoingCallMake, #acceptCall, #answerCall, #refuseCall, #deflectCall,
///   #callClear, #holdCall, #retrieveCall, #alternateCalls, #consultationCall,
///   #attendedTransferCall, #blindTransferCall, #conferenceCall, #generateDigits,
///   #directedPickupCall, #groupPickupCall.
/// - Features and settings: #activateCallbackRinging, #activateCallbackBusy,
///   #cancelCallbacks, #setDoNotDisturb, #setForwardingConfiguration, #setMicrophoneMute,
///   #setAssociatedCalls, #setLampMode, #makeSecurityChangeReinvite,
///   #setIsInServiceInitiatedState, #systemStatus, #setServiceState.
/// - Queries: #getServiceState, #getDoNotDisturb, #getMicrophoneMute,
///   #getForwardingConfiguration, #getMessageWaitingIndicator, #getDevices,
///   #isCallHoldPossible, #getManualHoldIndication.
/// - Pass-through to the service's CSTA and server side: #SendCSTARequest,
///   #sendUACSTAServerMessage, #InitializeOrFinalizeServerFeatures, #setAgentState,
///   #callbackDOFeatureCallID, #RemoveConfParticipant.
///
/// Call identifiers belong to the service: the one an application passes to
/// #outgoingCallMake is a proposal, and the call's events (the first is a
/// CommunicationsServiceEventIfc::onCallStateChangeEvent on the line whose `uri` addresses
/// the destination) carry the one the service uses; calls that arrive bring theirs in
/// CommunicationsServiceEventIfc::onIncomingCallEvent.
///
/// The library holds no lock and keeps no state, so operations may be called from any
/// thread that the framework's channel allows, a callback's included. The desktop host
/// allows both: each request waits only for its own answer, which the host reads on a
/// thread of its own while a callback waits.
class FRAMEWORK_API CommunicationsServiceIfc {
public:
    /// Forwards a block of signalling data to the service without waiting for an answer.
    /// Exactly @p length bytes from @p data are sent, zero bytes included; @p data need
    /// not be terminated.
    virtual void processSignallingComponentEvent(const char* data, int length) = 0;
    /// Asks the service to become active for this client. Waits for the answer at most as
    /// long as the framework's request time-out.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int activate() = 0;
    /// Asks the service to become inactive. With @p allowAutoActivate set the service may
    /// activate itself again on its own.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int deactivate(bool allowAutoActivate) = 0;
    /// Clears (ends) call @p callId on @p line, giving @p cause as the reason.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int callClear(const std::string& line, int callId, CSTAEventCause cause) = 0;
    /// Places a call from @p line to @p destination as call @p callId.
    /// @param line                the line that places the call.
    /// @param callId              the identifier the application proposes for the call. The
    ///                            service owns call identifiers and names the call in its
    ///                            events by the one it uses, from the call's first
    ///                            call-state event on @p line on (its `uri` addresses
    ///                            @p destination; the simulator's state is 1, dialing).
    ///                            The desktop simulator takes a positive identifier that no
    ///                            call holds, and otherwise numbers the call itself (from 1
    ///                            upwards), so an application that passes 0 learns the
    ///                            identifier from that event.
    /// @param destination         the number or address to call.
    /// @param dssDirectCall       set when the call comes from a direct station selection
    ///                            (DSS) key.
    /// @param bridgeCall          set for a bridged call on a shared line.
    /// @param callCompletionCall  set when the call completes an earlier call-back request.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int outgoingCallMake(const std::string& line, int callId, const char* destination,
                                 bool dssDirectCall, bool bridgeCall, bool callCompletionCall) = 0;
    /// Accepts the offered call @p callId on @p line; with @p autoAnswer set, the call is to
    /// be answered automatically.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int acceptCall(const std::string& line, int callId, bool autoAnswer) = 0;
    /// Answers the ringing call @p callId on @p line.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int answerCall(const std::string& line, int callId) = 0;
    /// Diverts the ringing call @p callId on @p line to @p destination without answering it.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int deflectCall(const std::string& line, int callId, const char* destination) = 0;
    /// Puts call @p callId on @p line on hold.
    /// @param line            the call's line.
    /// @param callId          the call to hold.
    /// @param holdCallReason  the feature on whose behalf the call is held.
    /// @param manual          set when the user asked for the hold.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int holdCall(const std::string& line, int callId, sfiFeature holdCallReason,
                         bool manual) = 0;
    /// Takes the held call @p callId on @p line back.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int retrieveCall(const std::string& line, int callId) = 0;
    /// Transfers after consultation: connects the held call @p heldCall on @p line with the
    /// active call @p activeCall.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int attendedTransferCall(const std::string& line, int activeCall, int heldCall) = 0;
    /// Transfers call @p callId on @p line to @p destination without consultation.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int blindTransferCall(const std::string& line, int callId, const char* destination) = 0;
    /// Passes a CSTA request through to the service for @p line. @p cstaRequest is a complete
    /// document of the service's CSTA dialect and is sent unchanged; the CSTA response
    /// arrives later as CommunicationsServiceEventIfc::onB2buaCSTAResponse.
    /// @return #sfiSuccess when the service took the request, #sfiFailure otherwise.
    virtual int SendCSTARequest(const std::string& line, const std::string& cstaRequest) = 0;
    /// Posts a uaCSTA server message for @p line to the service without waiting for an
    /// answer. @p serverMessage is sent unchanged; both strings are only read.
    virtual void sendUACSTAServerMessage(std::string& line, std::string& serverMessage) = 0;
    /// Switches the server-side features of @p line on (@p initialize set) or off, without
    /// waiting for an answer.
    virtual void InitializeOrFinalizeServerFeatures(const std::string& line, bool initialize) = 0;
    /// Asks for a call-back once the party of call @p callId on @p line, which did not
    /// answer, is next reachable.
    /// @return #sfiSuccess, one of the four call-back failures
    ///         (#sfiFailureCallBackInvalidState to #sfiFailureCallBackAllreadyExists), or
    ///         #sfiFailure.
    virtual int activateCallbackRinging(const std::string& line, int callId) = 0;
    /// Asks for a call-back once the busy party of call @p callId on @p line is free.
    /// @return #sfiSuccess, one of the four call-back failures, or #sfiFailure.
    virtual int activateCallbackBusy(const std::string& line, int callId) = 0;
    /// Cancels call-back requests.
    /// @param line                  the line that requested them.
    /// @param callId                the call they were requested for.
    /// @param uri                   the party to be called back.
    /// @param cancelCallBackType    which call-backs to cancel.
    /// @param displayOutcomeCallUI  set when the phone is to show the outcome to the user.
    /// @return #sfiSuccess, one of the four call-back failures, or #sfiFailure.
    virtual int cancelCallbacks(const std::string& line, int callId, const std::string& uri,
                                sfiCancelCallBackType cancelCallBackType,
                                bool displayOutcomeCallUI) = 0;
    /// Places a consultation call from @p line to @p destination while call @p callId waits.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int consultationCall(const std::string& line, int callId, const char* destination) = 0;
    /// Rejects the offered call @p callId on @p line for @p refuseCallReason.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int refuseCall(const std::string& line, int callId, sfiRefuseCall refuseCallReason) = 0;
    /// Registers @p subscriber for the service's events. The subscriber is an Executable
    /// that also implements CommunicationsServiceEventIfc; the framework delivers the
    /// events to it on the channel it knows the subscriber by. A MarloException of the
    /// framework is logged and thrown on to the caller.
    /// @return #sfiSuccess or #sfiFailure; #sfiFailure without a request for a null
    ///         @p subscriber.
    virtual int subscribe(Executable* subscriber) = 0;
    /// Picks up a call that rings at another phone.
    /// @param line              the line that takes the call.
    /// @param callId            the call's identifier on this phone.
    /// @param callToBePickedUp  the ringing call, as the service names it.
    /// @param blfPickup         set when the pickup starts from a busy lamp field (BLF) key.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int directedPickupCall(const std::string& line, int callId,
                                   const std::string& callToBePickedUp, bool blfPickup) = 0;
    /// Picks up, as call @p callId on @p line, a call that rings in the phone's pickup group.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int groupPickupCall(const std::string& line, int callId) = 0;
    /// Sets the phone's service state to @p state.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int setServiceState(sfiServiceState state) = 0;
    /// Reads the phone's service state into @p state, which is left as it was on failure.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int getServiceState(sfiServiceState& state) = 0;
    /// Switches do-not-disturb on (@p doNotDisturbOn set) or off for @p line.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int setDoNotDisturb(const std::string& line, bool doNotDisturbOn) = 0;
    /// Reads whether do-not-disturb is on for @p deviceId into @p doNotDisturbOn, which is
    /// left as it was on failure.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int getDoNotDisturb(const std::string& deviceId, bool& doNotDisturbOn) = 0;
    /// Sets the call-centre agent state of @p line to @p agentState, a text of the service's
    /// vocabulary.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int setAgentState(const std::string& line, const std::string& agentState) = 0;
    /// Mutes the microphone (@p status set) or unmutes it.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int setMicrophoneMute(bool status) = 0;
    /// Reads whether the microphone is muted into @p muted, which is left as it was on
    /// failure.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int getMicrophoneMute(bool& muted) = 0;
    /// Reports the phone's system status to the service: @p systemStatus names it and
    /// @p systemStatusInfo adds detail.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int systemStatus(const char* systemStatus, const char* systemStatusInfo) = 0;
    /// Sends @p digits as DTMF tones in the active call @p activeCall on @p line.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int generateDigits(const std::string& line, int activeCall, const char* digits) = 0;
    /// Appends the names of the service's devices to @p devices, after what it holds
    /// already.
    /// @return #sfiSuccess, or #sfiFailure with @p devices left as it was.
    virtual int getDevices(std::vector<std::string>& devices) = 0;
    /// Joins the active call @p activeCall and the held call @p heldCall on @p line into a
    /// conference, using @p feature.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int conferenceCall(const std::string& line, int activeCall, int heldCall,
                               sfiFeature feature) = 0;
    /// Removes a participant from the conference call @p callId without waiting for an
    /// answer.
    /// @param callId              the conference call.
    /// @param remoteParticipant   the participant's address.
    /// @param conferenceMemberId  the participant's member identifier in the conference.
    virtual void RemoveConfParticipant(int callId, const std::string& remoteParticipant,
                                       const std::string& conferenceMemberId) = 0;
    /// Tells whether call @p callId on @p line was put on hold by the user.
    /// @return true only when the service answers so; false on any failure.
    virtual bool getManualHoldIndication(const std::string& line, int callId) = 0;
    /// Swaps the active and the held call on @p line.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int alternateCalls(const std::string& line) = 0;
    /// Reads the message-waiting indication of the phone's mailbox. Every output is written,
    /// whatever the result; a number that the answer lacks is set to 0. The meaning of the
    /// codes belongs to the service.
    /// @param[out] type             the service's message type code.
    /// @param[out] newMsgs          number of new messages.
    /// @param[out] oldMsgs          number of old (heard) messages.
    /// @param[out] newUrgMsgs       number of new urgent messages.
    /// @param[out] oldUrgMsgs       number of old urgent messages.
    /// @param[out] returnType       the service's return type code.
    /// @param[out] availableInfo    the service's code for the information available.
    /// @param[out] messagesWaiting  the service's messages-waiting indication.
    /// @param[out] voiceMailNumber  the number that reaches the mailbox.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int getMessageWaitingIndicator(int& type, unsigned int& newMsgs, unsigned int& oldMsgs,
                                           unsigned int& newUrgMsgs, unsigned int& oldUrgMsgs,
                                           int& returnType, int& availableInfo,
                                           int& messagesWaiting, std::string& voiceMailNumber) = 0;
    /// Switches the service's associated calls on (@p associated set) or off.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int setAssociatedCalls(bool associated) = 0;
    /// Sets lamp @p lampId of @p line to @p lampMode; the numbering of the modes belongs to
    /// the service.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int setLampMode(const std::string& line, const std::string& lampId, int lampMode) = 0;
    /// Asks the service to renegotiate call @p callId on @p line with a re-INVITE after a
    /// change of its security level; @p forceFlag forces the re-INVITE.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int makeSecurityChangeReinvite(const std::string& line, int callId, bool forceFlag) = 0;
    /// Tells the service, without waiting for an answer, whether @p line is in the
    /// service-initiated state.
    virtual void setIsInServiceInitiatedState(const std::string& line,
                                              bool isInServiceInitiatedState) = 0;
    /// Configures one kind of call forwarding. All values are sent, also when forwarding is
    /// switched off.
    /// @param line             the forwarded line.
    /// @param fwType           the kind of forwarding.
    /// @param status           set to switch the forwarding on, clear to switch it off.
    /// @param uri              where calls are forwarded to.
    /// @param cfnrRingCount    rings before a call is forwarded on no reply.
    /// @param forceTKVSUpdate  set to force an update of the phone's stored configuration
    ///                         (TKVS).
    /// @return #sfiSuccess or #sfiFailure.
    virtual int setForwardingConfiguration(const std::string& line, sfiForwardingType fwType,
                                           bool status, const std::string& uri, int cfnrRingCount,
                                           bool forceTKVSUpdate) = 0;
    /// Reads the configuration of one kind of call forwarding. Every output is written,
    /// whatever the result.
    /// @param fwType              the kind of forwarding.
    /// @param[out] status         whether it is on; true when the answer lacks it.
    /// @param[out] uri            where calls are forwarded to; empty when the answer lacks
    ///                            it.
    /// @param[out] cfnrRingCount  rings before a call is forwarded on no reply; -1 when the
    ///                            answer lacks it.
    /// @return #sfiSuccess or #sfiFailure.
    virtual int getForwardingConfiguration(sfiForwardingType fwType, bool& status, std::string& uri,
                                           int& cfnrRingCount) = 0;
    /// Tells the service, without waiting for an answer, that call @p callId (its decimal
    /// text, sent as it is) is the feature call of call-back instance @p instanceId.
    virtual void callbackDOFeatureCallID(const std::string& callId, int instanceId) = 0;
    /// Tells whether a call on @p line can be put on hold now.
    /// @return true only when the service answers so; false on any failure.
    virtual bool isCallHoldPossible(const std::string& line) = 0;
    /// Sends nothing.
    /// @return always the empty string; @p name is not read.
    virtual std::string csCommunicationsService(const char* name) = 0;
    /// Does nothing.
    virtual void activateStoredFwd() = 0;

protected:
    // Not in the table: the framework deletes the proxy through Executable.
    ~CommunicationsServiceIfc() = default;
};
