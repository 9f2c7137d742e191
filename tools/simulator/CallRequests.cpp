// Requests that make, answer, move and join calls.

#include <algorithm>

#include "Messages.h"
#include "PhoneService.h"
#include "PhoneServiceParts.h"

namespace simulator {

using namespace parts;

std::optional<std::string> PhoneService::makeCall(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::outgoingCallMake));
    const std::string& destination = request.text(tagOf<2>(requests::outgoingCallMake));
    if (!knownLine(line)) return refuse(lineProblem(line));
    if (!lines[line].registered) {
        return refuse("line " + line + " is not registered (send Activate first)");
    }
    if (destination.empty()) return refuse("the request names no destination");
    for (auto& [id, other] : calls) {
        if (other.line == line && other.state == CallState::connected) hold(other, false);
    }
    dial(line, allocateCallId(request.number(tagOf<1>(requests::outgoingCallMake))),
         partyFor(destination));
    return kSuccess;
}

std::optional<std::string> PhoneService::acceptCall(const ParsedRequest& request) {
    Call* call = requestedCall(request);
    if (call == nullptr) return kFailure;
    if (call->state != CallState::ringing) return refuse(notInState(*call, "ringing"));
    if (request.flag(tagOf<2>(requests::acceptCall)))
        setState(*call, CallState::connected, Cause::none);
    return kSuccess;
}

std::optional<std::string> PhoneService::answerCall(const ParsedRequest& request) {
    Call* call = requestedCall(request);
    if (call == nullptr) return kFailure;
    if (call->state != CallState::ringing) return refuse(notInState(*call, "ringing"));
    for (auto& [id, other] : calls) {
        if (id != call->id && other.line == call->line && other.state == CallState::connected) {
            hold(other, false);
        }
    }
    setState(*call, CallState::connected, Cause::none);
    return kSuccess;
}

std::optional<std::string> PhoneService::deflectCall(const ParsedRequest& request) {
    Call* call = requestedCall(request);
    const std::string& destination = request.text(tagOf<2>(requests::deflectCall));
    if (call == nullptr) return kFailure;
    if (call->state != CallState::ringing) return refuse(notInState(*call, "ringing"));
    if (destination.empty()) return refuse("the request names no destination");
    events.publish(writeEvent(protocol::events::callForwarded, call->line, call->id,
                              call->remote.uri, call->remote.name, call->remote.fullPai(),
                              partyFor(destination).uri, Cause::callForward));
    clear(call->id, Cause::callForward);
    return kSuccess;
}

std::optional<std::string> PhoneService::holdCall(const ParsedRequest& request) {
    Call* call = requestedCall(request);
    if (call == nullptr) return kFailure;
    if (auto refusal = refusalOutsideState(*call, CallState::connected, Feature::hold))
        return refusal;
    hold(*call, request.flag(tagOf<3>(requests::holdCall)));
    return kSuccess;
}

std::optional<std::string> PhoneService::retrieveCall(const ParsedRequest& request) {
    Call* call = requestedCall(request);
    if (call == nullptr) return kFailure;
    if (auto refusal = refusalOutsideState(*call, CallState::held, Feature::retrieve))
        return refusal;
    retrieve(*call);
    return kSuccess;
}

std::optional<std::string> PhoneService::clearCall(const ParsedRequest& request) {
    Call* call = requestedCall(request);
    if (call == nullptr) return kFailure;
    clear(call->id, static_cast<Cause>(request.number(tagOf<2>(requests::callClear))));
    return kSuccess;
}

std::optional<std::string>
PhoneService::refusalToMoveOn(const Call* call, const std::string& destination, Feature feature) {
    if (call == nullptr) return kFailure;
    if (destination.empty()) return refuse("the request names no destination");
    if (call->state != CallState::connected && call->state != CallState::held) {
        publishFeatureFailure(call->line, call->id, feature, FeatureFailure::invalidState);
        return refuse(notInState(*call, "connected or held"));
    }
    return std::nullopt;
}

std::optional<std::string> PhoneService::refusalOutsideState(const Call& call, CallState state,
                                                             Feature feature) {
    if (call.state == state) return std::nullopt;
    publishFeatureFailure(call.line, call.id, feature, FeatureFailure::invalidState);
    return refuse(notInState(call, std::string(desktop::simulator::callStateName(state))));
}

std::optional<std::string> PhoneService::consult(const ParsedRequest& request) {
    Call* call = requestedCall(request);
    const std::string& destination = request.text(tagOf<2>(requests::consultationCall));
    if (auto refusal = refusalToMoveOn(call, destination, Feature::hold)) return refusal;
    if (call->state == CallState::connected) hold(*call, false);
    dial(call->line, allocateCallId(0), partyFor(destination));
    return kSuccess;
}

std::optional<std::string> PhoneService::attendedTransfer(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::attendedTransferCall));
    Call* active =
        requestedCall(request, tagOf<1>(requests::attendedTransferCall), " (active call)");
    if (active == nullptr) return kFailure;
    Call* held = requestedCall(request, tagOf<2>(requests::attendedTransferCall), " (held call)");
    if (held == nullptr) return kFailure;
    if (active == held) return refuse("the active and the held call are the same call");
    if ((active->state != CallState::connected && active->state != CallState::ringingBack) ||
        held->state != CallState::held) {
        publishFeatureFailure(line, active->id, Feature::transfer, FeatureFailure::invalidState);
        return refuse(held->state != CallState::held
                          ? notInState(*held, "held")
                          : notInState(*active, "connected or ringing back"));
    }
    const int activeId = active->id;
    const int heldId = held->id;
    publishFeature(line, activeId, Feature::transfer);
    clear(heldId, Cause::normalClearing);
    clear(activeId, Cause::normalClearing);
    return kSuccess;
}

std::optional<std::string> PhoneService::blindTransfer(const ParsedRequest& request) {
    Call* call = requestedCall(request);
    const std::string& destination = request.text(tagOf<2>(requests::blindTransferCall));
    if (auto refusal = refusalToMoveOn(call, destination, Feature::transfer)) return refusal;
    const Outcome outcome = outcomeFor(partyFor(destination).number);
    if (outcome == Outcome::Busy || outcome == Outcome::Rejects) {
        publishFeatureFailure(call->line, call->id, Feature::transfer,
                              outcome == Outcome::Busy ? FeatureFailure::busy
                                                       : FeatureFailure::rejected);
        return refuse(destination + (outcome == Outcome::Busy ? " is busy" : " rejects the call"));
    }
    publishFeature(call->line, call->id, Feature::transfer);
    clear(call->id, Cause::normalClearing);
    return kSuccess;
}

std::optional<std::string> PhoneService::refuseCall(const ParsedRequest& request) {
    Call* call = requestedCall(request);
    if (call == nullptr) return kFailure;
    if (call->state != CallState::ringing) return refuse(notInState(*call, "ringing"));
    clear(call->id, request.number(tagOf<2>(requests::refuseCall)) == 0
                        ? Cause::busy
                        : Cause::destinationNotObtainable);
    return kSuccess;
}

std::optional<std::string> PhoneService::alternateCalls(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::alternateCalls));
    Call* active = nullptr;
    Call* held = nullptr;
    for (auto& [id, call] : calls) {
        if (call.line != line) continue;
        if (call.state == CallState::connected && active == nullptr) active = &call;
        if (call.state == CallState::held && held == nullptr) held = &call;
    }
    if (active == nullptr || held == nullptr) {
        return refuse(knownLine(line) ? "line " + line + " needs one connected and one held call"
                                      : lineProblem(line));
    }
    hold(*active, false);
    retrieve(*held);
    return kSuccess;
}

void PhoneService::publishConference(const std::string& line, int callId) {
    std::string users;
    for (const auto& [id, call] : calls) {
        if (call.line == line && call.state == CallState::conferenced) {
            users += "<user entity=\"" + call.remote.uri + "\" state=\"full\"><display-text>" +
                     call.remote.name + "</display-text></user>";
        }
    }
    const std::string document = "<conference-info entity=\"sip:conf" + std::to_string(callId) +
                                 "@" + settings.domain + "\" state=\"full\"><users>" + users +
                                 "</users></conference-info>";
    events.publish(writeEvent(protocol::events::conferenceStatus, line, callId, document));
}

std::optional<std::string> PhoneService::conferenceCall(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::conferenceCall));
    Call* active = requestedCall(request, tagOf<1>(requests::conferenceCall), " (active call)");
    if (active == nullptr) return kFailure;
    Call* held = requestedCall(request, tagOf<2>(requests::conferenceCall), " (held call)");
    if (held == nullptr) return kFailure;
    if (active == held) return refuse("the active and the held call are the same call");
    if (active->state != CallState::connected || held->state != CallState::held) {
        publishFeatureFailure(line, active->id, Feature::conference, FeatureFailure::invalidState);
        return refuse(held->state != CallState::held ? notInState(*held, "held")
                                                     : notInState(*active, "connected"));
    }
    for (Call* member : {held, active}) {
        member->manualHold = false;
        setState(*member, CallState::conferenced, Cause::conference);
        events.publish(writeEvent(protocol::events::remoteEndpointDetailsChanged, line, member->id,
                                  member->remote.uri, member->remote.name, member->remote.fullPai(),
                                  false, true));
    }
    publishFeature(line, active->id, Feature::conference);
    publishConference(line, active->id);
    return kSuccess;
}

std::optional<std::string> PhoneService::removeConferenceParticipant(const ParsedRequest& request) {
    auto conference = calls.find(request.number(tagOf<0>(requests::RemoveConfParticipant)));
    if (conference == calls.end()) {
        return refuse("call " +
                      std::to_string(request.number(tagOf<0>(requests::RemoveConfParticipant))) +
                      " does not exist");
    }
    if (conference->second.state != CallState::conferenced) {
        return refuse(notInState(conference->second, "conferenced"));
    }
    const std::string line = conference->second.line;
    const Party leaving = partyFor(request.text(tagOf<1>(requests::RemoveConfParticipant)));
    for (auto& [id, call] : calls) {
        if (call.line == line && call.state == CallState::conferenced &&
            call.remote.number == leaving.number) {
            events.publish(writeEvent(protocol::events::remoteEndpointDetailsChanged, line, id,
                                      call.remote.uri, call.remote.name, call.remote.fullPai(),
                                      true, false));
            const int leavingId = id;
            clear(leavingId, Cause::normalClearing);
            publishConference(line, request.number(tagOf<0>(requests::RemoveConfParticipant)));
            return kSuccess;
        }
    }
    return refuse(leaving.number + " is not in the conference of call " +
                  std::to_string(request.number(tagOf<0>(requests::RemoveConfParticipant))));
}

std::optional<std::string> PhoneService::generateDigits(const ParsedRequest& request) {
    Call* call = requestedCall(request, tagOf<1>(requests::generateDigits));
    const std::string& digits = request.text(tagOf<2>(requests::generateDigits));
    const bool dialable =
        !digits.empty() && digits.find_first_not_of("0123456789*#ABCD") == std::string::npos;
    if (call == nullptr) return kFailure;
    if (!isActive(call->state)) return refuse(notInState(*call, "active"));
    if (!dialable) return refuse("'" + digits + "' are not dialable digits (0-9 * # A-D)");
    return kSuccess;
}

std::optional<std::string> PhoneService::directedPickup(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::directedPickupCall));
    const std::string extension =
        partyFor(request.text(tagOf<2>(requests::directedPickupCall))).number;
    auto offer = std::find_if(pickupOffers.begin(), pickupOffers.end(),
                              [&](const auto& entry) { return entry.second.line == extension; });
    if (!knownLine(line) || offer == pickupOffers.end()) {
        publishFeatureFailure(line, request.number(tagOf<1>(requests::directedPickupCall)),
                              Feature::pickup, FeatureFailure::noSuchCall);
        return refuse(!knownLine(line) ? lineProblem(line)
                                       : "no call rings at extension " + extension +
                                             " (send the colleagueCall control command first)");
    }
    return pickUp(offer, line);
}

std::optional<std::string> PhoneService::pickUp(std::map<int, Call>::iterator offer,
                                                const std::string& line) {
    Call picked = offer->second;
    pickupOffers.erase(offer);
    picked.line = line;
    picked.state = CallState::connected;
    calls[picked.id] = picked;
    publishCallState(picked, Cause::callPickup);
    publishFeature(line, picked.id, Feature::pickup);
    return kSuccess;
}

std::optional<std::string> PhoneService::groupPickup(const ParsedRequest& request) {
    const std::string& line = request.text(tagOf<0>(requests::groupPickupCall));
    if (!knownLine(line) || pickupOffers.empty()) {
        publishFeatureFailure(line, request.number(tagOf<1>(requests::groupPickupCall)),
                              Feature::pickup, FeatureFailure::noSuchCall);
        return refuse(!knownLine(line) ? lineProblem(line)
                                       : "no call rings at a colleague's phone (send the "
                                         "colleagueCall control command first)");
    }
    auto offer = pickupOffers.find(request.number(tagOf<1>(requests::groupPickupCall)));
    if (offer == pickupOffers.end()) offer = pickupOffers.begin();
    return pickUp(offer, line);
}

} // namespace simulator
