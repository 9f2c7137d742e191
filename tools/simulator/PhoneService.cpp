// The service's core: dispatch of requests, parties and calls, and the events that
// report what happens to a call.

#include <algorithm>

#include "Messages.h"
#include "PhoneService.h"
#include "PhoneServiceParts.h"

namespace simulator {

using namespace parts;
namespace requests = CommunicationsService::protocol::requests;

std::string ServiceModel::Party::fullPai() const { return "\"" + name + "\" <" + uri + ">"; }

ServiceModel::ServiceModel(const ServiceSettings& settings) : devices(settings.lines) {
    for (const std::string& line : settings.lines) {
        lines[line];
        for (int type = 0; type <= 2; ++type)
            forwarding[line][type];
    }
    messageWaiting.line = settings.lines.empty() ? std::string() : settings.lines.front();
}

PhoneService::PhoneService(ServiceSettings serviceSettings, EventSink& eventSink,
                           Scheduler& stepScheduler)
    : ServiceModel(serviceSettings), settings(std::move(serviceSettings)), events(eventSink),
      scheduler(stepScheduler) {}

void PhoneService::reset() {
    // Subscribers see each call end, as when the far end hangs up.
    while (!calls.empty())
        hangUp(calls.begin()->second);
    static_cast<ServiceModel&>(*this) = ServiceModel(settings);
    ++generation;
}

void PhoneService::record(const ParsedRequest& request) {
    std::string line = request.method.empty() ? "(no method)" : request.method;
    for (const auto& [tag, value] : request.fields)
        line += " " + tag + "=" + value;
    if (!request.payload.empty()) line += " payload=" + request.payload;
    received.push_back(std::move(line));
}

void PhoneService::schedule(std::chrono::milliseconds delay, std::function<void()> step) {
    scheduler.after(delay, [this, step = std::move(step), scheduledIn = generation] {
        if (scheduledIn == generation) step();
    });
}

const std::map<std::string, PhoneService::Handler>& PhoneService::handlers() {
    static const std::map<std::string, Handler> table = {
        {std::string(requests::activate.method), &PhoneService::activate},
        {std::string(requests::deactivate.method), &PhoneService::deactivate},
        {std::string(requests::subscribe.method), &PhoneService::subscribe},
        {std::string(requests::outgoingCallMake.method), &PhoneService::makeCall},
        {std::string(requests::acceptCall.method), &PhoneService::acceptCall},
        {std::string(requests::answerCall.method), &PhoneService::answerCall},
        {std::string(requests::deflectCall.method), &PhoneService::deflectCall},
        {std::string(requests::holdCall.method), &PhoneService::holdCall},
        {std::string(requests::retrieveCall.method), &PhoneService::retrieveCall},
        {std::string(requests::callClear.method), &PhoneService::clearCall},
        {std::string(requests::consultationCall.method), &PhoneService::consult},
        {std::string(requests::attendedTransferCall.method), &PhoneService::attendedTransfer},
        {std::string(requests::blindTransferCall.method), &PhoneService::blindTransfer},
        {std::string(requests::refuseCall.method), &PhoneService::refuseCall},
        {std::string(requests::alternateCalls.method), &PhoneService::alternateCalls},
        {std::string(requests::conferenceCall.method), &PhoneService::conferenceCall},
        {std::string(requests::generateDigits.method), &PhoneService::generateDigits},
        {std::string(requests::directedPickupCall.method), &PhoneService::directedPickup},
        {std::string(requests::groupPickupCall.method), &PhoneService::groupPickup},
        {std::string(requests::activateCallbackRinging.method), &PhoneService::callbackRinging},
        {std::string(requests::activateCallbackBusy.method), &PhoneService::callbackBusy},
        {std::string(requests::cancelCallbacks.method), &PhoneService::cancelCallbacks},
        {std::string(requests::setMicrophoneMute.method), &PhoneService::setMute},
        {std::string(requests::getMicrophoneMute.method), &PhoneService::getMute},
        {std::string(requests::setDoNotDisturb.method), &PhoneService::setDoNotDisturb},
        {std::string(requests::getDoNotDisturb.method), &PhoneService::getDoNotDisturb},
        {std::string(requests::setForwardingConfiguration.method), &PhoneService::setForwarding},
        {std::string(requests::getForwardingConfiguration.method), &PhoneService::getForwarding},
        {std::string(requests::setAssociatedCalls.method), &PhoneService::setAssociatedCalls},
        {std::string(requests::setLampMode.method), &PhoneService::setLampMode},
        {std::string(requests::makeSecurityChangeReinvite.method), &PhoneService::securityReinvite},
        {std::string(requests::setIsInServiceInitiatedState.method),
         &PhoneService::setInServiceInitiated},
        {std::string(requests::systemStatus.method), &PhoneService::systemStatus},
        {std::string(requests::setServiceState.method), &PhoneService::setServiceState},
        {std::string(requests::getServiceState.method), &PhoneService::getServiceState},
        {std::string(requests::getMessageWaitingIndicator.method),
         &PhoneService::getMessageWaiting},
        {std::string(requests::getDevices.method), &PhoneService::getDevices},
        {std::string(requests::isCallHoldPossible.method), &PhoneService::isCallHoldPossible},
        {std::string(requests::getManualHoldIndication.method), &PhoneService::getManualHold},
        {std::string(requests::SendCSTARequest.method), &PhoneService::cstaRequest},
        {std::string(requests::sendUACSTAServerMessage.method), &PhoneService::cstaRequest},
        {std::string(requests::InitializeOrFinalizeServerFeatures.method),
         &PhoneService::serverFeatures},
        {std::string(requests::callbackDOFeatureCallID.method),
         &PhoneService::callbackFeatureCallId},
        {std::string(requests::setAgentState.method), &PhoneService::setAgentState},
        {std::string(requests::RemoveConfParticipant.method),
         &PhoneService::removeConferenceParticipant},
        {std::string(kSignallingMethod), &PhoneService::signalling},
    };
    return table;
}

std::optional<std::string> PhoneService::handle(const ParsedRequest& request) {
    lastRefusal.clear();
    record(request);
    auto handler = handlers().find(request.method);
    if (!request.valid() || handler == handlers().end()) {
        refuse(request.valid() ? "the service has no method " + request.method
                               : "malformed request: " + request.error);
        return request.oneWay ? std::nullopt : std::optional<std::string>(kFailure);
    }
    std::optional<std::string> answer = (this->*handler->second)(request);
    if (request.oneWay) return std::nullopt;
    return answer;
}

PhoneService::Party PhoneService::partyFor(const std::string& destination) const {
    std::string number = destination;
    const std::size_t scheme = number.find(':');
    if (scheme != std::string::npos) number.erase(0, scheme + 1);
    const std::size_t host = number.find('@');
    if (host != std::string::npos) number.erase(host);
    auto known = directory().find(number);
    const std::string name = known != directory().end() ? known->second : number;
    return {number, truncated("sip:" + number + "@" + settings.domain), truncated(name)};
}

PhoneService::Party PhoneService::linePartyFor(const std::string& line) const {
    return {line, truncated("sip:" + line + "@" + settings.domain), truncated("Desk " + line)};
}

bool PhoneService::knownLine(const std::string& line) const { return lines.count(line) != 0; }

std::string PhoneService::refuse(const std::string& why) {
    lastRefusal = why;
    return kFailure;
}

std::optional<std::string> PhoneService::tableProblem(const char* table, std::size_t entries,
                                                      bool present, const std::string& key) const {
    if (key.size() > settings.nameBytes) {
        return std::string(table) + " name of " + std::to_string(key.size()) +
               " bytes is longer than the limit of " + std::to_string(settings.nameBytes) +
               " (--max-name-bytes)";
    }
    if (!present && entries >= settings.tableEntries) {
        return std::string(table) + " table is full: " + std::to_string(entries) +
               " entries, the limit (--max-table-entries)";
    }
    return std::nullopt;
}

std::string PhoneService::lineProblem(const std::string& line) const {
    if (line.empty()) return "the request names no line";
    return "line '" + line + "' does not exist (lines are " + joinFrom(settings.lines, 0) + ")";
}

std::string PhoneService::missingCall(const std::string& line, int id) const {
    if (!knownLine(line)) return lineProblem(line);
    auto found = calls.find(id);
    if (found != calls.end()) {
        return "call " + std::to_string(id) + " is on line " + found->second.line + ", not " + line;
    }
    return "call " + std::to_string(id) + " does not exist on line " + line;
}

PhoneService::Call* PhoneService::findCall(const std::string& line, int id) {
    auto found = calls.find(id);
    if (found == calls.end() || found->second.line != line) return nullptr;
    return &found->second;
}

PhoneService::Call* PhoneService::requestedCall(const ParsedRequest& request,
                                                std::string_view idTag, const char* role) {
    const std::string& line = request.text(tagOf<0>(requests::answerCall));
    const int id = request.number(idTag);
    Call* call = findCall(line, id);
    if (call == nullptr) lastRefusal = missingCall(line, id) + role;
    return call;
}

int PhoneService::allocateCallId(int wanted) {
    if (wanted > 0 && calls.count(wanted) == 0 && pickupOffers.count(wanted) == 0) return wanted;
    while (calls.count(nextCallId) != 0 || pickupOffers.count(nextCallId) != 0)
        ++nextCallId;
    return nextCallId++;
}

void PhoneService::publishCallState(const Call& call, Cause reason,
                                    const std::string& preemptionText) {
    const Party local = linePartyFor(call.line);
    const Party& calling = call.incoming ? call.remote : local;
    const Party& called = call.incoming ? local : call.remote;
    events.publish(writeEvent(protocol::events::callStateChange, call.line, call.id, call.state,
                              reason, 0, call.remote.uri, call.remote.name, call.remote.fullPai(),
                              Parties{calling.uri, calling.name, called.uri, called.name},
                              call.priority, preemptionText.empty() ? 0L : 1L, preemptionText,
                              call.state == CallState::busy || call.state == CallState::ringingBack,
                              0, 0));
}

void PhoneService::publishFeature(const std::string& line, int callId, Feature feature) {
    events.publish(writeEvent(protocol::events::featureSuccess, line, callId, feature));
}

void PhoneService::publishFeatureFailure(const std::string& line, int callId, Feature feature,
                                         FeatureFailure failure) {
    events.publish(writeEvent(protocol::events::featureFailed, line, callId, feature, failure));
}

void PhoneService::setState(Call& call, CallState state, Cause reason) {
    call.state = state;
    publishCallState(call, reason);
}

void PhoneService::clear(int id, Cause reason) {
    auto found = calls.find(id);
    if (found == calls.end()) return;
    Call call = found->second;
    calls.erase(found);
    call.state = CallState::idle;
    publishCallState(call, reason);
}

void PhoneService::hold(Call& call, bool manual) {
    call.manualHold = manual;
    call.state = CallState::held;
    events.publish(writeEvent(protocol::events::callHeld, call.line, call.id));
    publishCallState(call, Cause::none);
}

void PhoneService::retrieve(Call& call) {
    for (auto& [id, other] : calls) {
        if (id != call.id && other.line == call.line && other.state == CallState::connected) {
            hold(other, false);
        }
    }
    call.manualHold = false;
    call.state = CallState::connected;
    events.publish(writeEvent(protocol::events::callRetrieved, call.line, call.id, call.remote.uri,
                              call.remote.name, call.remote.fullPai(), 0, 0, false));
    publishCallState(call, Cause::none);
}

// An outgoing call: dialing, then the far end's answer decides the rest.
void PhoneService::dial(const std::string& line, int id, const Party& remote) {
    Call& call = calls[id];
    call.id = id;
    call.line = line;
    call.remote = remote;
    setState(call, CallState::dialing, Cause::none);
    switch (outcomeFor(remote.number)) {
    case Outcome::Busy:
        setState(call, CallState::busy, Cause::busy);
        return;
    case Outcome::Rejects:
        setState(call, CallState::failed, Cause::destinationNotObtainable);
        return;
    case Outcome::RingsOn:
        setState(call, CallState::ringingBack, Cause::none);
        return;
    case Outcome::Answers:
        setState(call, CallState::ringingBack, Cause::none);
        schedule(settings.ringTime, [this, id] { farEndAnswers(id); });
        return;
    }
}

void PhoneService::farEndAnswers(int id) {
    auto found = calls.find(id);
    if (found == calls.end() || found->second.state != CallState::ringingBack) return;
    setState(found->second, CallState::connected, Cause::none);
}

void PhoneService::publishMissed(const Call& call, Cause reason) {
    events.publish(writeEvent(protocol::events::incomingCallMissed, call.line, call.id,
                              call.remote.uri, call.remote.name, call.remote.fullPai(), reason, "",
                              "", 0));
}

void PhoneService::ringIncoming(Call& call, bool missed) {
    const int id = call.id;
    const std::string line = call.line;
    Forwarding& unconditional = forwarding[line][0];
    Forwarding& onBusy = forwarding[line][1];
    Forwarding& noReply = forwarding[line][2];
    const bool lineBusy = std::any_of(calls.begin(), calls.end(), [&](const auto& entry) {
        return entry.first != id && entry.second.line == line &&
               entry.second.state != CallState::idle;
    });
    auto forwardTo = [this, id, line](const std::string& target) {
        Call forwarded = calls[id];
        events.publish(writeEvent(protocol::events::callForwarded, line, id, forwarded.remote.uri,
                                  forwarded.remote.name, forwarded.remote.fullPai(),
                                  partyFor(target).uri, Cause::callForward));
        calls.erase(id);
    };
    if (lines[line].doNotDisturb) {
        const Call refused = call;
        calls.erase(id);
        publishMissed(refused, Cause::doNotDisturb);
        return;
    }
    if (unconditional.status) return forwardTo(unconditional.uri);
    if (onBusy.status && lineBusy) return forwardTo(onBusy.uri);

    if (associatedCalls) {
        for (const auto& [otherId, other] : calls) {
            if (otherId != id && other.line == line) {
                events.publish(
                    writeEvent(protocol::events::incomingAssociatedCall, line, otherId, id));
                break;
            }
        }
    }
    call.state = CallState::ringing;
    events.publish(writeEvent(protocol::events::incomingCall, line, id, call.remote.uri,
                              call.remote.name, call.remote.fullPai(), "", "", false, 0, "", "", 0,
                              false, call.priority, 0, 0, false));
    publishCallState(call, Cause::none);
    if (missed) {
        schedule(settings.ringTime, [this, id] {
            auto found = calls.find(id);
            if (found != calls.end() && found->second.state == CallState::ringing) {
                publishMissed(found->second, Cause::callNotAnswered);
                clear(id, Cause::callNotAnswered);
            }
        });
    } else if (noReply.status) {
        const auto delay = settings.ringTime * std::max(1, noReply.ringCount);
        schedule(delay, [this, id, target = noReply.uri, forwardTo] {
            auto found = calls.find(id);
            if (found == calls.end() || found->second.state != CallState::ringing) return;
            forwardTo(target);
        });
    }
}

std::optional<std::string> PhoneService::activate(const ParsedRequest&) {
    for (auto& [line, state] : lines) {
        state.registered = true;
        events.publish(writeEvent(protocol::events::registrationStateChange, line, 0, true, 200));
    }
    return kSuccess;
}

std::optional<std::string> PhoneService::deactivate(const ParsedRequest&) {
    for (auto& [line, state] : lines) {
        if (!state.registered) continue;
        state.registered = false;
        events.publish(writeEvent(protocol::events::registrationStateChange, line, 0, false, 0));
    }
    return kSuccess;
}

std::optional<std::string> PhoneService::subscribe(const ParsedRequest&) { return kSuccess; }

} // namespace simulator
