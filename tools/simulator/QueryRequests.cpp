// Queries that read the settings back, and the pass-through requests (CSTA, server
// features, signalling) that the service only acknowledges or echoes.

#include "Messages.h"
#include "PhoneService.h"
#include "PhoneServiceParts.h"

namespace simulator {

using namespace parts;

std::optional<std::string> PhoneService::getMute(const ParsedRequest&) {
    return flagAnswer(microphoneMuted);
}

std::optional<std::string> PhoneService::getDoNotDisturb(const ParsedRequest& request) {
    const std::string& device = request.text(tagOf<0>(requests::getDoNotDisturb));
    if (!knownLine(device)) return refuse(lineProblem(device));
    return flagAnswer(lines[device].doNotDisturb);
}

std::optional<std::string> PhoneService::getForwarding(const ParsedRequest& request) {
    // The query names no line; it answers for the phone's first line.
    const std::string line = settings.lines.empty() ? std::string() : settings.lines.front();
    auto type =
        forwarding[line].find(request.number(tagOf<0>(requests::getForwardingConfiguration)));
    if (type == forwarding[line].end()) {
        refuse("forwarding type " +
               std::to_string(request.number(tagOf<0>(requests::getForwardingConfiguration))) +
               " does not exist (0 unconditional, 1 busy, 2 no reply)");
        return writeAnswer(protocol::requests::getForwardingConfiguration.answer, kFailure);
    }
    return writeAnswer(protocol::requests::getForwardingConfiguration.answer, kSuccess,
                       type->second.status, type->second.uri, type->second.ringCount);
}

std::optional<std::string> PhoneService::getServiceState(const ParsedRequest&) {
    return serviceState;
}

std::optional<std::string> PhoneService::getMessageWaiting(const ParsedRequest&) {
    const MessageWaiting& mwi = messageWaiting;
    return writeAnswer(protocol::requests::getMessageWaitingIndicator.answer, kSuccess, 1,
                       mwi.newMessages, mwi.oldMessages, mwi.newUrgent, mwi.oldUrgent, 0, 1,
                       mwi.newMessages + mwi.newUrgent > 0, kVoiceMailNumber);
}

std::optional<std::string> PhoneService::getDevices(const ParsedRequest&) {
    std::string list;
    for (const std::string& device : devices)
        list += "<" + device + ">";
    return list;
}

std::optional<std::string> PhoneService::isCallHoldPossible(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::isCallHoldPossible));
    const bool possible = std::any_of(calls.begin(), calls.end(), [&](const auto& entry) {
        return entry.second.line == line && entry.second.state == CallState::connected;
    });
    return flagAnswer(possible);
}

std::optional<std::string> PhoneService::getManualHold(const ParsedRequest& request) {
    Call* call = requestedCall(request);
    return flagAnswer(call != nullptr && call->state == CallState::held && call->manualHold);
}

// Answers a CSTA document with the response named after its root element, or with a
// CSTA error when the document has none.
std::optional<std::string> PhoneService::cstaRequest(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::SendCSTARequest));
    if (!knownLine(line)) return refuse(lineProblem(line));
    const std::string& document = request.payload;
    std::size_t open = 0;
    while ((open = document.find('<', open)) != std::string::npos &&
           (document.compare(open, 2, "<?") == 0 || document.compare(open, 2, "<!") == 0)) {
        ++open;
    }
    std::string root;
    if (open != std::string::npos) {
        const std::size_t end = document.find_first_of(" />\t\r\n", open + 1);
        if (end != std::string::npos) root = document.substr(open + 1, end - open - 1);
    }
    const std::string ns =
        "xmlns=\"http://www.ecma-international.org/standards/ecma-323/csta/ed4\"";
    std::string response;
    if (root.empty()) {
        response = "<CSTAErrorCode " + ns +
                   "><operation>invalidParameterValue</operation></CSTAErrorCode>";
    } else {
        response = "<" + root + "Response " + ns + "/>";
    }
    events.publish(writeEvent(protocol::events::b2buaCSTAResponse, line, !root.empty(), response));
    return kSuccess;
}

std::optional<std::string> PhoneService::serverFeatures(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::InitializeOrFinalizeServerFeatures));
    if (!knownLine(line)) return refuse(lineProblem(line));
    events.publish(writeEvent(protocol::events::serverFeatureStatus, line,
                              request.flag(tagOf<1>(requests::InitializeOrFinalizeServerFeatures))
                                  ? "initialized"
                                  : "finalized"));
    return kSuccess;
}

std::optional<std::string> PhoneService::callbackFeatureCallId(const ParsedRequest& request) {
    const std::string& callId = request.text(tagOf<0>(requests::callbackDOFeatureCallID));
    if (auto full = tableProblem("the feature call", featureCallIds.size(),
                                 featureCallIds.count(callId) > 0, callId))
        return refuse(*full);
    featureCallIds[callId] = request.number(tagOf<1>(requests::callbackDOFeatureCallID));
    return kSuccess;
}

std::optional<std::string> PhoneService::signalling(const ParsedRequest&) { return kSuccess; }

} // namespace simulator
