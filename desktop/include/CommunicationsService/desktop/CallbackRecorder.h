#pragma once

/// @file
/// Turns callbacks into named texts, for the console, the decoder, the panel and the test
/// support's recording subscriber.

// Turns every callback into its name and its arguments, each named after the callback's
// parameter and written as text, and hands that to a sink: the recording subscriber keeps
// the calls for tests, the desktop console prints them and waits on them.
//
// Argument names come from the protocol's description of the events, so they change with
// it. Numbers are written in decimal, flags as "true" or "false", strings as they are,
// lists as [1, 2] or ["a", "b"], and a CallPartyInfo as its nine fields, named after the
// record's members (one argument "null" when there is no record).

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "CommunicationsService/CommunicationsServiceEventIfc.h"
#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/protocol/Catalogue.h"

namespace desktop {

namespace events = CommunicationsService::protocol::events;

// The texts that arguments are recorded as. Tests use them to write expected values of
// the same shape, for example the list that a decoder makes of an empty text.

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

/// One argument of a callback: the parameter's name and its value as text.
struct NamedValue {
    std::string name;  ///< the callback parameter's name, such as "callId"
    std::string value; ///< its value as toText() writes it
};

/// One callback as it arrived: its name and its named arguments, in order.
struct NamedCall {
    std::string callback;              ///< the callback's name, such as "onCallHeldEvent"
    std::vector<NamedValue> arguments; ///< its arguments, in the callback's order
};

/// The names a CallPartyInfo's nine fields are recorded under, in the record's order.
inline constexpr const char* kPartyFieldNames[] = {
    "reservedText1",   "reservedText2", "reservedText3",    "reservedText4", "reservedValue",
    "calledPartyName", "calledParty",   "callingPartyName", "callingParty"};

/// A callback and the names its arguments are recorded under.
struct CallbackArguments {
    std::string callback;               ///< the callback's name
    std::vector<std::string> arguments; ///< its arguments' names, in order
};

/// Every callback in the events' order, for tools that check or complete names.
inline const std::vector<CallbackArguments>& recordedCallbacks() {
    namespace catalogue = CommunicationsService::protocol::catalogue;
    static const std::vector<CallbackArguments> all = [] {
        std::vector<CallbackArguments> callbacks;
        for (const catalogue::Event& event : catalogue::kEvents) {
            CallbackArguments named{std::string(event.name), {}};
            for (const catalogue::EventField& field : event.fields) {
                if (field.kind == CommunicationsService::protocol::FieldKind::parties)
                    named.arguments.insert(named.arguments.end(), std::begin(kPartyFieldNames),
                                           std::end(kPartyFieldNames));
                else
                    named.arguments.emplace_back(field.argument);
            }
            callbacks.push_back(std::move(named));
        }
        return callbacks;
    }();
    return all;
}

/// A subscriber that turns every callback into a NamedCall and hands it to recorded(),
/// its one sink: the recording subscriber keeps the calls, the console prints them.
class CallbackRecorder : public Executable, public CommunicationsServiceEventIfc {
public:
    void init(Context& /*context*/) override {}
    void shutdown() override {}

    void onCallStateChangeEvent(const std::string& lineId, int callId, int callState, int reason,
                                int sendOptions, const std::string& uri, const std::string& name,
                                const std::string& fullPai, CallPartyInfo* callPartyInfo,
                                int resourcePriority, int preemptionCause,
                                const std::string& preemptionText, bool callBackFeatureAvailable,
                                int ilCallLevel, int ilLocalLevel) override {
        describe(events::callStateChange, lineId, callId, callState, reason, sendOptions, uri, name,
                 fullPai, callPartyInfo, resourcePriority, preemptionCause, preemptionText,
                 callBackFeatureAvailable, ilCallLevel, ilLocalLevel);
    }

    void onRegistrationStateChangeEvent(const std::string& lineId, int callId, bool registered,
                                        int registrationResult) override {
        describe(events::registrationStateChange, lineId, callId, registered, registrationResult);
    }

    void onIncomingCallEvent(const std::string& lineId, int callId, const std::string& uri,
                             const std::string& name, const std::string& fullPai,
                             const std::string& alertUri, const std::string& alertInfoParam,
                             bool alertAutoAnswer, int callType, const std::string& diversionUri,
                             const std::string& diversionName, int diversionReason,
                             bool zipAutoAnswer, int resourcePriority, int ilCallLevel,
                             int ilLocalLevel, bool isVideoCall) override {
        describe(events::incomingCall, lineId, callId, uri, name, fullPai, alertUri, alertInfoParam,
                 alertAutoAnswer, callType, diversionUri, diversionName, diversionReason,
                 zipAutoAnswer, resourcePriority, ilCallLevel, ilLocalLevel, isVideoCall);
    }

    void onIncomingPickupCallEvent(const std::string& lineId, int callId, const std::string& uri,
                                   const std::string& name, const std::string& fullPai) override {
        describe(events::incomingPickupCall, lineId, callId, uri, name, fullPai);
    }

    void onCallHeldEvent(const std::string& lineId, int callId) override {
        describe(events::callHeld, lineId, callId);
    }

    void onCallRetrievedEvent(const std::string& lineId, int callId, const std::string& uri,
                              const std::string& name, const std::string& fullPai, int ilCallLevel,
                              int ilLocalLevel, bool connectedToMediaServer) override {
        describe(events::callRetrieved, lineId, callId, uri, name, fullPai, ilCallLevel,
                 ilLocalLevel, connectedToMediaServer);
    }

    void onFeatureSuccessEvent(const std::string& lineId, int callId, int feature) override {
        describe(events::featureSuccess, lineId, callId, feature);
    }

    void onFeatureFailedEvent(const std::string& lineId, int callId, int feature,
                              int featureFailure) override {
        describe(events::featureFailed, lineId, callId, feature, featureFailure);
    }

    void onRemoteEndpointDetailsChangedEvent(const std::string& lineId, int callId,
                                             const std::string& uri, const std::string& name,
                                             const std::string& fullPai, bool exitConf,
                                             bool jointCall) override {
        describe(events::remoteEndpointDetailsChanged, lineId, callId, uri, name, fullPai, exitConf,
                 jointCall);
    }

    void onIncomingCallMissedEvent(const std::string& lineId, int callId, const std::string& uri,
                                   const std::string& name, const std::string& fullPai, int reason,
                                   const std::string& diversionUri,
                                   const std::string& diversionName, int diversionReason) override {
        describe(events::incomingCallMissed, lineId, callId, uri, name, fullPai, reason,
                 diversionUri, diversionName, diversionReason);
    }

    void onCallForwardedEvent(const std::string& lineId, int callId,
                              const std::string& callingParty, const std::string& callingPartyName,
                              const std::string& callingPartyFullPai,
                              const std::string& newDestination, int reason) override {
        describe(events::callForwarded, lineId, callId, callingParty, callingPartyName,
                 callingPartyFullPai, newDestination, reason);
    }

    void onIncomingAssociatedCallEvent(const std::string& lineId, int currentCallId,
                                       int newCallId) override {
        describe(events::incomingAssociatedCall, lineId, currentCallId, newCallId);
    }

    void onDevicesChangedEvent() override { describe(events::devicesChanged); }

    void onMessageWaitingEvent(const std::string& lineId, int type, unsigned int newMessages,
                               unsigned int oldMessages, unsigned int newUrgentMessages,
                               unsigned int oldUrgentMessages, int returnType, int availInfo,
                               int messagesWaiting, const std::string& voiceMailNumber) override {
        describe(events::messageWaiting, lineId, type, newMessages, oldMessages, newUrgentMessages,
                 oldUrgentMessages, returnType, availInfo, messagesWaiting, voiceMailNumber);
    }

    void onDoNotDisturbEvent(const std::string& deviceId, bool doNotDisturbOn) override {
        describe(events::doNotDisturb, deviceId, doNotDisturbOn);
    }

    void onAgentStateEvent(const std::string& deviceId, const std::string& agentState) override {
        describe(events::agentState, deviceId, agentState);
    }

    void onSecurityStatusChanged(const std::string& lineURI, int callId, int securityStatus,
                                 std::vector<int>& callIdsRecorded,
                                 std::vector<std::string>& callLineURIsRecorded) override {
        describe(events::securityStatusChanged, lineURI, callId, securityStatus, callIdsRecorded,
                 callLineURIsRecorded);
    }

    void onCallRecordingStatusEvent(const std::string& lineId, int callId,
                                    const std::string& callRecorded) override {
        describe(events::callRecordingStatus, lineId, callId, callRecorded);
    }

    void onPreemptionStatusChanged(const std::string& lineURI, int callId, int priority, int cause,
                                   const std::string& reason) override {
        describe(events::preemptionStatusChanged, lineURI, callId, priority, cause, reason);
    }

    void onImpactLevelChanged(const std::string& lineURI, int callId, int ilCallLevel,
                              int ilLocalLevel) override {
        describe(events::impactLevelChanged, lineURI, callId, ilCallLevel, ilLocalLevel);
    }

    void onSystemStatusEvent(const std::string& status, const std::string& statusInfo) override {
        describe(events::systemStatus, status, statusInfo);
    }

    void onServerFeatureStatusEvent(const std::string& lineURI,
                                    const std::string& status) override {
        describe(events::serverFeatureStatus, lineURI, status);
    }

    void onB2buaCSTAResponse(const std::string& lineURI, bool success,
                             std::string& cstaResponse) override {
        describe(events::b2buaCSTAResponse, lineURI, success, cstaResponse);
    }

    void onB2buaCSTAEventOrRequest(const std::string& lineURI, std::string& cstaMessage) override {
        describe(events::b2buaCSTAEventOrRequest, lineURI, cstaMessage);
    }

    void onConferenceStatusEvent(const std::string& lineId, int callId,
                                 const std::string& xmlContent) override {
        describe(events::conferenceStatus, lineId, callId, xmlContent);
    }

    void onCallCompletionEvent(const std::string& lineId, const std::string& uri,
                               int callCompletionType, int callCompletionState,
                               bool displayOutcomeCallUI) override {
        describe(events::callCompletion, lineId, uri, callCompletionType, callCompletionState,
                 displayOutcomeCallUI);
    }

    void onCallCompletionFailedEvent(const std::string& lineId, const std::string& uri,
                                     int callCompletionFailureType) override {
        describe(events::callCompletionFailed, lineId, uri, callCompletionFailureType);
    }

    void onBluetoothAudioStatusChanged(const std::string& lineId, int callId, bool audioEnabled,
                                       bool audioGateway, bool inBandRinging) override {
        describe(events::bluetoothAudioStatusChanged, lineId, callId, audioEnabled, audioGateway,
                 inBandRinging);
    }

protected:
    /// Receives every callback, on the thread that called it.
    virtual void recorded(NamedCall call) = 0;

private:
    template <typename Value>
    static void add(std::vector<NamedValue>& arguments, std::string_view name, const Value& value) {
        arguments.push_back({std::string(name), toText(value)});
    }

    static void add(std::vector<NamedValue>& arguments, std::string_view name,
                    CallPartyInfo* info) {
        if (info == nullptr) {
            arguments.push_back({std::string(name), "null"});
            return;
        }
        const std::vector<std::string> texts = toTexts(info);
        for (std::size_t i = 0; i < texts.size(); ++i)
            arguments.push_back({kPartyFieldNames[i], texts[i]});
    }

    template <typename Callback, typename... Fields, typename... Values>
    void describe(const CommunicationsService::protocol::Event<Callback, Fields...>& event,
                  const Values&... values) {
        static_assert(sizeof...(Fields) == sizeof...(Values), "one value per field of the event");
        NamedCall call{std::string(event.name), {}};
        std::apply(
            [&](const auto&... fields) { (add(call.arguments, fields.argument, values), ...); },
            event.fields);
        recorded(std::move(call));
    }
};

} // namespace desktop
