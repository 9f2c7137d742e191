#include "PhoneService.h"

#include <algorithm>
#include <charconv>

#include "CommunicationsService/desktop/Framework.h"

namespace simulator {

namespace {

constexpr const char* kSuccess = "sfiSuccess";
constexpr const char* kFailure = "sfiFailure";
constexpr const char* kVoiceMailNumber = "8000";
constexpr std::size_t kMaxCallbacks = 3;
// CallPartyInfo holds 64 characters per party text; longer ones are cut.
constexpr std::size_t kPartyTextLimit = 64;

// Call-back types of the call completion events.
constexpr int kCallbackBusy = 1;
constexpr int kCallbackNoReply = 2;
// Call-back states of the call completion events.
constexpr int kCallbackCancelled = 0;
constexpr int kCallbackActivated = 1;
constexpr int kCallbackRecall = 2;

// One event text in the envelope, field by field.
class Event {
public:
    // Fields alone, as the tagged answers of queries carry them.
    Event() = default;
    explicit Event(const char* method) {
        text.append("<Method>").append(method).append("</Method>");
    }
    Event& field(const char* tag, const std::string& value) {
        text.append("<").append(tag).append(">").append(value).append("</").append(tag).append(">");
        return *this;
    }
    Event& field(const char* tag, long value) { return field(tag, std::to_string(value)); }
    Event& flag(const char* tag, bool value) { return field(tag, value ? "1" : "0"); }
    Event& raw(const std::string& bytes) {
        text.append(bytes);
        return *this;
    }
    const std::string& str() const { return text; }

private:
    std::string text;
};

std::optional<int> toInt(const std::string& word) {
    int value = 0;
    const char* end = word.data() + word.size();
    const auto parsed = std::from_chars(word.data(), end, value);
    if (word.empty() || parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return value;
}

std::optional<bool> toFlag(const std::string& word) {
    if (word == "1" || word == "on" || word == "true") return true;
    if (word == "0" || word == "off" || word == "false") return false;
    return std::nullopt;
}

std::string joinFrom(const std::vector<std::string>& words, std::size_t first) {
    std::string joined;
    for (std::size_t i = first; i < words.size(); ++i) {
        if (i > first) joined.push_back(' ');
        joined.append(words[i]);
    }
    return joined;
}

std::string usage(const char* text) { return std::string("error: usage: ") + text; }

std::string truncated(const std::string& text) { return text.substr(0, kPartyTextLimit); }

// Names of the far ends that the simulator knows; the first four steer the outcome.
const std::map<std::string, std::string>& directory() {
    static const std::map<std::string, std::string> names = {
        {"2001", "Anna Berg"},  {"2002", "Ben Carter"},   {"2003", "Chris Dale"},
        {"2004", "Dana Evans"}, {"2005", "Erik Fischer"}, {"3003", "Front Desk"},
        {"8000", "Voice Mail"},
    };
    return names;
}

enum class Outcome { Answers, RingsOn, Busy, Rejects };

Outcome outcomeFor(const std::string& number) {
    if (number == "2002") return Outcome::RingsOn;
    if (number == "2003") return Outcome::Busy;
    if (number == "2004") return Outcome::Rejects;
    return Outcome::Answers;
}

const char* stateName(CallState state) {
    static const char* const names[] = {"idle",    "dialing",   "ringing back",
                                        "ringing", "connected", "held",
                                        "busy",    "failed",    "conferenced"};
    return state >= kIdle && state <= kConferenced ? names[state] : "in an unknown state";
}

// A call's state does not allow what was asked.
template <typename CallRecord>
std::string notInState(const CallRecord& call, const std::string& wanted) {
    return "call " + std::to_string(call.id) + " on line " + call.line + " is " +
           stateName(call.state) + ", not " + wanted;
}

bool isActive(CallState state) {
    return state == kConnected || state == kConferenced || state == kRingback || state == kDialing;
}

} // namespace

std::string PhoneService::Party::fullPai() const { return "\"" + name + "\" <" + uri + ">"; }

PhoneService::PhoneService(ServiceSettings serviceSettings, EventSink& eventSink,
                           Scheduler& stepScheduler)
    : settings(std::move(serviceSettings)), events(eventSink), scheduler(stepScheduler),
      devices(settings.lines) {
    for (const std::string& line : settings.lines)
        lines[line];
    for (const std::string& line : settings.lines) {
        for (int type = 0; type <= 2; ++type)
            forwarding[line][type];
    }
    messageWaiting.line = settings.lines.empty() ? std::string() : settings.lines.front();
}

const std::map<std::string, PhoneService::Handler>& PhoneService::handlers() {
    static const std::map<std::string, Handler> table = {
        {"Activate", &PhoneService::activate},
        {"Deactivate", &PhoneService::deactivate},
        {"Subscribe", &PhoneService::subscribe},
        {"OutgoingCallMakeRequest", &PhoneService::makeCall},
        {"AcceptCall", &PhoneService::acceptCall},
        {"AnswerCall", &PhoneService::answerCall},
        {"DeflectCall", &PhoneService::deflectCall},
        {"HoldCall", &PhoneService::holdCall},
        {"RetrieveCall", &PhoneService::retrieveCall},
        {"CallClearRequest", &PhoneService::clearCall},
        {"Consult", &PhoneService::consult},
        {"AttendedTransfer", &PhoneService::attendedTransfer},
        {"BlindTransfer", &PhoneService::blindTransfer},
        {"RefuseCall", &PhoneService::refuseCall},
        {"AlternateCalls", &PhoneService::alternateCalls},
        {"ConferenceCall", &PhoneService::conferenceCall},
        {"GenerateDigits", &PhoneService::generateDigits},
        {"DirectedPickupCall", &PhoneService::directedPickup},
        {"GroupPickupCall", &PhoneService::groupPickup},
        {"ActivateCallbackRinging", &PhoneService::callbackRinging},
        {"ActivateCallbackBusy", &PhoneService::callbackBusy},
        {"CancelCallbacks", &PhoneService::cancelCallbacks},
        {"SetMicrophoneMute", &PhoneService::setMute},
        {"GetMicrophoneMute", &PhoneService::getMute},
        {"SetDoNotDisturb", &PhoneService::setDoNotDisturb},
        {"GetDoNotDisturb", &PhoneService::getDoNotDisturb},
        {"setForwardingConfiguration", &PhoneService::setForwarding},
        {"getForwardingConfiguration", &PhoneService::getForwarding},
        {"setAssociatedCalls", &PhoneService::setAssociatedCalls},
        {"setLampMode", &PhoneService::setLampMode},
        {"makeSecurityChangeReinvite", &PhoneService::securityReinvite},
        {"setIsInServiceInitiatedState", &PhoneService::setInServiceInitiated},
        {"SystemStatus", &PhoneService::systemStatus},
        {"SetServiceState", &PhoneService::setServiceState},
        {"GetServiceState", &PhoneService::getServiceState},
        {"GetMessageWaitingIndicator", &PhoneService::getMessageWaiting},
        {"GetDevices", &PhoneService::getDevices},
        {"isCallHoldPossible", &PhoneService::isCallHoldPossible},
        {"getManualHoldIndication", &PhoneService::getManualHold},
        {"SendCSTARequest", &PhoneService::cstaRequest},
        {"SendUACSTAServerMessage", &PhoneService::cstaRequest},
        {"InitializeOrFinalizeServerFeatures", &PhoneService::serverFeatures},
        {"callbackDOFeatureCallID", &PhoneService::callbackFeatureCallId},
        {"SetAgentState", &PhoneService::setAgentState},
        {"RemoveConfParticipant", &PhoneService::removeConferenceParticipant},
        {"SigEvent", &PhoneService::signalling},
    };
    return table;
}

std::optional<std::string> PhoneService::handle(const ParsedRequest& request) {
    lastRefusal.clear();
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

// --- parties and calls -------------------------------------------------------------

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

int PhoneService::allocateCallId(int wanted) {
    if (wanted > 0 && calls.count(wanted) == 0 && pickupOffers.count(wanted) == 0) return wanted;
    while (calls.count(nextCallId) != 0 || pickupOffers.count(nextCallId) != 0)
        ++nextCallId;
    return nextCallId++;
}

void PhoneService::publishCallState(const Call& call, int reason,
                                    const std::string& preemptionText) {
    const Party local = linePartyFor(call.line);
    const Party& calling = call.incoming ? call.remote : local;
    const Party& called = call.incoming ? local : call.remote;
    events.publish(
        Event("CallStateChangeEvent")
            .field("LineID", call.line)
            .field("CallID", call.id)
            .field("CallState", call.state)
            .field("Reason", reason)
            .field("SendOptions", 0L)
            .field("URI", call.remote.uri)
            .field("Name", call.remote.name)
            .field("FullPAI", call.remote.fullPai())
            .field("GPUCLG", calling.uri)
            .field("GPUCLGName", calling.name)
            .field("GPUCLD", called.uri)
            .field("GPUCLDName", called.name)
            .field("ResourcePriority", call.priority)
            .field("PreemptionCause", preemptionText.empty() ? 0L : 1L)
            .field("PreemptionText", preemptionText)
            .flag("CallBackFearureAvailable", call.state == kBusy || call.state == kRingback)
            .field("ILCallLevel", 0L)
            .field("ILLocalLevel", 0L)
            .str());
}

void PhoneService::publishFeature(const std::string& line, int callId, int feature) {
    events.publish(Event("FeatureSuccessEvent")
                       .field("LineID", line)
                       .field("CallID", callId)
                       .field("Feature", feature)
                       .str());
}

void PhoneService::publishFeatureFailure(const std::string& line, int callId, int feature,
                                         int failure) {
    events.publish(Event("FeatureFailedEvent")
                       .field("LineID", line)
                       .field("CallID", callId)
                       .field("Feature", feature)
                       .field("FeatureFailure", failure)
                       .str());
}

void PhoneService::setState(Call& call, CallState state, int reason) {
    call.state = state;
    publishCallState(call, reason);
}

void PhoneService::clear(int id, int reason) {
    auto found = calls.find(id);
    if (found == calls.end()) return;
    Call call = found->second;
    calls.erase(found);
    call.state = kIdle;
    publishCallState(call, reason);
}

void PhoneService::hold(Call& call, bool manual) {
    call.manualHold = manual;
    call.state = kHeld;
    events.publish(
        Event("CallHeldEvent").field("LineID", call.line).field("CallID", call.id).str());
    publishCallState(call, kCauseNone);
}

void PhoneService::retrieve(Call& call) {
    for (auto& [id, other] : calls) {
        if (id != call.id && other.line == call.line && other.state == kConnected) {
            hold(other, false);
        }
    }
    call.manualHold = false;
    call.state = kConnected;
    events.publish(Event("CallRetrievedEvent")
                       .field("LineID", call.line)
                       .field("CallID", call.id)
                       .field("URI", call.remote.uri)
                       .field("Name", call.remote.name)
                       .field("FullPAI", call.remote.fullPai())
                       .field("ILCallLevel", 0L)
                       .field("ILLocalLevel", 0L)
                       .flag("ConnectedToMediaServer", false)
                       .str());
    publishCallState(call, kCauseNone);
}

// An outgoing call: dialing, then the far end's answer decides the rest.
void PhoneService::dial(const std::string& line, int id, const Party& remote) {
    Call& call = calls[id];
    call.id = id;
    call.line = line;
    call.remote = remote;
    setState(call, kDialing, kCauseNone);
    switch (outcomeFor(remote.number)) {
    case Outcome::Busy:
        setState(call, kBusy, kCauseBusy);
        return;
    case Outcome::Rejects:
        setState(call, kFailed, kCauseRejected);
        return;
    case Outcome::RingsOn:
        setState(call, kRingback, kCauseNone);
        return;
    case Outcome::Answers:
        setState(call, kRingback, kCauseNone);
        scheduler.after(settings.ringTime, [this, id] { farEndAnswers(id); });
        return;
    }
}

void PhoneService::farEndAnswers(int id) {
    auto found = calls.find(id);
    if (found == calls.end() || found->second.state != kRingback) return;
    setState(found->second, kConnected, kCauseNone);
}

void PhoneService::publishMissed(const Call& call, int reason) {
    events.publish(Event("IncomingCallMissedEvent")
                       .field("LineID", call.line)
                       .field("CallID", call.id)
                       .field("URI", call.remote.uri)
                       .field("Name", call.remote.name)
                       .field("FullPAI", call.remote.fullPai())
                       .field("Reason", reason)
                       .field("DiversionURI", "")
                       .field("DiversionName", "")
                       .field("DiversionReason", 0L)
                       .str());
}

void PhoneService::ringIncoming(Call& call, bool missed) {
    const int id = call.id;
    const std::string line = call.line;
    Forwarding& unconditional = forwarding[line][0];
    Forwarding& onBusy = forwarding[line][1];
    Forwarding& noReply = forwarding[line][2];
    const bool lineBusy = std::any_of(calls.begin(), calls.end(), [&](const auto& entry) {
        return entry.first != id && entry.second.line == line && entry.second.state != kIdle;
    });
    auto forwardTo = [this, id, line](const std::string& target) {
        Call forwarded = calls[id];
        events.publish(Event("CallForwardedEvent")
                           .field("LineID", line)
                           .field("CallID", id)
                           .field("CallingParty", forwarded.remote.uri)
                           .field("CallingPartyName", forwarded.remote.name)
                           .field("CallingPartyFullPAI", forwarded.remote.fullPai())
                           .field("NewDestination", partyFor(target).uri)
                           .field("Reason", static_cast<long>(kCauseForwarded))
                           .str());
        calls.erase(id);
    };
    if (lines[line].doNotDisturb) {
        const Call refused = call;
        calls.erase(id);
        publishMissed(refused, kCauseDoNotDisturb);
        return;
    }
    if (unconditional.status) return forwardTo(unconditional.uri);
    if (onBusy.status && lineBusy) return forwardTo(onBusy.uri);

    if (associatedCalls) {
        for (const auto& [otherId, other] : calls) {
            if (otherId != id && other.line == line) {
                events.publish(Event("IncomingAssociatedCallEvent")
                                   .field("LineID", line)
                                   .field("CurrentCallID", otherId)
                                   .field("NewCallID", id)
                                   .str());
                break;
            }
        }
    }
    call.state = kRinging;
    events.publish(Event("IncomingCallEvent")
                       .field("LineID", line)
                       .field("CallID", id)
                       .field("URI", call.remote.uri)
                       .field("Name", call.remote.name)
                       .field("FullPAI", call.remote.fullPai())
                       .field("AlertInformation_AlertURI", "")
                       .field("AlertInformation_InfoParam", "")
                       .flag("AlertInformation_AutoAnswer", false)
                       .field("CallType", 0L)
                       .field("DiversionURI", "")
                       .field("DiversionName", "")
                       .field("DiversionReason", 0L)
                       .flag("AICSZIPAutoAnswer", false)
                       .field("ResourcePriority", call.priority)
                       .field("ILCallLevel", 0L)
                       .field("ILLocalLevel", 0L)
                       .flag("IsVideoCall", false)
                       .str());
    publishCallState(call, kCauseNone);
    if (missed) {
        scheduler.after(settings.ringTime, [this, id] {
            auto found = calls.find(id);
            if (found != calls.end() && found->second.state == kRinging) {
                publishMissed(found->second, kCauseNotAnswered);
                clear(id, kCauseNotAnswered);
            }
        });
    } else if (noReply.status) {
        const auto delay = settings.ringTime * std::max(1, noReply.ringCount);
        scheduler.after(delay, [this, id, target = noReply.uri, forwardTo] {
            auto found = calls.find(id);
            if (found == calls.end() || found->second.state != kRinging) return;
            forwardTo(target);
        });
    }
}

// --- requests ----------------------------------------------------------------------

std::optional<std::string> PhoneService::activate(const ParsedRequest&) {
    for (auto& [line, state] : lines) {
        state.registered = true;
        events.publish(Event("RegistrationStateChangeEvent")
                           .field("LineID", line)
                           .field("CallID", 0L)
                           .flag("Registered", true)
                           .field("RegistrationResult", 200L)
                           .str());
    }
    return kSuccess;
}

std::optional<std::string> PhoneService::deactivate(const ParsedRequest&) {
    for (auto& [line, state] : lines) {
        if (!state.registered) continue;
        state.registered = false;
        events.publish(Event("RegistrationStateChangeEvent")
                           .field("LineID", line)
                           .field("CallID", 0L)
                           .flag("Registered", false)
                           .field("RegistrationResult", 0L)
                           .str());
    }
    return kSuccess;
}

std::optional<std::string> PhoneService::subscribe(const ParsedRequest&) { return kSuccess; }

std::optional<std::string> PhoneService::makeCall(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    const std::string& destination = request.text("Destination");
    if (!knownLine(line)) return refuse(lineProblem(line));
    if (!lines[line].registered) {
        return refuse("line " + line + " is not registered (send Activate first)");
    }
    if (destination.empty()) return refuse("the request names no destination");
    for (auto& [id, other] : calls) {
        if (other.line == line && other.state == kConnected) hold(other, false);
    }
    dial(line, allocateCallId(request.number("CallID")), partyFor(destination));
    return kSuccess;
}

std::optional<std::string> PhoneService::acceptCall(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("CallID"));
    if (call == nullptr) return refuse(missingCall(request.text("Line"), request.number("CallID")));
    if (call->state != kRinging) return refuse(notInState(*call, "ringing"));
    if (request.flag("AutoAnswer")) setState(*call, kConnected, kCauseNone);
    return kSuccess;
}

std::optional<std::string> PhoneService::answerCall(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("CallID"));
    if (call == nullptr) return refuse(missingCall(request.text("Line"), request.number("CallID")));
    if (call->state != kRinging) return refuse(notInState(*call, "ringing"));
    for (auto& [id, other] : calls) {
        if (id != call->id && other.line == call->line && other.state == kConnected) {
            hold(other, false);
        }
    }
    setState(*call, kConnected, kCauseNone);
    return kSuccess;
}

std::optional<std::string> PhoneService::deflectCall(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("CallID"));
    const std::string& destination = request.text("Destination");
    if (call == nullptr) return refuse(missingCall(request.text("Line"), request.number("CallID")));
    if (call->state != kRinging) return refuse(notInState(*call, "ringing"));
    if (destination.empty()) return refuse("the request names no destination");
    events.publish(Event("CallForwardedEvent")
                       .field("LineID", call->line)
                       .field("CallID", call->id)
                       .field("CallingParty", call->remote.uri)
                       .field("CallingPartyName", call->remote.name)
                       .field("CallingPartyFullPAI", call->remote.fullPai())
                       .field("NewDestination", partyFor(destination).uri)
                       .field("Reason", static_cast<long>(kCauseForwarded))
                       .str());
    clear(call->id, kCauseForwarded);
    return kSuccess;
}

std::optional<std::string> PhoneService::holdCall(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("CallID"));
    if (call == nullptr) return refuse(missingCall(request.text("Line"), request.number("CallID")));
    if (call->state != kConnected) {
        publishFeatureFailure(call->line, call->id, kFeatureHold, kFailureInvalidState);
        return refuse(notInState(*call, "connected"));
    }
    hold(*call, request.flag("Manual"));
    return kSuccess;
}

std::optional<std::string> PhoneService::retrieveCall(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("CallID"));
    if (call == nullptr) return refuse(missingCall(request.text("Line"), request.number("CallID")));
    if (call->state != kHeld) {
        publishFeatureFailure(call->line, call->id, kFeatureRetrieve, kFailureInvalidState);
        return refuse(notInState(*call, "held"));
    }
    retrieve(*call);
    return kSuccess;
}

std::optional<std::string> PhoneService::clearCall(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("CallID"));
    if (call == nullptr) return refuse(missingCall(request.text("Line"), request.number("CallID")));
    clear(call->id, request.number("Cause"));
    return kSuccess;
}

std::optional<std::string> PhoneService::consult(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("CallID"));
    const std::string& destination = request.text("Destination");
    if (call == nullptr) return refuse(missingCall(request.text("Line"), request.number("CallID")));
    if (destination.empty()) return refuse("the request names no destination");
    if (call->state != kConnected && call->state != kHeld) {
        publishFeatureFailure(call->line, call->id, kFeatureHold, kFailureInvalidState);
        return refuse(notInState(*call, "connected or held"));
    }
    if (call->state == kConnected) hold(*call, false);
    dial(call->line, allocateCallId(0), partyFor(destination));
    return kSuccess;
}

std::optional<std::string> PhoneService::attendedTransfer(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    Call* active = findCall(line, request.number("activeCall"));
    Call* held = findCall(line, request.number("heldCall"));
    if (active == nullptr) {
        return refuse(missingCall(line, request.number("activeCall")) + " (active call)");
    }
    if (held == nullptr) {
        return refuse(missingCall(line, request.number("heldCall")) + " (held call)");
    }
    if (active == held) return refuse("the active and the held call are the same call");
    if ((active->state != kConnected && active->state != kRingback) || held->state != kHeld) {
        publishFeatureFailure(line, active->id, kFeatureTransfer, kFailureInvalidState);
        return refuse(held->state != kHeld ? notInState(*held, "held")
                                           : notInState(*active, "connected or ringing back"));
    }
    const int activeId = active->id;
    const int heldId = held->id;
    publishFeature(line, activeId, kFeatureTransfer);
    clear(heldId, kCauseNormalClearing);
    clear(activeId, kCauseNormalClearing);
    return kSuccess;
}

std::optional<std::string> PhoneService::blindTransfer(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("CallID"));
    const std::string& destination = request.text("Destination");
    if (call == nullptr) return refuse(missingCall(request.text("Line"), request.number("CallID")));
    if (destination.empty()) return refuse("the request names no destination");
    if (call->state != kConnected && call->state != kHeld) {
        publishFeatureFailure(call->line, call->id, kFeatureTransfer, kFailureInvalidState);
        return refuse(notInState(*call, "connected or held"));
    }
    const Outcome outcome = outcomeFor(partyFor(destination).number);
    if (outcome == Outcome::Busy || outcome == Outcome::Rejects) {
        publishFeatureFailure(call->line, call->id, kFeatureTransfer,
                              outcome == Outcome::Busy ? kFailureBusy : kFailureRejected);
        return refuse(destination + (outcome == Outcome::Busy ? " is busy" : " rejects the call"));
    }
    publishFeature(call->line, call->id, kFeatureTransfer);
    clear(call->id, kCauseNormalClearing);
    return kSuccess;
}

std::optional<std::string> PhoneService::refuseCall(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("CallID"));
    if (call == nullptr) return refuse(missingCall(request.text("Line"), request.number("CallID")));
    if (call->state != kRinging) return refuse(notInState(*call, "ringing"));
    clear(call->id, request.number("RefuseCallReason") == 0 ? kCauseBusy : kCauseRejected);
    return kSuccess;
}

std::optional<std::string> PhoneService::alternateCalls(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    Call* active = nullptr;
    Call* held = nullptr;
    for (auto& [id, call] : calls) {
        if (call.line != line) continue;
        if (call.state == kConnected && active == nullptr) active = &call;
        if (call.state == kHeld && held == nullptr) held = &call;
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
        if (call.line == line && call.state == kConferenced) {
            users += "<user entity=\"" + call.remote.uri + "\" state=\"full\"><display-text>" +
                     call.remote.name + "</display-text></user>";
        }
    }
    const std::string document = "<conference-info entity=\"sip:conf" + std::to_string(callId) +
                                 "@" + settings.domain + "\" state=\"full\"><users>" + users +
                                 "</users></conference-info>";
    events.publish(Event("conferenceStatusEvent")
                       .field("LineID", line)
                       .field("CallID", callId)
                       .field("XMLContent", document)
                       .str());
}

std::optional<std::string> PhoneService::conferenceCall(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    Call* active = findCall(line, request.number("activeCall"));
    Call* held = findCall(line, request.number("heldCall"));
    if (active == nullptr) {
        return refuse(missingCall(line, request.number("activeCall")) + " (active call)");
    }
    if (held == nullptr) {
        return refuse(missingCall(line, request.number("heldCall")) + " (held call)");
    }
    if (active == held) return refuse("the active and the held call are the same call");
    if (active->state != kConnected || held->state != kHeld) {
        publishFeatureFailure(line, active->id, kFeatureConference, kFailureInvalidState);
        return refuse(held->state != kHeld ? notInState(*held, "held")
                                           : notInState(*active, "connected"));
    }
    for (Call* member : {held, active}) {
        member->manualHold = false;
        setState(*member, kConferenced, kCauseConference);
        events.publish(Event("RemoteEndpointDetailsChangedEvent")
                           .field("LineID", line)
                           .field("CallID", member->id)
                           .field("URI", member->remote.uri)
                           .field("Name", member->remote.name)
                           .field("FullPAI", member->remote.fullPai())
                           .flag("exitConf", false)
                           .flag("jointCall", true)
                           .str());
    }
    publishFeature(line, active->id, kFeatureConference);
    publishConference(line, active->id);
    return kSuccess;
}

std::optional<std::string> PhoneService::removeConferenceParticipant(const ParsedRequest& request) {
    auto conference = calls.find(request.number("callID"));
    if (conference == calls.end()) {
        return refuse("call " + std::to_string(request.number("callID")) + " does not exist");
    }
    if (conference->second.state != kConferenced) {
        return refuse(notInState(conference->second, "conferenced"));
    }
    const std::string line = conference->second.line;
    const Party leaving = partyFor(request.text("remoteParticipant"));
    for (auto& [id, call] : calls) {
        if (call.line == line && call.state == kConferenced &&
            call.remote.number == leaving.number) {
            events.publish(Event("RemoteEndpointDetailsChangedEvent")
                               .field("LineID", line)
                               .field("CallID", id)
                               .field("URI", call.remote.uri)
                               .field("Name", call.remote.name)
                               .field("FullPAI", call.remote.fullPai())
                               .flag("exitConf", true)
                               .flag("jointCall", false)
                               .str());
            const int leavingId = id;
            clear(leavingId, kCauseNormalClearing);
            publishConference(line, request.number("callID"));
            return kSuccess;
        }
    }
    return refuse(leaving.number + " is not in the conference of call " +
                  std::to_string(request.number("callID")));
}

std::optional<std::string> PhoneService::generateDigits(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("activeCall"));
    const std::string& digits = request.text("digits");
    const bool dialable =
        !digits.empty() && digits.find_first_not_of("0123456789*#ABCD") == std::string::npos;
    if (call == nullptr)
        return refuse(missingCall(request.text("Line"), request.number("activeCall")));
    if (!isActive(call->state)) return refuse(notInState(*call, "active"));
    if (!dialable) return refuse("'" + digits + "' are not dialable digits (0-9 * # A-D)");
    return kSuccess;
}

std::optional<std::string> PhoneService::directedPickup(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    const std::string extension = partyFor(request.text("CallToBePickedUp")).number;
    auto offer = std::find_if(pickupOffers.begin(), pickupOffers.end(),
                              [&](const auto& entry) { return entry.second.line == extension; });
    if (!knownLine(line) || offer == pickupOffers.end()) {
        publishFeatureFailure(line, request.number("CallID"), kFeaturePickup, kFailureNoCall);
        return refuse(!knownLine(line) ? lineProblem(line)
                                       : "no call rings at extension " + extension +
                                             " (send the colleagueCall control command first)");
    }
    Call picked = offer->second;
    pickupOffers.erase(offer);
    picked.line = line;
    picked.state = kConnected;
    calls[picked.id] = picked;
    publishCallState(picked, kCausePickup);
    publishFeature(line, picked.id, kFeaturePickup);
    return kSuccess;
}

std::optional<std::string> PhoneService::groupPickup(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    if (!knownLine(line) || pickupOffers.empty()) {
        publishFeatureFailure(line, request.number("CallID"), kFeaturePickup, kFailureNoCall);
        return refuse(!knownLine(line) ? lineProblem(line)
                                       : "no call rings at a colleague's phone (send the "
                                         "colleagueCall control command first)");
    }
    auto offer = pickupOffers.find(request.number("CallID"));
    if (offer == pickupOffers.end()) offer = pickupOffers.begin();
    Call picked = offer->second;
    pickupOffers.erase(offer);
    picked.line = line;
    picked.state = kConnected;
    calls[picked.id] = picked;
    publishCallState(picked, kCausePickup);
    publishFeature(line, picked.id, kFeaturePickup);
    return kSuccess;
}

std::optional<std::string> PhoneService::activateCallback(const ParsedRequest& request,
                                                          CallState needed, int type) {
    const std::string& line = request.text("Line");
    Call* call = findCall(line, request.number("CallID"));
    auto refuseCallback = [&](const char* word, int failure, const std::string& uri,
                              const std::string& why) {
        lastRefusal = why;
        events.publish(Event("callCompletionFailedEvent")
                           .field("LineID", line)
                           .field("URI", uri)
                           .field("CallCompletionFailureType", failure)
                           .str());
        return std::optional<std::string>(word);
    };
    if (call == nullptr) {
        return refuseCallback("sfiFailureCallBackNoCallInfo", 2, "",
                              missingCall(line, request.number("CallID")));
    }
    const Party callee = call->remote;
    if (call->state != needed) {
        return refuseCallback("sfiFailureCallBackInvalidState", 1, callee.uri,
                              notInState(*call, stateName(needed)));
    }
    const bool exists = std::any_of(callbacks.begin(), callbacks.end(), [&](const Callback& c) {
        return c.callee.number == callee.number;
    });
    if (exists) {
        return refuseCallback("sfiFailureCallBackAllreadyExists", 4, callee.uri,
                              "a call-back to " + callee.number + " already exists");
    }
    if (callbacks.size() >= kMaxCallbacks) {
        return refuseCallback("sfiFailureCallBackToMany", 3, callee.uri,
                              "the service holds at most " + std::to_string(kMaxCallbacks) +
                                  " call-backs");
    }
    callbacks.push_back({line, callee, type});
    events.publish(Event("callCompletionEvent")
                       .field("LineID", line)
                       .field("URI", callee.uri)
                       .field("CallCompletionType", type)
                       .field("CallCompletionState", static_cast<long>(kCallbackActivated))
                       .flag("DisplayOutcomeCallUI", true)
                       .str());
    clear(call->id, kCauseNormalClearing);
    return kSuccess;
}

std::optional<std::string> PhoneService::callbackRinging(const ParsedRequest& request) {
    return activateCallback(request, kRingback, kCallbackNoReply);
}

std::optional<std::string> PhoneService::callbackBusy(const ParsedRequest& request) {
    return activateCallback(request, kBusy, kCallbackBusy);
}

std::optional<std::string> PhoneService::cancelCallbacks(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    const bool all = request.number("CancelCallBackType") == 0;
    const std::string number = partyFor(request.text("URI")).number;
    const bool display = request.flag("DisplayOutcomeCallUI");
    bool cancelled = false;
    for (auto callback = callbacks.begin(); callback != callbacks.end();) {
        if (callback->line != line || (!all && callback->callee.number != number)) {
            ++callback;
            continue;
        }
        events.publish(Event("callCompletionEvent")
                           .field("LineID", line)
                           .field("URI", callback->callee.uri)
                           .field("CallCompletionType", callback->type)
                           .field("CallCompletionState", static_cast<long>(kCallbackCancelled))
                           .flag("DisplayOutcomeCallUI", display)
                           .str());
        callback = callbacks.erase(callback);
        cancelled = true;
    }
    if (!cancelled) return refuse("no call-back on line " + line + " to cancel");
    return kSuccess;
}

std::optional<std::string> PhoneService::setMute(const ParsedRequest& request) {
    microphoneMuted = request.flag("Status");
    return kSuccess;
}

std::optional<std::string> PhoneService::getMute(const ParsedRequest&) {
    return microphoneMuted ? "true" : "false";
}

std::optional<std::string> PhoneService::setDoNotDisturb(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    if (!knownLine(line)) return refuse(lineProblem(line));
    lines[line].doNotDisturb = request.flag("doNotDisturbOn");
    events.publish(Event("DoNotDisturbEvent")
                       .field("deviceId", line)
                       .flag("doNotDisturbOn", lines[line].doNotDisturb)
                       .str());
    return kSuccess;
}

std::optional<std::string> PhoneService::getDoNotDisturb(const ParsedRequest& request) {
    const std::string& device = request.text("deviceID");
    if (!knownLine(device)) return refuse(lineProblem(device));
    return lines[device].doNotDisturb ? "true" : "false";
}

std::optional<std::string> PhoneService::setForwarding(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    const bool status = request.flag("status");
    const std::string& uri = request.text("uri");
    const int ringCount = request.number("cfnrRingCount");
    std::string problem;
    if (!knownLine(line)) {
        problem = lineProblem(line);
    } else if (forwarding[line].count(request.number("fwType")) == 0) {
        problem = "forwarding type " + std::to_string(request.number("fwType")) +
                  " does not exist (0 unconditional, 1 busy, 2 no reply)";
    } else if (status && uri.empty()) {
        problem = "forwarding switched on without a destination";
    } else if (ringCount < 0) {
        problem = "the ring count " + std::to_string(ringCount) + " is negative";
    }
    if (!problem.empty()) {
        publishFeatureFailure(line, 0, kFeatureForwarding, kFailureInvalidState);
        return refuse(problem);
    }
    auto type = forwarding[line].find(request.number("fwType"));
    type->second = {status, uri, ringCount};
    publishFeature(line, 0, kFeatureForwarding);
    return kSuccess;
}

std::optional<std::string> PhoneService::getForwarding(const ParsedRequest& request) {
    // The query names no line; it answers for the phone's first line.
    const std::string line = settings.lines.empty() ? std::string() : settings.lines.front();
    auto type = forwarding[line].find(request.number("fwType"));
    if (type == forwarding[line].end()) {
        refuse("forwarding type " + std::to_string(request.number("fwType")) +
               " does not exist (0 unconditional, 1 busy, 2 no reply)");
        return "<sfiResult>sfiFailure</sfiResult>";
    }
    return Event()
        .field("sfiResult", kSuccess)
        .flag("status", type->second.status)
        .field("uri", type->second.uri)
        .field("cfnrRingCount", type->second.ringCount)
        .str();
}

std::optional<std::string> PhoneService::setAssociatedCalls(const ParsedRequest& request) {
    associatedCalls = request.flag("associated");
    return kSuccess;
}

std::optional<std::string> PhoneService::setLampMode(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    const std::string& lamp = request.text("lampId");
    const int mode = request.number("lampMode");
    // Lamp modes: 0 off, 1 on, 2 flashing, 3 winking, 4 flickering.
    if (!knownLine(line)) return refuse(lineProblem(line));
    if (lamp.empty()) return refuse("the request names no lamp");
    if (mode < 0 || mode > 4) return refuse("lamp mode " + std::to_string(mode) + " is not 0 to 4");
    lampModes[line + "/" + lamp] = mode;
    return kSuccess;
}

std::optional<std::string> PhoneService::securityReinvite(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("CallID"));
    if (call == nullptr) return refuse(missingCall(request.text("Line"), request.number("CallID")));
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
    events.publish(Event("securityStatusChanged")
                       .field("lineURI", call->line)
                       .field("callId", call->id)
                       .field("securityStatus", 2L)
                       .field("CallIDsRecorded", desktop::serializeList(recordedIds))
                       .field("CallLineURIsRecorded", desktop::serializeList(recordedLines))
                       .str());
    return kSuccess;
}

std::optional<std::string> PhoneService::setInServiceInitiated(const ParsedRequest& request) {
    inServiceInitiated[request.text("Line")] = request.flag("IsInServiceInitiatedState");
    return std::nullopt;
}

std::optional<std::string> PhoneService::systemStatus(const ParsedRequest& request) {
    const std::string& status = request.text("SystemStatus");
    if (status.empty()) return refuse("the request names no system status");
    systemState = status;
    events.publish(Event("systemStatusEvent")
                       .field("status", status)
                       .field("statusInfo", request.text("SystemStatusInfo"))
                       .str());
    return kSuccess;
}

std::optional<std::string> PhoneService::setServiceState(const ParsedRequest& request) {
    serviceState = request.text("state");
    return kSuccess;
}

std::optional<std::string> PhoneService::getServiceState(const ParsedRequest&) {
    return serviceState;
}

std::optional<std::string> PhoneService::getMessageWaiting(const ParsedRequest&) {
    const MessageWaiting& mwi = messageWaiting;
    return Event()
        .field("func_return_val", kSuccess)
        .field("Type", 1L)
        .field("newMsgs", static_cast<long>(mwi.newMessages))
        .field("oldMsgs", static_cast<long>(mwi.oldMessages))
        .field("newUrgMsgs", static_cast<long>(mwi.newUrgent))
        .field("oldUrgMsgs", static_cast<long>(mwi.oldUrgent))
        .field("return_type", 0L)
        .field("available_info", 1L)
        .flag("messages_waiting", mwi.newMessages + mwi.newUrgent > 0)
        .field("voiceMailNumber", kVoiceMailNumber)
        .str();
}

std::optional<std::string> PhoneService::getDevices(const ParsedRequest&) {
    std::string list;
    for (const std::string& device : devices)
        list += "<" + device + ">";
    return list;
}

std::optional<std::string> PhoneService::isCallHoldPossible(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    const bool possible = std::any_of(calls.begin(), calls.end(), [&](const auto& entry) {
        return entry.second.line == line && entry.second.state == kConnected;
    });
    return possible ? "true" : "false";
}

std::optional<std::string> PhoneService::getManualHold(const ParsedRequest& request) {
    Call* call = findCall(request.text("Line"), request.number("CallID"));
    return call != nullptr && call->state == kHeld && call->manualHold ? "true" : "false";
}

// Answers a CSTA document with the response named after its root element, or with a
// CSTA error when the document has none.
std::optional<std::string> PhoneService::cstaRequest(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
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
    events.publish(Event("b2buaCSTAResponse")
                       .field("lineURI", line)
                       .flag("success", !root.empty())
                       .raw(response)
                       .str());
    return kSuccess;
}

std::optional<std::string> PhoneService::serverFeatures(const ParsedRequest& request) {
    const std::string& line = request.text("Line");
    if (!knownLine(line)) return refuse(lineProblem(line));
    events.publish(Event("serverFeatureStatusEvent")
                       .field("lineURI", line)
                       .field("status", request.flag("initialize") ? "initialized" : "finalized")
                       .str());
    return kSuccess;
}

std::optional<std::string> PhoneService::callbackFeatureCallId(const ParsedRequest& request) {
    featureCallIds[request.text("CallID")] = request.number("instanceId");
    return kSuccess;
}

std::optional<std::string> PhoneService::setAgentState(const ParsedRequest& request) {
    static const std::vector<std::string> states = {"loggedOn", "loggedOff", "ready", "notReady",
                                                    "workingAfterCall"};
    const std::string& line = request.text("Line");
    const std::string& state = request.text("agentState");
    if (!knownLine(line)) return refuse(lineProblem(line));
    if (std::find(states.begin(), states.end(), state) == states.end()) {
        return refuse("'" + state + "' is not an agent state (" + joinFrom(states, 0) + ")");
    }
    lines[line].agentState = state;
    events.publish(
        Event("AgentStateEvent").field("deviceId", line).field("agentState", state).str());
    return kSuccess;
}

std::optional<std::string> PhoneService::signalling(const ParsedRequest&) { return kSuccess; }

// --- control commands --------------------------------------------------------------

const char* PhoneService::controlHelp() {
    return "incomingCall LINE NUMBER [NAME]    a call arrives and rings until handled\n"
           "missedCall LINE NUMBER [NAME]      a call arrives and the caller gives up\n"
           "hangup CALLID                      the far end clears the call\n"
           "answer CALLID                      the far end of a ringing outgoing call answers\n"
           "colleagueCall EXTENSION NUMBER [NAME]  a call rings at a colleague's phone (pickup)\n"
           "voicemail LINE NEW OLD [NEWURGENT OLDURGENT]  the mailbox changed\n"
           "registrationLost LINE [CODE]       the line loses its registration\n"
           "register LINE                      the line registers again\n"
           "preempt LINE CALLID [PRIORITY]     a call of higher precedence pre-empts the call\n"
           "impactLevel LINE CALLID CALL LOCAL the impact levels of a call change\n"
           "recording LINE CALLID on|off       call recording starts or stops\n"
           "bluetooth LINE CALLID AUDIO GATEWAY INBAND  Bluetooth audio status (0/1 each)\n"
           "cstaEvent LINE DOCUMENT            the CSTA peer sends an event or request\n"
           "systemStatus STATUS [INFO]         the system status changes\n"
           "addDevice NAME | removeDevice NAME the device list changes\n"
           "calleeFree NUMBER                  a call-back's callee is free again\n"
           "show                               what the service holds now (lines, calls,\n"
           "                                   forwarding per line and type, ...)\n";
}

std::string PhoneService::control(const std::vector<std::string>& words) {
    if (words.empty()) return "error: empty control command";
    const std::string& command = words.front();
    if (command == "incomingCall") return incomingCall(words, false);
    if (command == "missedCall") return incomingCall(words, true);
    if (command == "hangup") return farEndHangUp(words);
    if (command == "answer") return farEndAnswer(words);
    if (command == "colleagueCall") return colleagueCall(words);
    if (command == "voicemail") return voicemail(words);
    if (command == "registrationLost") return registration(words, false);
    if (command == "register") return registration(words, true);
    if (command == "preempt") return preempt(words);
    if (command == "impactLevel") return impactLevel(words);
    if (command == "recording") return recording(words);
    if (command == "bluetooth") return bluetooth(words);
    if (command == "cstaEvent") return cstaEvent(words);
    if (command == "systemStatus") return systemStatusChange(words);
    if (command == "addDevice") return changeDevices(words, true);
    if (command == "removeDevice") return changeDevices(words, false);
    if (command == "calleeFree") return calleeFree(words);
    if (command == "show" && words.size() == 1) return show();
    return "error: unknown control command '" + command + "' (try help)";
}

std::string PhoneService::incomingCall(const std::vector<std::string>& words, bool missed) {
    if (words.size() < 3) {
        return usage(missed ? "missedCall LINE NUMBER [NAME]" : "incomingCall LINE NUMBER [NAME]");
    }
    const std::string& line = words[1];
    if (!knownLine(line)) return "error: no line " + line;
    if (!lines[line].registered) return "error: line " + line + " is not registered";
    Party caller = partyFor(words[2]);
    if (words.size() > 3) caller.name = truncated(joinFrom(words, 3));
    const int id = allocateCallId(0);
    Call& call = calls[id];
    call.id = id;
    call.line = line;
    call.remote = caller;
    call.incoming = true;
    ringIncoming(call, missed);
    return "ok call " + std::to_string(id);
}

std::string PhoneService::farEndHangUp(const std::vector<std::string>& words) {
    const std::optional<int> id = words.size() == 2 ? toInt(words[1]) : std::nullopt;
    if (!id) return usage("hangup CALLID");
    auto found = calls.find(*id);
    if (found == calls.end()) return "error: no call " + words[1];
    if (found->second.state == kRinging) {
        publishMissed(found->second, kCauseNotAnswered);
        clear(*id, kCauseNotAnswered);
    } else {
        clear(*id, kCauseNormalClearing);
    }
    return "ok";
}

std::string PhoneService::farEndAnswer(const std::vector<std::string>& words) {
    const std::optional<int> id = words.size() == 2 ? toInt(words[1]) : std::nullopt;
    if (!id) return usage("answer CALLID");
    auto found = calls.find(*id);
    if (found == calls.end() || found->second.state != kRingback) {
        return "error: call " + words[1] + " is not ringing at a far end";
    }
    farEndAnswers(*id);
    return "ok";
}

std::string PhoneService::colleagueCall(const std::vector<std::string>& words) {
    if (words.size() < 3) return usage("colleagueCall EXTENSION NUMBER [NAME]");
    if (settings.lines.empty()) return "error: the phone has no line";
    Call offer;
    offer.id = allocateCallId(0);
    offer.line = partyFor(words[1]).number;
    offer.remote = partyFor(words[2]);
    if (words.size() > 3) offer.remote.name = truncated(joinFrom(words, 3));
    offer.incoming = true;
    pickupOffers[offer.id] = offer;
    events.publish(Event("IncomingPickupCallEvent")
                       .field("LineID", settings.lines.front())
                       .field("CallID", offer.id)
                       .field("URI", offer.remote.uri)
                       .field("Name", offer.remote.name)
                       .field("FullPAI", offer.remote.fullPai())
                       .str());
    return "ok call " + std::to_string(offer.id);
}

void PhoneService::publishMessageWaiting() {
    const MessageWaiting& mwi = messageWaiting;
    events.publish(Event("messageWaitingEvent")
                       .field("LineID", mwi.line)
                       .field("type", 1L)
                       .field("new_messages", static_cast<long>(mwi.newMessages))
                       .field("old_messages", static_cast<long>(mwi.oldMessages))
                       .field("new_urgent_messages", static_cast<long>(mwi.newUrgent))
                       .field("old_urgent_messages", static_cast<long>(mwi.oldUrgent))
                       .field("return_type", 0L)
                       .field("avail_info", 1L)
                       .flag("messages_waiting", mwi.newMessages + mwi.newUrgent > 0)
                       .field("voiceMailNumber", kVoiceMailNumber)
                       .str());
}

std::string PhoneService::voicemail(const std::vector<std::string>& words) {
    constexpr const char* kUsage = "voicemail LINE NEW OLD [NEWURGENT OLDURGENT]";
    if (words.size() != 4 && words.size() != 6) return usage(kUsage);
    if (!knownLine(words[1])) return "error: no line " + words[1];
    std::vector<unsigned> counts;
    for (std::size_t i = 2; i < words.size(); ++i) {
        const std::optional<int> count = toInt(words[i]);
        if (!count || *count < 0) return "error: '" + words[i] + "' is not a message count";
        counts.push_back(static_cast<unsigned>(*count));
    }
    counts.resize(4, 0);
    messageWaiting = {words[1], counts[0], counts[1], counts[2], counts[3]};
    publishMessageWaiting();
    return "ok";
}

std::string PhoneService::registration(const std::vector<std::string>& words, bool registered) {
    const std::optional<int> code =
        words.size() == 3 ? toInt(words[2]) : std::optional<int>(registered ? 200 : 503);
    if (words.size() < 2 || words.size() > 3 || !code) {
        return usage(registered ? "register LINE" : "registrationLost LINE [CODE]");
    }
    if (!knownLine(words[1])) return "error: no line " + words[1];
    lines[words[1]].registered = registered;
    events.publish(Event("RegistrationStateChangeEvent")
                       .field("LineID", words[1])
                       .field("CallID", 0L)
                       .flag("Registered", registered)
                       .field("RegistrationResult", *code)
                       .str());
    return "ok";
}

std::string PhoneService::preempt(const std::vector<std::string>& words) {
    const std::optional<int> id = words.size() >= 3 ? toInt(words[2]) : std::nullopt;
    const std::optional<int> priority = words.size() == 4 ? toInt(words[3]) : std::optional<int>(4);
    if (words.size() < 3 || words.size() > 4 || !id || !priority) {
        return usage("preempt LINE CALLID [PRIORITY]");
    }
    Call* call = findCall(words[1], *id);
    if (call == nullptr) return "error: no call " + words[2] + " on line " + words[1];
    const std::string reason = "pre-empted by a call of higher precedence";
    events.publish(Event("preemptionStatusChanged")
                       .field("lineURI", call->line)
                       .field("callId", call->id)
                       .field("priority", *priority)
                       .field("cause", 1L)
                       .field("reason", reason)
                       .str());
    Call cleared = *call;
    calls.erase(*id);
    cleared.state = kIdle;
    cleared.priority = *priority;
    publishCallState(cleared, kCauseNormalClearing, reason);
    return "ok";
}

std::string PhoneService::impactLevel(const std::vector<std::string>& words) {
    if (words.size() != 5 || !toInt(words[2]) || !toInt(words[3]) || !toInt(words[4])) {
        return usage("impactLevel LINE CALLID CALLLEVEL LOCALLEVEL");
    }
    if (findCall(words[1], *toInt(words[2])) == nullptr) {
        return "error: no call " + words[2] + " on line " + words[1];
    }
    events.publish(Event("impactLevelChanged")
                       .field("lineURI", words[1])
                       .field("callId", *toInt(words[2]))
                       .field("ILCallLevel", *toInt(words[3]))
                       .field("ILLocalLevel", *toInt(words[4]))
                       .str());
    return "ok";
}

std::string PhoneService::recording(const std::vector<std::string>& words) {
    const std::optional<bool> on = words.size() == 4 ? toFlag(words[3]) : std::nullopt;
    if (!on || !toInt(words[2])) return usage("recording LINE CALLID on|off");
    Call* call = findCall(words[1], *toInt(words[2]));
    if (call == nullptr) return "error: no call " + words[2] + " on line " + words[1];
    call->recorded = *on;
    events.publish(Event("callRecordingStatusEvent")
                       .field("LineID", call->line)
                       .field("callId", call->id)
                       .field("callRecorded", *on ? "true" : "false")
                       .str());
    return "ok";
}

std::string PhoneService::bluetooth(const std::vector<std::string>& words) {
    constexpr const char* kUsage = "bluetooth LINE CALLID AUDIO GATEWAY INBAND";
    if (words.size() != 6 || !toInt(words[2])) return usage(kUsage);
    std::vector<bool> flags;
    for (std::size_t i = 3; i < 6; ++i) {
        const std::optional<bool> flag = toFlag(words[i]);
        if (!flag) return usage(kUsage);
        flags.push_back(*flag);
    }
    if (!knownLine(words[1])) return "error: no line " + words[1];
    events.publish(Event("bluetoothAudioStatusChanged")
                       .field("LineID", words[1])
                       .field("CallID", *toInt(words[2]))
                       .flag("AudioEnabled", flags[0])
                       .flag("AudioGateway", flags[1])
                       .flag("InBandRinging", flags[2])
                       .str());
    return "ok";
}

std::string PhoneService::cstaEvent(const std::vector<std::string>& words) {
    if (words.size() < 3) return usage("cstaEvent LINE DOCUMENT");
    if (!knownLine(words[1])) return "error: no line " + words[1];
    events.publish(
        Event("b2buaCSTAEventOrRequest").field("lineURI", words[1]).raw(joinFrom(words, 2)).str());
    return "ok";
}

std::string PhoneService::systemStatusChange(const std::vector<std::string>& words) {
    if (words.size() < 2) return usage("systemStatus STATUS [INFO]");
    systemState = words[1];
    events.publish(Event("systemStatusEvent")
                       .field("status", words[1])
                       .field("statusInfo", joinFrom(words, 2))
                       .str());
    return "ok";
}

std::string PhoneService::changeDevices(const std::vector<std::string>& words, bool add) {
    if (words.size() != 2) return usage(add ? "addDevice NAME" : "removeDevice NAME");
    auto found = std::find(devices.begin(), devices.end(), words[1]);
    if (add == (found != devices.end())) {
        return "error: device " + words[1] + (add ? " is already listed" : " is not listed");
    }
    if (add) {
        devices.push_back(words[1]);
    } else {
        devices.erase(found);
    }
    events.publish(Event("DevicesChangedEvent").str());
    return "ok";
}

std::string PhoneService::calleeFree(const std::vector<std::string>& words) {
    if (words.size() != 2) return usage("calleeFree NUMBER");
    const std::string number = partyFor(words[1]).number;
    auto callback = std::find_if(callbacks.begin(), callbacks.end(),
                                 [&](const Callback& c) { return c.callee.number == number; });
    if (callback == callbacks.end()) return "error: no call-back to " + words[1];
    events.publish(Event("callCompletionEvent")
                       .field("LineID", callback->line)
                       .field("URI", callback->callee.uri)
                       .field("CallCompletionType", callback->type)
                       .field("CallCompletionState", static_cast<long>(kCallbackRecall))
                       .flag("DisplayOutcomeCallUI", true)
                       .str());
    callbacks.erase(callback);
    return "ok";
}

} // namespace simulator

namespace simulator {

std::string PhoneService::show() {
    std::string text = "ok service state " + serviceState + ", system " + systemState +
                       ", microphone " + (microphoneMuted ? "muted" : "open") +
                       ", associated calls " + (associatedCalls ? "on" : "off");
    for (const auto& [line, state] : lines) {
        text += "\nline " + line + (state.registered ? " registered" : " unregistered") +
                (state.doNotDisturb ? ", do not disturb" : "") + ", agent " + state.agentState +
                (inServiceInitiated[line] ? ", in service initiated" : "");
    }
    for (const auto& [id, call] : calls) {
        text += "\ncall " + std::to_string(id) + " on " + call.line + " with " +
                call.remote.number + " in state " + std::to_string(call.state);
    }
    for (const auto& [id, offer] : pickupOffers) {
        text += "\npickup " + std::to_string(id) + " ringing at " + offer.line;
    }
    for (const auto& [line, types] : forwarding) {
        for (const auto& [type, entry] : types) {
            if (!entry.status) continue;
            text += "\nforwarding on " + line + " type " + std::to_string(type) + " to " +
                    entry.uri + ", ring count " + std::to_string(entry.ringCount);
        }
    }
    for (const Callback& callback : callbacks) {
        text += "\ncall-back on " + callback.line + " to " + callback.callee.number;
    }
    for (const auto& [lamp, mode] : lampModes) {
        text += "\nlamp " + lamp + " mode " + std::to_string(mode);
    }
    for (const auto& [callId, instance] : featureCallIds) {
        text += "\nfeature call " + callId + " instance " + std::to_string(instance);
    }
    return text;
}

} // namespace simulator
