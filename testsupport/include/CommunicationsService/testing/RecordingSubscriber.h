#pragma once

/// @file
/// A subscriber that records every callback it receives, for tests that check which events
/// reach a subscriber and with which arguments.

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "CommunicationsService/CommunicationsServiceEventIfc.h"
#include "CommunicationsService/framework/Executable.h"

namespace communications::testing {

/// One callback as it arrived: its name and its arguments as texts, in order.
struct RecordedCall {
    std::string callback;               ///< the callback's name, such as "onCallHeldEvent"
    std::vector<std::string> arguments; ///< its arguments as toText() writes them
};

/// Whether two calls have the same callback and the same argument texts.
inline bool operator==(const RecordedCall& left, const RecordedCall& right) {
    return left.callback == right.callback && left.arguments == right.arguments;
}

/// Whether two calls differ in callback or in an argument text.
inline bool operator!=(const RecordedCall& left, const RecordedCall& right) {
    return !(left == right);
}

/// Prints `onCallHeldEvent("L1", "7")`; test frameworks use it in their failure messages.
inline std::ostream& operator<<(std::ostream& out, const RecordedCall& call) {
    out << call.callback << '(';
    for (std::size_t i = 0; i < call.arguments.size(); ++i) {
        out << (i == 0 ? "" : ", ") << '"' << call.arguments[i] << '"';
    }
    return out << ')';
}

// The texts arguments are recorded as. Tests use them to write expected values of the
// same shape, for example the list that a decoder makes of an empty text.

/// A number, in decimal.
inline std::string toText(int value) { return std::to_string(value); }
/// A counter, in decimal.
inline std::string toText(unsigned int value) { return std::to_string(value); }
/// A flag, as "true" or "false".
inline std::string toText(bool value) { return value ? "true" : "false"; }
/// A text, as it is.
inline std::string toText(const std::string& value) { return value; }
/// A C string, as it is.
inline std::string toText(const char* value) { return value; }

/// A list of numbers, as `[1, 2]`.
inline std::string toText(const std::vector<int>& values) {
    std::string text = "[";
    for (std::size_t i = 0; i < values.size(); ++i) {
        text.append(i == 0 ? "" : ", ").append(std::to_string(values[i]));
    }
    return text + "]";
}

/// A list of texts, as `["a", "b"]`.
inline std::string toText(const std::vector<std::string>& values) {
    std::string text = "[";
    for (std::size_t i = 0; i < values.size(); ++i) {
        text.append(i == 0 ? "\"" : ", \"").append(values[i]).append("\"");
    }
    return text + "]";
}

/// A fixed-width text field of a CallPartyInfo up to its first NUL, never past its width:
/// the record's unused bytes may hold anything.
template <std::size_t Width> std::string fieldText(const char (&field)[Width]) {
    return std::string(field, std::find(field, field + Width, '\0'));
}

/// The nine fields of a call party record in their order; one text "null" for no record.
inline std::vector<std::string> toTexts(const CallPartyInfo* info) {
    if (info == nullptr) return {"null"};
    return {fieldText(info->reservedText1),   fieldText(info->reservedText2),
            fieldText(info->reservedText3),   fieldText(info->reservedText4),
            toText(int{info->reservedValue}), fieldText(info->calledPartyName),
            fieldText(info->calledParty),     fieldText(info->callingPartyName),
            fieldText(info->callingParty)};
}

/// @brief A subscriber that records every callback it receives as a RecordedCall.
///
/// For tests that check what reaches a subscriber: an application's tests against the
/// simulator through the desktop host, tests of an application's own source of events
/// (a relay, a replay of a trace), or, with deliver(), of what an event turns into:
///
/// @code
/// communications::testing::RecordingSubscriber subscriber;
/// deliver(subscriber, events::callHeld, {{"lineId", "1001"}, {"callId", 7}});
/// EXPECT_EQ(subscriber.calls().at(0), (RecordedCall{"onCallHeldEvent", {"1001", "7"}}));
/// @endcode
///
/// The call-state event's CallPartyInfo is recorded as the nine texts of toTexts() in
/// place of the pointer. Every callback is virtual, so a test can derive from this class
/// to throw, to change a payload or to look at a record before it is released. Callbacks
/// are recorded without a lock: read calls() on the delivering thread, or after delivery
/// has stopped.
class RecordingSubscriber : public Executable, public CommunicationsServiceEventIfc {
public:
    void init(Context& /*context*/) override {}
    void shutdown() override {}

    /// Every callback received so far, oldest first.
    const std::vector<RecordedCall>& calls() const { return recorded; }

    /// Only the callback names, for tests that care which callbacks ran.
    std::vector<std::string> callbackNames() const {
        std::vector<std::string> names;
        for (const RecordedCall& call : recorded)
            names.push_back(call.callback);
        return names;
    }

    /// Forgets the calls recorded so far.
    void clear() { recorded.clear(); }

    void onCallStateChangeEvent(const std::string& lineId, int callId, int callState, int reason,
                                int sendOptions, const std::string& uri, const std::string& name,
                                const std::string& fullPai, CallPartyInfo* callPartyInfo,
                                int resourcePriority, int preemptionCause,
                                const std::string& preemptionText, bool callBackFeatureAvailable,
                                int ilCallLevel, int ilLocalLevel) override {
        std::vector<std::string> arguments{toText(lineId), toText(callId),      toText(callState),
                                           toText(reason), toText(sendOptions), toText(uri),
                                           toText(name),   toText(fullPai)};
        const std::vector<std::string> parties = toTexts(callPartyInfo);
        arguments.insert(arguments.end(), parties.begin(), parties.end());
        arguments.insert(arguments.end(), {toText(resourcePriority), toText(preemptionCause),
                                           toText(preemptionText), toText(callBackFeatureAvailable),
                                           toText(ilCallLevel), toText(ilLocalLevel)});
        record("onCallStateChangeEvent", std::move(arguments));
    }

    void onRegistrationStateChangeEvent(const std::string& lineId, int callId, bool registered,
                                        int registrationResult) override {
        record("onRegistrationStateChangeEvent",
               {toText(lineId), toText(callId), toText(registered), toText(registrationResult)});
    }

    void onIncomingCallEvent(const std::string& lineId, int callId, const std::string& uri,
                             const std::string& name, const std::string& fullPai,
                             const std::string& alertUri, const std::string& alertInfoParam,
                             bool alertAutoAnswer, int callType, const std::string& diversionUri,
                             const std::string& diversionName, int diversionReason,
                             bool zipAutoAnswer, int resourcePriority, int ilCallLevel,
                             int ilLocalLevel, bool isVideoCall) override {
        record("onIncomingCallEvent",
               {toText(lineId), toText(callId), toText(uri), toText(name), toText(fullPai),
                toText(alertUri), toText(alertInfoParam), toText(alertAutoAnswer), toText(callType),
                toText(diversionUri), toText(diversionName), toText(diversionReason),
                toText(zipAutoAnswer), toText(resourcePriority), toText(ilCallLevel),
                toText(ilLocalLevel), toText(isVideoCall)});
    }

    void onIncomingPickupCallEvent(const std::string& lineId, int callId, const std::string& uri,
                                   const std::string& name, const std::string& fullPai) override {
        record("onIncomingPickupCallEvent",
               {toText(lineId), toText(callId), toText(uri), toText(name), toText(fullPai)});
    }

    void onCallHeldEvent(const std::string& lineId, int callId) override {
        record("onCallHeldEvent", {toText(lineId), toText(callId)});
    }

    void onCallRetrievedEvent(const std::string& lineId, int callId, const std::string& uri,
                              const std::string& name, const std::string& fullPai, int ilCallLevel,
                              int ilLocalLevel, bool connectedToMediaServer) override {
        record("onCallRetrievedEvent",
               {toText(lineId), toText(callId), toText(uri), toText(name), toText(fullPai),
                toText(ilCallLevel), toText(ilLocalLevel), toText(connectedToMediaServer)});
    }

    void onFeatureSuccessEvent(const std::string& lineId, int callId, int feature) override {
        record("onFeatureSuccessEvent", {toText(lineId), toText(callId), toText(feature)});
    }

    void onFeatureFailedEvent(const std::string& lineId, int callId, int feature,
                              int featureFailure) override {
        record("onFeatureFailedEvent",
               {toText(lineId), toText(callId), toText(feature), toText(featureFailure)});
    }

    void onRemoteEndpointDetailsChangedEvent(const std::string& lineId, int callId,
                                             const std::string& uri, const std::string& name,
                                             const std::string& fullPai, bool exitConf,
                                             bool jointCall) override {
        record("onRemoteEndpointDetailsChangedEvent",
               {toText(lineId), toText(callId), toText(uri), toText(name), toText(fullPai),
                toText(exitConf), toText(jointCall)});
    }

    void onIncomingCallMissedEvent(const std::string& lineId, int callId, const std::string& uri,
                                   const std::string& name, const std::string& fullPai, int reason,
                                   const std::string& diversionUri,
                                   const std::string& diversionName, int diversionReason) override {
        record("onIncomingCallMissedEvent",
               {toText(lineId), toText(callId), toText(uri), toText(name), toText(fullPai),
                toText(reason), toText(diversionUri), toText(diversionName),
                toText(diversionReason)});
    }

    void onCallForwardedEvent(const std::string& lineId, int callId,
                              const std::string& callingParty, const std::string& callingPartyName,
                              const std::string& callingPartyFullPai,
                              const std::string& newDestination, int reason) override {
        record("onCallForwardedEvent",
               {toText(lineId), toText(callId), toText(callingParty), toText(callingPartyName),
                toText(callingPartyFullPai), toText(newDestination), toText(reason)});
    }

    void onIncomingAssociatedCallEvent(const std::string& lineId, int currentCallId,
                                       int newCallId) override {
        record("onIncomingAssociatedCallEvent",
               {toText(lineId), toText(currentCallId), toText(newCallId)});
    }

    void onDevicesChangedEvent() override { record("onDevicesChangedEvent", {}); }

    void onMessageWaitingEvent(const std::string& lineId, int type, unsigned int newMessages,
                               unsigned int oldMessages, unsigned int newUrgentMessages,
                               unsigned int oldUrgentMessages, int returnType, int availInfo,
                               int messagesWaiting, const std::string& voiceMailNumber) override {
        record("onMessageWaitingEvent",
               {toText(lineId), toText(type), toText(newMessages), toText(oldMessages),
                toText(newUrgentMessages), toText(oldUrgentMessages), toText(returnType),
                toText(availInfo), toText(messagesWaiting), toText(voiceMailNumber)});
    }

    void onDoNotDisturbEvent(const std::string& deviceId, bool doNotDisturbOn) override {
        record("onDoNotDisturbEvent", {toText(deviceId), toText(doNotDisturbOn)});
    }

    void onAgentStateEvent(const std::string& deviceId, const std::string& agentState) override {
        record("onAgentStateEvent", {toText(deviceId), toText(agentState)});
    }

    void onSecurityStatusChanged(const std::string& lineURI, int callId, int securityStatus,
                                 std::vector<int>& callIdsRecorded,
                                 std::vector<std::string>& callLineURIsRecorded) override {
        record("onSecurityStatusChanged", {toText(lineURI), toText(callId), toText(securityStatus),
                                           toText(callIdsRecorded), toText(callLineURIsRecorded)});
    }

    void onCallRecordingStatusEvent(const std::string& lineId, int callId,
                                    const std::string& callRecorded) override {
        record("onCallRecordingStatusEvent",
               {toText(lineId), toText(callId), toText(callRecorded)});
    }

    void onPreemptionStatusChanged(const std::string& lineURI, int callId, int priority, int cause,
                                   const std::string& reason) override {
        record("onPreemptionStatusChanged",
               {toText(lineURI), toText(callId), toText(priority), toText(cause), toText(reason)});
    }

    void onImpactLevelChanged(const std::string& lineURI, int callId, int ilCallLevel,
                              int ilLocalLevel) override {
        record("onImpactLevelChanged",
               {toText(lineURI), toText(callId), toText(ilCallLevel), toText(ilLocalLevel)});
    }

    void onSystemStatusEvent(const std::string& status, const std::string& statusInfo) override {
        record("onSystemStatusEvent", {toText(status), toText(statusInfo)});
    }

    void onServerFeatureStatusEvent(const std::string& lineURI,
                                    const std::string& status) override {
        record("onServerFeatureStatusEvent", {toText(lineURI), toText(status)});
    }

    void onB2buaCSTAResponse(const std::string& lineURI, bool success,
                             std::string& cstaResponse) override {
        record("onB2buaCSTAResponse", {toText(lineURI), toText(success), toText(cstaResponse)});
    }

    void onB2buaCSTAEventOrRequest(const std::string& lineURI, std::string& cstaMessage) override {
        record("onB2buaCSTAEventOrRequest", {toText(lineURI), toText(cstaMessage)});
    }

    void onConferenceStatusEvent(const std::string& lineId, int callId,
                                 const std::string& xmlContent) override {
        record("onConferenceStatusEvent", {toText(lineId), toText(callId), toText(xmlContent)});
    }

    void onCallCompletionEvent(const std::string& lineId, const std::string& uri,
                               int callCompletionType, int callCompletionState,
                               bool displayOutcomeCallUI) override {
        record("onCallCompletionEvent",
               {toText(lineId), toText(uri), toText(callCompletionType),
                toText(callCompletionState), toText(displayOutcomeCallUI)});
    }

    void onCallCompletionFailedEvent(const std::string& lineId, const std::string& uri,
                                     int callCompletionFailureType) override {
        record("onCallCompletionFailedEvent",
               {toText(lineId), toText(uri), toText(callCompletionFailureType)});
    }

    void onBluetoothAudioStatusChanged(const std::string& lineId, int callId, bool audioEnabled,
                                       bool audioGateway, bool inBandRinging) override {
        record("onBluetoothAudioStatusChanged",
               {toText(lineId), toText(callId), toText(audioEnabled), toText(audioGateway),
                toText(inBandRinging)});
    }

protected:
    /// Appends one call; derived classes record their own callbacks with it.
    void record(const char* callback, std::vector<std::string> arguments) {
        recorded.push_back(RecordedCall{callback, std::move(arguments)});
    }

private:
    std::vector<RecordedCall> recorded;
};

} // namespace communications::testing
