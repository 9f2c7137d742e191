// Requests that switch features and settings: call-backs, microphone, do-not-disturb,
// forwarding, lamps, security, system and agent state.

#include <algorithm>

#include "Messages.h"
#include "PhoneService.h"
#include "PhoneServiceParts.h"

namespace simulator {

using namespace parts;

std::optional<std::string> PhoneService::activateCallback(const ParsedRequest& request,
                                                          CallState needed, int type) {
    const std::string& line = request.text(tagOf<0>(requests::activateCallbackRinging));
    Call* call = findCall(line, request.number(tagOf<1>(requests::activateCallbackRinging)));
    auto refuseCallback = [&](int result, int failure, const std::string& uri,
                              const std::string& why) {
        lastRefusal = why;
        events.publish(writeEvent(protocol::events::callCompletionFailed, line, uri, failure));
        return std::optional<std::string>(protocol::resultWord(result));
    };
    if (call == nullptr) {
        return refuseCallback(
            sfiFailureCallBackNoCallInfo, 2, "",
            missingCall(line, request.number(tagOf<1>(requests::activateCallbackRinging))));
    }
    const Party callee = call->remote;
    if (call->state != needed) {
        return refuseCallback(
            sfiFailureCallBackInvalidState, 1, callee.uri,
            notInState(*call, std::string(desktop::simulator::callStateName(needed))));
    }
    const bool exists = std::any_of(callbacks.begin(), callbacks.end(), [&](const Callback& c) {
        return c.callee.number == callee.number;
    });
    if (exists) {
        return refuseCallback(sfiFailureCallBackAllreadyExists, 4, callee.uri,
                              "a call-back to " + callee.number + " already exists");
    }
    if (callbacks.size() >= kMaxCallbacks) {
        return refuseCallback(sfiFailureCallBackToMany, 3, callee.uri,
                              "the service holds at most " + std::to_string(kMaxCallbacks) +
                                  " call-backs");
    }
    callbacks.push_back({line, callee, type});
    events.publish(writeEvent(protocol::events::callCompletion, line, callee.uri, type,
                              kCallbackActivated, true));
    clear(call->id, Cause::normalClearing);
    return kSuccess;
}

std::optional<std::string> PhoneService::callbackRinging(const ParsedRequest& request) {
    return activateCallback(request, CallState::ringingBack, kCallbackNoReply);
}

std::optional<std::string> PhoneService::callbackBusy(const ParsedRequest& request) {
    return activateCallback(request, CallState::busy, kCallbackBusy);
}

std::optional<std::string> PhoneService::cancelCallbacks(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::cancelCallbacks));
    const bool all = request.number(tagOf<3>(requests::cancelCallbacks)) == 0;
    const std::string number = partyFor(request.text(tagOf<2>(requests::cancelCallbacks))).number;
    const bool display = request.flag(tagOf<4>(requests::cancelCallbacks));
    bool cancelled = false;
    for (auto callback = callbacks.begin(); callback != callbacks.end();) {
        if (callback->line != line || (!all && callback->callee.number != number)) {
            ++callback;
            continue;
        }
        events.publish(writeEvent(protocol::events::callCompletion, line, callback->callee.uri,
                                  callback->type, kCallbackCancelled, display));
        callback = callbacks.erase(callback);
        cancelled = true;
    }
    if (!cancelled) return refuse("no call-back on line " + line + " to cancel");
    return kSuccess;
}

std::optional<std::string> PhoneService::setMute(const ParsedRequest& request) {
    microphoneMuted = request.flag(tagOf<0>(requests::setMicrophoneMute));
    return kSuccess;
}

std::optional<std::string> PhoneService::setDoNotDisturb(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::setDoNotDisturb));
    if (!knownLine(line)) return refuse(lineProblem(line));
    lines[line].doNotDisturb = request.flag(tagOf<1>(requests::setDoNotDisturb));
    events.publish(writeEvent(protocol::events::doNotDisturb, line, lines[line].doNotDisturb));
    return kSuccess;
}

std::optional<std::string> PhoneService::setForwarding(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::setForwardingConfiguration));
    const bool status = request.flag(tagOf<2>(requests::setForwardingConfiguration));
    const std::string& uri = request.text(tagOf<3>(requests::setForwardingConfiguration));
    const int ringCount = request.number(tagOf<4>(requests::setForwardingConfiguration));
    std::string problem;
    if (!knownLine(line)) {
        problem = lineProblem(line);
    } else if (forwarding[line].count(
                   request.number(tagOf<1>(requests::setForwardingConfiguration))) == 0) {
        problem = "forwarding type " +
                  std::to_string(request.number(tagOf<1>(requests::setForwardingConfiguration))) +
                  " does not exist (0 unconditional, 1 busy, 2 no reply)";
    } else if (status && uri.empty()) {
        problem = "forwarding switched on without a destination";
    } else if (ringCount < 0) {
        problem = "the ring count " + std::to_string(ringCount) + " is negative";
    }
    if (!problem.empty()) {
        publishFeatureFailure(line, 0, Feature::forwarding, FeatureFailure::invalidState);
        return refuse(problem);
    }
    auto type =
        forwarding[line].find(request.number(tagOf<1>(requests::setForwardingConfiguration)));
    type->second = {status, uri, ringCount};
    publishFeature(line, 0, Feature::forwarding);
    return kSuccess;
}

std::optional<std::string> PhoneService::setAssociatedCalls(const ParsedRequest& request) {
    associatedCalls = request.flag(tagOf<0>(requests::setAssociatedCalls));
    return kSuccess;
}

std::optional<std::string> PhoneService::setLampMode(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::setLampMode));
    const std::string& lamp = request.text(tagOf<1>(requests::setLampMode));
    const int mode = request.number(tagOf<2>(requests::setLampMode));
    if (!knownLine(line)) return refuse(lineProblem(line));
    if (lamp.empty()) return refuse("the request names no lamp");
    if (desktop::simulator::lampModeName(mode).empty())
        return refuse("lamp mode " + std::to_string(mode) + " names no lamp mode");
    const std::string key = line + "/" + lamp;
    if (auto full = tableProblem("the lamp", lampModes.size(), lampModes.count(key) > 0, lamp))
        return refuse(*full);
    lampModes[key] = mode;
    return kSuccess;
}

std::optional<std::string> PhoneService::securityReinvite(const ParsedRequest& request) {
    Call* call = requestedCall(request);
    if (call == nullptr) return kFailure;
    if (!isActive(call->state)) return refuse(notInState(*call, "active"));
    std::vector<int> recordedIds;
    std::vector<std::string> recordedLines;
    for (const auto& [id, other] : calls) {
        if (other.recorded) {
            recordedIds.push_back(id);
            recordedLines.push_back(linePartyFor(other.line).uri);
        }
    }
    // Security status 2: the call is now secured end to end.
    events.publish(writeEvent(protocol::events::securityStatusChanged, call->line, call->id, 2,
                              recordedIds, recordedLines));
    return kSuccess;
}

std::optional<std::string> PhoneService::setInServiceInitiated(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::setIsInServiceInitiatedState));
    if (auto full = tableProblem("the in-service", inServiceInitiated.size(),
                                 inServiceInitiated.count(line) > 0, line)) {
        refuse(*full);
        return std::nullopt;
    }
    inServiceInitiated[line] = request.flag(tagOf<1>(requests::setIsInServiceInitiatedState));
    return std::nullopt;
}

std::optional<std::string> PhoneService::systemStatus(const ParsedRequest& request) {
    const std::string& status = request.text(tagOf<0>(requests::systemStatus));
    if (status.empty()) return refuse("the request names no system status");
    systemState = status;
    events.publish(writeEvent(protocol::events::systemStatus, status,
                              request.text(tagOf<1>(requests::systemStatus))));
    return kSuccess;
}

std::optional<std::string> PhoneService::setServiceState(const ParsedRequest& request) {
    serviceState = request.text(tagOf<0>(requests::setServiceState));
    return kSuccess;
}

std::optional<std::string> PhoneService::setAgentState(const ParsedRequest& request) {
    static const std::vector<std::string> states = {"loggedOn", "loggedOff", "ready", "notReady",
                                                    "workingAfterCall"};
    const std::string& line = request.text(tagOf<0>(requests::setAgentState));
    const std::string& state = request.text(tagOf<1>(requests::setAgentState));
    if (!knownLine(line)) return refuse(lineProblem(line));
    if (std::find(states.begin(), states.end(), state) == states.end()) {
        return refuse("'" + state + "' is not an agent state (" + joinFrom(states, 0) + ")");
    }
    lines[line].agentState = state;
    events.publish(writeEvent(protocol::events::agentState, line, state));
    return kSuccess;
}

} // namespace simulator
