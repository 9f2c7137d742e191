#include "EventRecorder.h"

#include <utility>

namespace console {

namespace {

std::string show(bool value) { return value ? "true" : "false"; }
std::string show(int value) { return std::to_string(value); }
std::string show(unsigned int value) { return std::to_string(value); }
std::string show(const std::string& value) { return value; }

template <typename Item> std::string show(const std::vector<Item>& items) {
    std::string joined;
    for (const Item& item : items)
        joined += (joined.empty() ? "" : ",") + show(item);
    return joined;
}

// Builds one record from name-value pairs in argument order.
class Record {
public:
    explicit Record(const char* callback) { event.callback = callback; }
    template <typename Value> Record& operator()(const char* name, const Value& value) {
        event.arguments.push_back({name, show(value)});
        return *this;
    }
    RecordedEvent event;
};

} // namespace

std::optional<std::string> RecordedEvent::argument(const std::string& name) const {
    for (const NamedValue& entry : arguments) {
        if (entry.name == name) return entry.value;
    }
    return std::nullopt;
}

std::string displayValue(const std::string& value) {
    if (!value.empty() && value.find_first_of(" \t\n\"") == std::string::npos) return value;
    std::string quoted = "\"";
    for (const char byte : value) {
        if (byte == '"' || byte == '\\') quoted.push_back('\\');
        if (byte == '\n') {
            quoted += "\\n";
        } else {
            quoted.push_back(byte);
        }
    }
    return quoted + "\"";
}

std::string RecordedEvent::describe() const {
    std::string text = callback;
    for (const NamedValue& entry : arguments)
        text += " " + entry.name + "=" + displayValue(entry.value);
    return text;
}

void EventRecorder::onCallStateChangeEvent(const std::string& lineId, int callId, int callState,
                                           int reason, int sendOptions, const std::string& uri,
                                           const std::string& name, const std::string& fullPai,
                                           CallPartyInfo* callPartyInfo, int resourcePriority,
                                           int preemptionCause, const std::string& preemptionText,
                                           bool callBackFeatureAvailable, int ilCallLevel,
                                           int ilLocalLevel) {
    const CallPartyInfo empty{};
    const CallPartyInfo& parties = callPartyInfo != nullptr ? *callPartyInfo : empty;
    sink(
        Record("onCallStateChangeEvent")("lineId", lineId)("callId", callId)(
            "callState", callState)("reason", reason)("sendOptions", sendOptions)("uri", uri)(
            "name", name)("fullPai", fullPai)("callingParty", std::string(parties.callingParty))(
            "callingPartyName", std::string(parties.callingPartyName))(
            "calledParty", std::string(parties.calledParty))("calledPartyName",
                                                             std::string(parties.calledPartyName))(
            "resourcePriority", resourcePriority)("preemptionCause", preemptionCause)(
            "preemptionText", preemptionText)("callBackFeatureAvailable", callBackFeatureAvailable)(
            "ilCallLevel", ilCallLevel)("ilLocalLevel", ilLocalLevel)
            .event);
}

void EventRecorder::onRegistrationStateChangeEvent(const std::string& lineId, int callId,
                                                   bool registered, int registrationResult) {
    sink(Record("onRegistrationStateChangeEvent")("lineId", lineId)("callId", callId)(
             "registered", registered)("registrationResult", registrationResult)
             .event);
}

void EventRecorder::onIncomingCallEvent(const std::string& lineId, int callId,
                                        const std::string& uri, const std::string& name,
                                        const std::string& fullPai, const std::string& alertUri,
                                        const std::string& alertInfoParam, bool alertAutoAnswer,
                                        int callType, const std::string& diversionUri,
                                        const std::string& diversionName, int diversionReason,
                                        bool zipAutoAnswer, int resourcePriority, int ilCallLevel,
                                        int ilLocalLevel, bool isVideoCall) {
    sink(
        Record("onIncomingCallEvent")("lineId", lineId)("callId", callId)("uri", uri)("name", name)(
            "fullPai", fullPai)("alertUri", alertUri)("alertInfoParam", alertInfoParam)(
            "alertAutoAnswer", alertAutoAnswer)("callType", callType)("diversionUri", diversionUri)(
            "diversionName", diversionName)("diversionReason", diversionReason)(
            "zipAutoAnswer", zipAutoAnswer)("resourcePriority", resourcePriority)(
            "ilCallLevel", ilCallLevel)("ilLocalLevel", ilLocalLevel)("isVideoCall", isVideoCall)
            .event);
}

void EventRecorder::onIncomingPickupCallEvent(const std::string& lineId, int callId,
                                              const std::string& uri, const std::string& name,
                                              const std::string& fullPai) {
    sink(Record("onIncomingPickupCallEvent")("lineId", lineId)("callId", callId)("uri", uri)(
             "name", name)("fullPai", fullPai)
             .event);
}

void EventRecorder::onCallHeldEvent(const std::string& lineId, int callId) {
    sink(Record("onCallHeldEvent")("lineId", lineId)("callId", callId).event);
}

void EventRecorder::onCallRetrievedEvent(const std::string& lineId, int callId,
                                         const std::string& uri, const std::string& name,
                                         const std::string& fullPai, int ilCallLevel,
                                         int ilLocalLevel, bool connectedToMediaServer) {
    sink(Record("onCallRetrievedEvent")("lineId", lineId)("callId", callId)("uri", uri)(
             "name", name)("fullPai", fullPai)("ilCallLevel", ilCallLevel)(
             "ilLocalLevel", ilLocalLevel)("connectedToMediaServer", connectedToMediaServer)
             .event);
}

void EventRecorder::onFeatureSuccessEvent(const std::string& lineId, int callId, int feature) {
    sink(Record("onFeatureSuccessEvent")("lineId", lineId)("callId", callId)("feature", feature)
             .event);
}

void EventRecorder::onFeatureFailedEvent(const std::string& lineId, int callId, int feature,
                                         int featureFailure) {
    sink(Record("onFeatureFailedEvent")("lineId", lineId)("callId", callId)("feature", feature)(
             "featureFailure", featureFailure)
             .event);
}

void EventRecorder::onRemoteEndpointDetailsChangedEvent(const std::string& lineId, int callId,
                                                        const std::string& uri,
                                                        const std::string& name,
                                                        const std::string& fullPai, bool exitConf,
                                                        bool jointCall) {
    sink(Record("onRemoteEndpointDetailsChangedEvent")("lineId", lineId)("callId", callId)(
             "uri", uri)("name", name)("fullPai", fullPai)("exitConf", exitConf)("jointCall",
                                                                                 jointCall)
             .event);
}

void EventRecorder::onIncomingCallMissedEvent(const std::string& lineId, int callId,
                                              const std::string& uri, const std::string& name,
                                              const std::string& fullPai, int reason,
                                              const std::string& diversionUri,
                                              const std::string& diversionName,
                                              int diversionReason) {
    sink(Record("onIncomingCallMissedEvent")("lineId", lineId)("callId", callId)("uri", uri)(
             "name", name)("fullPai", fullPai)("reason", reason)("diversionUri", diversionUri)(
             "diversionName", diversionName)("diversionReason", diversionReason)
             .event);
}

void EventRecorder::onCallForwardedEvent(const std::string& lineId, int callId,
                                         const std::string& callingParty,
                                         const std::string& callingPartyName,
                                         const std::string& callingPartyFullPai,
                                         const std::string& newDestination, int reason) {
    sink(Record("onCallForwardedEvent")("lineId", lineId)("callId", callId)(
             "callingParty", callingParty)("callingPartyName", callingPartyName)(
             "callingPartyFullPai", callingPartyFullPai)("newDestination", newDestination)("reason",
                                                                                           reason)
             .event);
}

void EventRecorder::onIncomingAssociatedCallEvent(const std::string& lineId, int currentCallId,
                                                  int newCallId) {
    sink(Record("onIncomingAssociatedCallEvent")("lineId", lineId)("currentCallId", currentCallId)(
             "newCallId", newCallId)
             .event);
}

void EventRecorder::onDevicesChangedEvent() { sink(Record("onDevicesChangedEvent").event); }

void EventRecorder::onMessageWaitingEvent(const std::string& lineId, int type,
                                          unsigned int newMessages, unsigned int oldMessages,
                                          unsigned int newUrgentMessages,
                                          unsigned int oldUrgentMessages, int returnType,
                                          int availInfo, int messagesWaiting,
                                          const std::string& voiceMailNumber) {
    sink(Record("onMessageWaitingEvent")("lineId", lineId)("type", type)(
             "newMessages", newMessages)("oldMessages", oldMessages)(
             "newUrgentMessages", newUrgentMessages)("oldUrgentMessages", oldUrgentMessages)(
             "returnType", returnType)("availInfo", availInfo)("messagesWaiting", messagesWaiting)(
             "voiceMailNumber", voiceMailNumber)
             .event);
}

void EventRecorder::onDoNotDisturbEvent(const std::string& deviceId, bool doNotDisturbOn) {
    sink(Record("onDoNotDisturbEvent")("deviceId", deviceId)("doNotDisturbOn", doNotDisturbOn)
             .event);
}

void EventRecorder::onAgentStateEvent(const std::string& deviceId, const std::string& agentState) {
    sink(Record("onAgentStateEvent")("deviceId", deviceId)("agentState", agentState).event);
}

void EventRecorder::onSecurityStatusChanged(const std::string& lineURI, int callId,
                                            int securityStatus, std::vector<int>& callIdsRecorded,
                                            std::vector<std::string>& callLineURIsRecorded) {
    sink(Record("onSecurityStatusChanged")("lineURI", lineURI)("callId", callId)("securityStatus",
                                                                                 securityStatus)(
             "callIdsRecorded", callIdsRecorded)("callLineURIsRecorded", callLineURIsRecorded)
             .event);
}

void EventRecorder::onCallRecordingStatusEvent(const std::string& lineId, int callId,
                                               const std::string& callRecorded) {
    sink(Record("onCallRecordingStatusEvent")("lineId", lineId)("callId", callId)("callRecorded",
                                                                                  callRecorded)
             .event);
}

void EventRecorder::onPreemptionStatusChanged(const std::string& lineURI, int callId, int priority,
                                              int cause, const std::string& reason) {
    sink(Record("onPreemptionStatusChanged")("lineURI", lineURI)("callId", callId)(
             "priority", priority)("cause", cause)("reason", reason)
             .event);
}

void EventRecorder::onImpactLevelChanged(const std::string& lineURI, int callId, int ilCallLevel,
                                         int ilLocalLevel) {
    sink(Record("onImpactLevelChanged")("lineURI", lineURI)("callId", callId)(
             "ilCallLevel", ilCallLevel)("ilLocalLevel", ilLocalLevel)
             .event);
}

void EventRecorder::onSystemStatusEvent(const std::string& status, const std::string& statusInfo) {
    sink(Record("onSystemStatusEvent")("status", status)("statusInfo", statusInfo).event);
}

void EventRecorder::onServerFeatureStatusEvent(const std::string& lineURI,
                                               const std::string& status) {
    sink(Record("onServerFeatureStatusEvent")("lineURI", lineURI)("status", status).event);
}

void EventRecorder::onB2buaCSTAResponse(const std::string& lineURI, bool success,
                                        std::string& cstaResponse) {
    sink(Record("onB2buaCSTAResponse")("lineURI", lineURI)("success", success)("cstaResponse",
                                                                               cstaResponse)
             .event);
}

void EventRecorder::onB2buaCSTAEventOrRequest(const std::string& lineURI,
                                              std::string& cstaMessage) {
    sink(Record("onB2buaCSTAEventOrRequest")("lineURI", lineURI)("cstaMessage", cstaMessage).event);
}

void EventRecorder::onConferenceStatusEvent(const std::string& lineId, int callId,
                                            const std::string& xmlContent) {
    sink(Record("onConferenceStatusEvent")("lineId", lineId)("callId", callId)("xmlContent",
                                                                               xmlContent)
             .event);
}

void EventRecorder::onCallCompletionEvent(const std::string& lineId, const std::string& uri,
                                          int callCompletionType, int callCompletionState,
                                          bool displayOutcomeCallUI) {
    sink(Record("onCallCompletionEvent")("lineId", lineId)("uri", uri)(
             "callCompletionType", callCompletionType)("callCompletionState", callCompletionState)(
             "displayOutcomeCallUI", displayOutcomeCallUI)
             .event);
}

void EventRecorder::onCallCompletionFailedEvent(const std::string& lineId, const std::string& uri,
                                                int callCompletionFailureType) {
    sink(Record("onCallCompletionFailedEvent")("lineId", lineId)("uri", uri)(
             "callCompletionFailureType", callCompletionFailureType)
             .event);
}

void EventRecorder::onBluetoothAudioStatusChanged(const std::string& lineId, int callId,
                                                  bool audioEnabled, bool audioGateway,
                                                  bool inBandRinging) {
    sink(Record("onBluetoothAudioStatusChanged")("lineId", lineId)("callId", callId)(
             "audioEnabled", audioEnabled)("audioGateway", audioGateway)("inBandRinging",
                                                                         inBandRinging)
             .event);
}

void EventLog::add(const RecordedEvent& event) {
    {
        std::lock_guard<std::mutex> lock(mutex);
        events.push_back(event);
        taken.push_back(false);
    }
    arrived.notify_all();
}

std::optional<RecordedEvent> EventLog::await(const std::string& callback,
                                             const std::vector<NamedValue>& expected,
                                             std::chrono::milliseconds timeout) {
    auto matches = [&](const RecordedEvent& event) {
        if (event.callback != callback) return false;
        for (const NamedValue& wanted : expected) {
            if (event.argument(wanted.name) != wanted.value) return false;
        }
        return true;
    };
    std::unique_lock<std::mutex> lock(mutex);
    std::size_t found = events.size();
    auto search = [&] {
        for (std::size_t i = 0; i < events.size(); ++i) {
            if (!taken[i] && matches(events[i])) {
                found = i;
                return true;
            }
        }
        return false;
    };
    if (!arrived.wait_for(lock, timeout, search)) return std::nullopt;
    taken[found] = true;
    return events[found];
}

std::vector<RecordedEvent> EventLog::all() const {
    std::lock_guard<std::mutex> lock(mutex);
    return events;
}

} // namespace console
