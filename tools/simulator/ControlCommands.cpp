// Control commands: what happens on the far side, at a colleague's phone or in the
// network, and a view of what the service holds.

#include <algorithm>

#include "ControlCommandNames.h"
#include "EmittedEvent.h"
#include "Messages.h"
#include "NearestName.h"
#include "PhoneService.h"
#include "PhoneServiceParts.h"

namespace simulator {

using namespace parts;

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
           "emit EVENT [name=value...]         the service sends the event, whole: named as its\n"
           "                                   callback (incomingCall), arguments by name\n"
           "requests [FROM]                    the requests received, numbered from 0, from FROM\n"
           "                                   on, newest last: method and fields\n"
           "reset                              back to the start: every call hung up (with its\n"
           "                                   events), lines unregistered, settings cleared,\n"
           "                                   call identifiers from 1\n"
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
    if (command == "emit") return emit(words);
    if (command == "requests") return listRequests(words);
    if (command == "reset" && words.size() == 1) {
        reset();
        return "ok";
    }
    return "error: unknown control command '" + command + "'" +
           kit::didYouMean(command, controlCommandNames()) + " (try help)";
}

std::string PhoneService::emit(const std::vector<std::string>& words) {
    const EmittedEvent event = emittedEvent({words.begin() + 1, words.end()});
    if (!event.error.empty()) return "error: emit: " + event.error;
    events.publish(event.text);
    return "ok";
}

std::string PhoneService::listRequests(const std::vector<std::string>& words) {
    const std::optional<int> from = words.size() == 1   ? 0
                                    : words.size() == 2 ? toInt(words[1])
                                                        : std::nullopt;
    if (!from || *from < 0) return usage("requests [FROM]");
    std::string list = "ok";
    for (std::size_t index = static_cast<std::size_t>(*from); index < received.size(); ++index)
        list += "\n" + std::to_string(index) + " " + received[index];
    return list;
}

PhoneService::Call* PhoneService::commandCall(const std::vector<std::string>& words) {
    const std::optional<int> id = toInt(words[2]);
    return id ? findCall(words[1], *id) : nullptr;
}

std::string PhoneService::noCallError(const std::vector<std::string>& words) {
    return "error: no call " + words[2] + " on line " + words[1];
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
    hangUp(found->second);
    return "ok";
}

void PhoneService::hangUp(const Call& call) {
    if (call.state == CallState::ringing) {
        publishMissed(call, Cause::callNotAnswered);
        clear(call.id, Cause::callNotAnswered);
    } else {
        clear(call.id, Cause::normalClearing);
    }
}

std::string PhoneService::farEndAnswer(const std::vector<std::string>& words) {
    const std::optional<int> id = words.size() == 2 ? toInt(words[1]) : std::nullopt;
    if (!id) return usage("answer CALLID");
    auto found = calls.find(*id);
    if (found == calls.end() || found->second.state != CallState::ringingBack) {
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
    events.publish(writeEvent(protocol::events::incomingPickupCall, settings.lines.front(),
                              offer.id, offer.remote.uri, offer.remote.name,
                              offer.remote.fullPai()));
    return "ok call " + std::to_string(offer.id);
}

void PhoneService::publishMessageWaiting() {
    const MessageWaiting& mwi = messageWaiting;
    events.publish(writeEvent(protocol::events::messageWaiting, mwi.line, 1, mwi.newMessages,
                              mwi.oldMessages, mwi.newUrgent, mwi.oldUrgent, 0, 1,
                              mwi.newMessages + mwi.newUrgent > 0, kVoiceMailNumber));
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
    events.publish(
        writeEvent(protocol::events::registrationStateChange, words[1], 0, registered, *code));
    return "ok";
}

std::string PhoneService::preempt(const std::vector<std::string>& words) {
    const std::optional<int> id = words.size() >= 3 ? toInt(words[2]) : std::nullopt;
    const std::optional<int> priority = words.size() == 4 ? toInt(words[3]) : std::optional<int>(4);
    if (words.size() < 3 || words.size() > 4 || !id || !priority) {
        return usage("preempt LINE CALLID [PRIORITY]");
    }
    Call* call = commandCall(words);
    if (call == nullptr) return noCallError(words);
    const std::string reason = "pre-empted by a call of higher precedence";
    events.publish(writeEvent(protocol::events::preemptionStatusChanged, call->line, call->id,
                              *priority, 1, reason));
    Call cleared = *call;
    calls.erase(*id);
    cleared.state = CallState::idle;
    cleared.priority = *priority;
    publishCallState(cleared, Cause::normalClearing, reason);
    return "ok";
}

std::string PhoneService::impactLevel(const std::vector<std::string>& words) {
    if (words.size() != 5 || !toInt(words[2]) || !toInt(words[3]) || !toInt(words[4])) {
        return usage("impactLevel LINE CALLID CALLLEVEL LOCALLEVEL");
    }
    if (commandCall(words) == nullptr) return noCallError(words);
    events.publish(writeEvent(protocol::events::impactLevelChanged, words[1], *toInt(words[2]),
                              *toInt(words[3]), *toInt(words[4])));
    return "ok";
}

std::string PhoneService::recording(const std::vector<std::string>& words) {
    const std::optional<bool> on = words.size() == 4 ? toFlag(words[3]) : std::nullopt;
    if (!on || !toInt(words[2])) return usage("recording LINE CALLID on|off");
    Call* call = commandCall(words);
    if (call == nullptr) return noCallError(words);
    call->recorded = *on;
    events.publish(writeEvent(protocol::events::callRecordingStatus, call->line, call->id,
                              *on ? "true" : "false"));
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
    events.publish(writeEvent(protocol::events::bluetoothAudioStatusChanged, words[1],
                              *toInt(words[2]), bool(flags[0]), bool(flags[1]), bool(flags[2])));
    return "ok";
}

std::string PhoneService::cstaEvent(const std::vector<std::string>& words) {
    if (words.size() < 3) return usage("cstaEvent LINE DOCUMENT");
    if (!knownLine(words[1])) return "error: no line " + words[1];
    events.publish(
        writeEvent(protocol::events::b2buaCSTAEventOrRequest, words[1], joinFrom(words, 2)));
    return "ok";
}

std::string PhoneService::systemStatusChange(const std::vector<std::string>& words) {
    if (words.size() < 2) return usage("systemStatus STATUS [INFO]");
    systemState = words[1];
    events.publish(writeEvent(protocol::events::systemStatus, words[1], joinFrom(words, 2)));
    return "ok";
}

std::string PhoneService::changeDevices(const std::vector<std::string>& words, bool add) {
    if (words.size() != 2) return usage(add ? "addDevice NAME" : "removeDevice NAME");
    auto found = std::find(devices.begin(), devices.end(), words[1]);
    if (add == (found != devices.end())) {
        return "error: device " + words[1] + (add ? " is already listed" : " is not listed");
    }
    if (add) {
        if (auto full = tableProblem("the device", devices.size(), false, words[1]))
            return "error: " + *full;
        devices.push_back(words[1]);
    } else {
        devices.erase(found);
    }
    events.publish(writeEvent(protocol::events::devicesChanged));
    return "ok";
}

std::string PhoneService::calleeFree(const std::vector<std::string>& words) {
    if (words.size() != 2) return usage("calleeFree NUMBER");
    const std::string number = partyFor(words[1]).number;
    auto callback = std::find_if(callbacks.begin(), callbacks.end(),
                                 [&](const Callback& c) { return c.callee.number == number; });
    if (callback == callbacks.end()) return "error: no call-back to " + words[1];
    events.publish(writeEvent(protocol::events::callCompletion, callback->line,
                              callback->callee.uri, callback->type, kCallbackRecall, true));
    callbacks.erase(callback);
    return "ok";
}

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
                call.remote.number + " " +
                std::string(desktop::simulator::callStateName(call.state));
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
        text += "\nlamp " + lamp + " " + std::string(desktop::simulator::lampModeName(mode));
    }
    for (const auto& [callId, instance] : featureCallIds) {
        text += "\nfeature call " + callId + " instance " + std::to_string(instance);
    }
    return text;
}

} // namespace simulator
