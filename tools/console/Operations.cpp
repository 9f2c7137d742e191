#include "Operations.h"

#include <charconv>
#include <stdexcept>

namespace console {

namespace {

std::optional<int> parseInteger(const std::string& word) {
    int value = 0;
    const char* end = word.data() + word.size();
    const auto parsed = std::from_chars(word.data(), end, value);
    if (word.empty() || parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return value;
}

std::optional<bool> parseFlag(const std::string& word) {
    if (word == "1" || word == "true" || word == "yes" || word == "on") return true;
    if (word == "0" || word == "false" || word == "no" || word == "off") return false;
    return std::nullopt;
}

const char* const kStateNames[] = {"sfiServiceInService", "sfiServiceOutOfService",
                                   "sfiServiceDoNotDisturb"};

std::optional<sfiServiceState> parseServiceState(const std::string& word) {
    for (int value = 0; value < 3; ++value) {
        if (word == kStateNames[value] || word == std::to_string(value)) {
            return static_cast<sfiServiceState>(value);
        }
    }
    return std::nullopt;
}

const char* kindName(Kind kind) {
    switch (kind) {
    case Kind::Text:
        return "";
    case Kind::Integer:
        return ":int";
    case Kind::Flag:
        return ":flag";
    case Kind::ServiceState:
        return ":state";
    }
    return "";
}

std::string show(bool value) { return value ? "true" : "false"; }

Outcome code(int result) { return {resultName(result), {}}; }
Outcome truth(bool result) { return {show(result), {}}; }
Outcome sent() { return {"sent", {}}; }

constexpr Parameter kLine{"line", Kind::Text};
constexpr Parameter kCallId{"callId", Kind::Integer};

using A = const Arguments&;
using S = CommunicationsServiceIfc&;
using E = Executable&;

std::vector<Operation> makeOperations() {
    return {
        {"processSignallingComponentEvent",
         {{"data", Kind::Text}},
         [](S s, E, A a) {
             s.processSignallingComponentEvent(a.text(0).data(),
                                               static_cast<int>(a.text(0).size()));
             return sent();
         }},
        {"activate", {}, [](S s, E, A) { return code(s.activate()); }},
        {"deactivate",
         {{"allowAutoActivate", Kind::Flag}},
         [](S s, E, A a) { return code(s.deactivate(a.flag(0))); }},
        {"callClear",
         {kLine, kCallId, {"cause", Kind::Integer}},
         [](S s, E, A a) {
             return code(
                 s.callClear(a.text(0), a.integer(1), static_cast<CSTAEventCause>(a.integer(2))));
         }},
        {"outgoingCallMake",
         {kLine,
          kCallId,
          {"destination", Kind::Text},
          {"dssDirectCall", Kind::Flag},
          {"bridgeCall", Kind::Flag},
          {"callCompletionCall", Kind::Flag}},
         [](S s, E, A a) {
             return code(s.outgoingCallMake(a.text(0), a.integer(1), a.text(2).c_str(), a.flag(3),
                                            a.flag(4), a.flag(5)));
         }},
        {"acceptCall",
         {kLine, kCallId, {"autoAnswer", Kind::Flag}},
         [](S s, E, A a) { return code(s.acceptCall(a.text(0), a.integer(1), a.flag(2))); }},
        {"answerCall",
         {kLine, kCallId},
         [](S s, E, A a) { return code(s.answerCall(a.text(0), a.integer(1))); }},
        {"deflectCall",
         {kLine, kCallId, {"destination", Kind::Text}},
         [](S s, E, A a) {
             return code(s.deflectCall(a.text(0), a.integer(1), a.text(2).c_str()));
         }},
        {"holdCall",
         {kLine, kCallId, {"reason", Kind::Integer}, {"manual", Kind::Flag}},
         [](S s, E, A a) {
             return code(s.holdCall(a.text(0), a.integer(1), static_cast<sfiFeature>(a.integer(2)),
                                    a.flag(3)));
         }},
        {"retrieveCall",
         {kLine, kCallId},
         [](S s, E, A a) { return code(s.retrieveCall(a.text(0), a.integer(1))); }},
        {"attendedTransferCall",
         {kLine, {"activeCall", Kind::Integer}, {"heldCall", Kind::Integer}},
         [](S s, E, A a) {
             return code(s.attendedTransferCall(a.text(0), a.integer(1), a.integer(2)));
         }},
        {"blindTransferCall",
         {kLine, kCallId, {"destination", Kind::Text}},
         [](S s, E, A a) {
             return code(s.blindTransferCall(a.text(0), a.integer(1), a.text(2).c_str()));
         }},
        {"SendCSTARequest",
         {kLine, {"cstaRequest", Kind::Text}},
         [](S s, E, A a) { return code(s.SendCSTARequest(a.text(0), a.text(1))); }},
        {"sendUACSTAServerMessage",
         {kLine, {"serverMessage", Kind::Text}},
         [](S s, E, A a) {
             std::string line = a.text(0);
             std::string message = a.text(1);
             s.sendUACSTAServerMessage(line, message);
             return sent();
         }},
        {"InitializeOrFinalizeServerFeatures",
         {kLine, {"initialize", Kind::Flag}},
         [](S s, E, A a) {
             s.InitializeOrFinalizeServerFeatures(a.text(0), a.flag(1));
             return sent();
         }},
        {"activateCallbackRinging",
         {kLine, kCallId},
         [](S s, E, A a) { return code(s.activateCallbackRinging(a.text(0), a.integer(1))); }},
        {"activateCallbackBusy",
         {kLine, kCallId},
         [](S s, E, A a) { return code(s.activateCallbackBusy(a.text(0), a.integer(1))); }},
        {"cancelCallbacks",
         {kLine,
          kCallId,
          {"uri", Kind::Text},
          {"cancelCallBackType", Kind::Integer},
          {"displayOutcomeCallUI", Kind::Flag}},
         [](S s, E, A a) {
             return code(s.cancelCallbacks(a.text(0), a.integer(1), a.text(2),
                                           static_cast<sfiCancelCallBackType>(a.integer(3)),
                                           a.flag(4)));
         }},
        {"consultationCall",
         {kLine, kCallId, {"destination", Kind::Text}},
         [](S s, E, A a) {
             return code(s.consultationCall(a.text(0), a.integer(1), a.text(2).c_str()));
         }},
        {"refuseCall",
         {kLine, kCallId, {"reason", Kind::Integer}},
         [](S s, E, A a) {
             return code(
                 s.refuseCall(a.text(0), a.integer(1), static_cast<sfiRefuseCall>(a.integer(2))));
         }},
        {"subscribe", {}, [](S s, E subscriber, A) { return code(s.subscribe(&subscriber)); }},
        {"directedPickupCall",
         {kLine, kCallId, {"callToBePickedUp", Kind::Text}, {"blfPickup", Kind::Flag}},
         [](S s, E, A a) {
             return code(s.directedPickupCall(a.text(0), a.integer(1), a.text(2), a.flag(3)));
         }},
        {"groupPickupCall",
         {kLine, kCallId},
         [](S s, E, A a) { return code(s.groupPickupCall(a.text(0), a.integer(1))); }},
        {"setServiceState",
         {{"state", Kind::ServiceState}},
         [](S s, E, A a) { return code(s.setServiceState(a.serviceState(0))); }},
        {"getServiceState",
         {},
         [](S s, E, A) {
             sfiServiceState state = sfiServiceInService;
             const int result = s.getServiceState(state);
             return Outcome{resultName(result), {{"state", kStateNames[state]}}};
         }},
        {"setDoNotDisturb",
         {kLine, {"doNotDisturbOn", Kind::Flag}},
         [](S s, E, A a) { return code(s.setDoNotDisturb(a.text(0), a.flag(1))); }},
        {"getDoNotDisturb",
         {{"deviceId", Kind::Text}},
         [](S s, E, A a) {
             bool on = false;
             const int result = s.getDoNotDisturb(a.text(0), on);
             return Outcome{resultName(result), {{"doNotDisturbOn", show(on)}}};
         }},
        {"setAgentState",
         {kLine, {"agentState", Kind::Text}},
         [](S s, E, A a) { return code(s.setAgentState(a.text(0), a.text(1))); }},
        {"setMicrophoneMute",
         {{"status", Kind::Flag}},
         [](S s, E, A a) { return code(s.setMicrophoneMute(a.flag(0))); }},
        {"getMicrophoneMute",
         {},
         [](S s, E, A) {
             bool muted = false;
             const int result = s.getMicrophoneMute(muted);
             return Outcome{resultName(result), {{"muted", show(muted)}}};
         }},
        {"systemStatus",
         {{"systemStatus", Kind::Text}, {"systemStatusInfo", Kind::Text}},
         [](S s, E, A a) { return code(s.systemStatus(a.text(0).c_str(), a.text(1).c_str())); }},
        {"generateDigits",
         {kLine, {"activeCall", Kind::Integer}, {"digits", Kind::Text}},
         [](S s, E, A a) {
             return code(s.generateDigits(a.text(0), a.integer(1), a.text(2).c_str()));
         }},
        {"getDevices",
         {},
         [](S s, E, A) {
             std::vector<std::string> devices;
             const int result = s.getDevices(devices);
             std::string joined;
             for (const std::string& device : devices)
                 joined += (joined.empty() ? "" : ",") + device;
             return Outcome{resultName(result), {{"devices", joined}}};
         }},
        {"conferenceCall",
         {kLine,
          {"activeCall", Kind::Integer},
          {"heldCall", Kind::Integer},
          {"feature", Kind::Integer}},
         [](S s, E, A a) {
             return code(s.conferenceCall(a.text(0), a.integer(1), a.integer(2),
                                          static_cast<sfiFeature>(a.integer(3))));
         }},
        {"RemoveConfParticipant",
         {kCallId, {"remoteParticipant", Kind::Text}, {"conferenceMemberId", Kind::Text}},
         [](S s, E, A a) {
             s.RemoveConfParticipant(a.integer(0), a.text(1), a.text(2));
             return sent();
         }},
        {"getManualHoldIndication",
         {kLine, kCallId},
         [](S s, E, A a) { return truth(s.getManualHoldIndication(a.text(0), a.integer(1))); }},
        {"alternateCalls", {kLine}, [](S s, E, A a) { return code(s.alternateCalls(a.text(0))); }},
        {"getMessageWaitingIndicator",
         {},
         [](S s, E, A) {
             int type = 0, returnType = 0, availableInfo = 0, messagesWaiting = 0;
             unsigned int newMsgs = 0, oldMsgs = 0, newUrgent = 0, oldUrgent = 0;
             std::string voiceMailNumber;
             const int result = s.getMessageWaitingIndicator(type, newMsgs, oldMsgs, newUrgent,
                                                             oldUrgent, returnType, availableInfo,
                                                             messagesWaiting, voiceMailNumber);
             return Outcome{resultName(result),
                            {{"type", std::to_string(type)},
                             {"newMsgs", std::to_string(newMsgs)},
                             {"oldMsgs", std::to_string(oldMsgs)},
                             {"newUrgMsgs", std::to_string(newUrgent)},
                             {"oldUrgMsgs", std::to_string(oldUrgent)},
                             {"returnType", std::to_string(returnType)},
                             {"availableInfo", std::to_string(availableInfo)},
                             {"messagesWaiting", std::to_string(messagesWaiting)},
                             {"voiceMailNumber", voiceMailNumber}}};
         }},
        {"setAssociatedCalls",
         {{"associated", Kind::Flag}},
         [](S s, E, A a) { return code(s.setAssociatedCalls(a.flag(0))); }},
        {"setLampMode",
         {kLine, {"lampId", Kind::Text}, {"lampMode", Kind::Integer}},
         [](S s, E, A a) { return code(s.setLampMode(a.text(0), a.text(1), a.integer(2))); }},
        {"makeSecurityChangeReinvite",
         {kLine, kCallId, {"forceFlag", Kind::Flag}},
         [](S s, E, A a) {
             return code(s.makeSecurityChangeReinvite(a.text(0), a.integer(1), a.flag(2)));
         }},
        {"setIsInServiceInitiatedState",
         {kLine, {"isInServiceInitiatedState", Kind::Flag}},
         [](S s, E, A a) {
             s.setIsInServiceInitiatedState(a.text(0), a.flag(1));
             return sent();
         }},
        {"setForwardingConfiguration",
         {kLine,
          {"fwType", Kind::Integer},
          {"status", Kind::Flag},
          {"uri", Kind::Text},
          {"cfnrRingCount", Kind::Integer},
          {"forceTKVSUpdate", Kind::Flag}},
         [](S s, E, A a) {
             return code(s.setForwardingConfiguration(
                 a.text(0), static_cast<sfiForwardingType>(a.integer(1)), a.flag(2), a.text(3),
                 a.integer(4), a.flag(5)));
         }},
        {"getForwardingConfiguration",
         {{"fwType", Kind::Integer}},
         [](S s, E, A a) {
             bool status = false;
             std::string uri;
             int ringCount = 0;
             const int result = s.getForwardingConfiguration(
                 static_cast<sfiForwardingType>(a.integer(0)), status, uri, ringCount);
             return Outcome{resultName(result),
                            {{"status", show(status)},
                             {"uri", uri},
                             {"cfnrRingCount", std::to_string(ringCount)}}};
         }},
        {"callbackDOFeatureCallID",
         {{"callId", Kind::Text}, {"instanceId", Kind::Integer}},
         [](S s, E, A a) {
             s.callbackDOFeatureCallID(a.text(0), a.integer(1));
             return sent();
         }},
        {"isCallHoldPossible",
         {kLine},
         [](S s, E, A a) { return truth(s.isCallHoldPossible(a.text(0))); }},
        {"csCommunicationsService",
         {{"name", Kind::Text}},
         [](S s, E, A a) {
             return Outcome{"text", {{"value", s.csCommunicationsService(a.text(0).c_str())}}};
         }},
        {"activateStoredFwd",
         {},
         [](S s, E, A) {
             s.activateStoredFwd();
             return Outcome{"done", {}};
         }},
    };
}

} // namespace

int Arguments::integer(std::size_t index) const { return parseInteger(words.at(index)).value(); }

bool Arguments::flag(std::size_t index) const { return parseFlag(words.at(index)).value(); }

sfiServiceState Arguments::serviceState(std::size_t index) const {
    return parseServiceState(words.at(index)).value();
}

const std::vector<Operation>& operations() {
    static const std::vector<Operation> table = makeOperations();
    return table;
}

const Operation* findOperation(const std::string& name) {
    for (const Operation& operation : operations()) {
        if (name == operation.name) return &operation;
    }
    return nullptr;
}

std::string usage(const Operation& operation) {
    std::string text = operation.name;
    for (const Parameter& parameter : operation.parameters) {
        text += std::string(" <") + parameter.name + kindName(parameter.kind) + ">";
    }
    return text;
}

Arguments bindArguments(const Operation& operation, const std::vector<std::string>& words) {
    const std::size_t expected = operation.parameters.size();
    if (words.size() != expected) {
        throw std::invalid_argument(std::string(operation.name) + " takes " +
                                    std::to_string(expected) + " argument" +
                                    (expected == 1 ? "" : "s") + ", not " +
                                    std::to_string(words.size()) + ": " + usage(operation));
    }
    for (std::size_t i = 0; i < expected; ++i) {
        const Parameter& parameter = operation.parameters[i];
        const std::string& word = words[i];
        const char* problem = nullptr;
        if (parameter.kind == Kind::Integer && !parseInteger(word)) {
            problem = "a whole number";
        } else if (parameter.kind == Kind::Flag && !parseFlag(word)) {
            problem = "a flag (1/0, true/false, yes/no, on/off)";
        } else if (parameter.kind == Kind::ServiceState && !parseServiceState(word)) {
            problem = "a service state (sfiServiceInService, sfiServiceOutOfService, "
                      "sfiServiceDoNotDisturb or 0 to 2)";
        }
        if (problem != nullptr) {
            throw std::invalid_argument(std::string(operation.name) + ": <" + parameter.name +
                                        "> must be " + problem + ", not '" + word +
                                        "': " + usage(operation));
        }
    }
    return Arguments(words);
}

std::string resultName(int code) {
    switch (code) {
    case sfiSuccess:
        return "sfiSuccess";
    case sfiFailure:
        return "sfiFailure";
    case sfiFailureCallBackInvalidState:
        return "sfiFailureCallBackInvalidState";
    case sfiFailureCallBackNoCallInfo:
        return "sfiFailureCallBackNoCallInfo";
    case sfiFailureCallBackToMany:
        return "sfiFailureCallBackToMany";
    case sfiFailureCallBackAllreadyExists:
        return "sfiFailureCallBackAllreadyExists";
    }
    return std::to_string(code);
}

} // namespace console
