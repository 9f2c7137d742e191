// Control commands: what happens on the far side, at a colleague's phone or in the
// network, and a view of what the service holds.

#include "ControlCommands.h"

#include <algorithm>

#include "ControlWords.h"
#include "EmittedEvent.h"
#include "Messages.h"
#include "NearestName.h"
#include "PhoneService.h"
#include "PhoneServiceParts.h"

namespace simulator {

using namespace parts;

namespace {

constexpr ArgumentKind word = ArgumentKind::word;
constexpr ArgumentKind integer = ArgumentKind::number;
constexpr ArgumentKind count = ArgumentKind::count;
constexpr ArgumentKind flag = ArgumentKind::flag;
constexpr ArgumentKind rest = ArgumentKind::rest;
constexpr bool optional = true;

bool fits(ArgumentKind kind, const std::string& word) {
    switch (kind) {
    case ArgumentKind::number:
        return toInt(word).has_value();
    case ArgumentKind::count:
        return toInt(word).value_or(-1) >= 0;
    case ArgumentKind::flag:
        return toFlag(word).has_value();
    default:
        return true;
    }
}

using T = ControlTarget&;
using W = const Words&;
constexpr ControlArgument kLine{"LINE", word}, kCallId{"CALLID", integer};
constexpr ControlArgument kNumber{"NUMBER", word}, kCallerName{"NAME", rest, optional};

} // namespace

const char* kindText(ArgumentKind kind) {
    constexpr const char* kTexts[] = {"a word", "a whole number", "a whole number from 0",
                                      "on or off", "words"};
    return kTexts[static_cast<int>(kind)];
}

// A friend of the service: the commands' actions reach into it. Laid out by hand, a row or
// two per command.
const std::vector<ControlCommand>& controlCommands() {
    // clang-format off
    static const std::vector<ControlCommand> commands = {
        {"incomingCall", {kLine, kNumber, kCallerName}, "a call arrives and rings until handled",
         [](T t, W w) { return t.service.incomingCall(w, false); }},
        {"missedCall", {kLine, kNumber, kCallerName}, "a call arrives and the caller gives up",
         [](T t, W w) { return t.service.incomingCall(w, true); }},
        {"hangup", {kCallId}, "the far end clears the call",
         [](T t, W w) { return t.service.farEndHangUp(w); }},
        {"answer", {kCallId}, "the far end of a ringing outgoing call answers",
         [](T t, W w) { return t.service.farEndAnswer(w); }},
        {"colleagueCall", {{"EXTENSION", word}, kNumber, kCallerName},
         "a call rings at a colleague's phone (pickup)",
         [](T t, W w) { return t.service.colleagueCall(w); }},
        {"voicemail", {kLine, {"NEW", count}, {"OLD", count}, {"NEWURGENT", count, optional},
                       {"OLDURGENT", count, optional}}, "the mailbox changed",
         [](T t, W w) { return t.service.voicemail(w); }},
        {"registrationLost", {kLine, {"CODE", integer, optional}},
         "the line loses its registration (503 unless CODE)",
         [](T t, W w) { return t.service.registration(w, false); }},
        {"register", {kLine}, "the line registers again",
         [](T t, W w) { return t.service.registration(w, true); }},
        {"preempt", {kLine, kCallId, {"PRIORITY", integer, optional}},
         "a call of higher precedence pre-empts the call",
         [](T t, W w) { return t.service.preempt(w); }},
        {"impactLevel", {kLine, kCallId, {"CALLLEVEL", integer}, {"LOCALLEVEL", integer}},
         "the impact levels of a call change", [](T t, W w) { return t.service.impactLevel(w); }},
        {"recording", {kLine, kCallId, {"on|off", flag}}, "call recording starts or stops",
         [](T t, W w) { return t.service.recording(w); }},
        {"bluetooth", {kLine, kCallId, {"AUDIO", flag}, {"GATEWAY", flag}, {"INBAND", flag}},
         "the Bluetooth audio status changes", [](T t, W w) { return t.service.bluetooth(w); }},
        {"cstaEvent", {kLine, {"DOCUMENT", rest}}, "the CSTA peer sends an event or request",
         [](T t, W w) { return t.service.cstaEvent(w); }},
        {"systemStatus", {{"STATUS", word}, {"INFO", rest, optional}}, "the system status changes",
         [](T t, W w) { return t.service.systemStatusChange(w); }},
        {"addDevice", {{"NAME", word}}, "a device joins the device list",
         [](T t, W w) { return t.service.changeDevices(w, true); }},
        {"removeDevice", {{"NAME", word}}, "a device leaves the device list",
         [](T t, W w) { return t.service.changeDevices(w, false); }},
        {"calleeFree", {kNumber}, "a call-back's callee is free again",
         [](T t, W w) { return t.service.calleeFree(w); }},
        {"emit", {{"EVENT", word}, {"name=value", rest, optional}},
         "the service sends the event, whole: named as its callback (incomingCall), arguments "
         "by name", [](T t, W w) { return t.service.emit(w); }},
        {"requests", {{"FROM", count, optional}},
         "the requests received, numbered from 0, from FROM on, newest last: method and fields",
         [](T t, W w) { return t.service.listRequests(w); }},
        {"reset", {}, "back to the start: every call hung up (with its events), lines "
         "unregistered, settings cleared, call identifiers from 1, no answer steering",
         [](T t, W) {
             if (t.server != nullptr) t.server->clearAnswerSteering();
             t.service.reset();
             return std::string("ok");
         }},
        {"show", {}, "what the service holds now (lines, calls, forwarding per line and type, ...)",
         [](T t, W) { return t.service.show(); }},
        {"clients", {}, "the connected clients",
         [](T t, W) { return t.server != nullptr ? t.server->clientList() : std::string("ok"); }},
        {"delayAnswers", {{"MS", count}}, "hold every later answer to a request back that long",
         [](T t, W w) {
             if (t.server == nullptr) return std::string("error: no server to delay answers");
             t.server->delayAnswers(std::chrono::milliseconds(*toInt(w[1])));
             return std::string("ok");
         }},
        {"lastRequest", {}, "the last request text of this client",
         [](T t, W) { return "ok\n" + t.client->lastRequest(); }, Reach::ownConnection},
        {"nextAnswer", {{"TEXT", rest, optional}},
         "answer this client's next request so, without effect",
         [](T t, W w) {
             t.client->forceNextAnswer(joinFrom(w, 1));
             return std::string("ok");
         }, Reach::ownConnection},
        {"help", {}, "this list", [](T, W) { return "ok\n" + controlHelp(); }},
        {"wait", {{"MS", count}}, "(scripts only) pause that long before the next step", nullptr,
         Reach::script},
    };
    // clang-format on
    return commands;
}

const ControlCommand* findControlCommand(std::string_view name) {
    for (const ControlCommand& command : controlCommands())
        if (command.name == name) return &command;
    return nullptr;
}

std::vector<std::string> controlCommandNames() {
    std::vector<std::string> names;
    for (const ControlCommand& command : controlCommands())
        names.emplace_back(command.name);
    return names;
}

std::string controlUsage(const ControlCommand& command) {
    std::string usage(command.name);
    for (const ControlArgument& argument : command.arguments) {
        std::string shown(argument.name);
        if (argument.kind == ArgumentKind::rest) shown += "...";
        usage += " " + (argument.optional ? "[" + shown + "]" : shown);
    }
    return usage;
}

std::string controlHelp() {
    // Usage in the first column, what the command does in the second, wrapped within 100.
    constexpr std::size_t kColumn = 35, kWidth = 100;
    std::string help;
    for (const ControlCommand& command : controlCommands()) {
        std::string line = controlUsage(command);
        std::string_view rest = command.help;
        while (!rest.empty()) {
            const std::string_view word = rest.substr(0, rest.find(' '));
            rest.remove_prefix(std::min(word.size() + 1, rest.size()));
            if (line.size() < kColumn) line.resize(kColumn, ' ');
            if (line.size() + 1 + word.size() > kWidth) {
                help += line + "\n";
                line.assign(kColumn, ' ');
            }
            line += (line.back() == ' ' ? "" : " ") + std::string(word);
        }
        help += line + "\n";
    }
    return help;
}

namespace {

std::string argumentProblem(const ControlCommand& command, const Words& words) {
    const std::vector<ControlArgument>& arguments = command.arguments;
    const auto required = static_cast<std::size_t>(
        std::count_if(arguments.begin(), arguments.end(),
                      [](const ControlArgument& argument) { return !argument.optional; }));
    const bool open = !arguments.empty() && arguments.back().kind == ArgumentKind::rest;
    const std::size_t given = words.size() - 1;
    if (given < required || (!open && given > arguments.size()))
        return "usage: " + controlUsage(command);
    for (std::size_t i = 0; i < std::min(given, arguments.size()); ++i) {
        if (!fits(arguments[i].kind, words[i + 1])) {
            return std::string(arguments[i].name) + " takes " + kindText(arguments[i].kind) +
                   ", not '" + words[i + 1] + "' (usage: " + controlUsage(command) + ")";
        }
    }
    return {};
}

} // namespace

std::string commandProblem(const Words& words, Place place) {
    if (words.empty()) return "empty control command";
    const ControlCommand* command = findControlCommand(words.front());
    if (command == nullptr) {
        return "unknown control command '" + words.front() + "'" +
               kit::didYouMean(words.front(), controlCommandNames()) + " (try help)";
    }
    if (command->reach == Reach::script && place != Place::script)
        return words.front() + " works only in a script file";
    if (command->reach == Reach::ownConnection && place != Place::connection)
        return words.front() + " works only from a client, on its own connection";
    return argumentProblem(*command, words);
}

std::string runControl(ControlTarget& target, const Words& words) {
    const Place place = target.client != nullptr ? Place::connection : Place::elsewhere;
    if (const std::string problem = commandProblem(words, place); !problem.empty())
        return "error: " + problem;
    return findControlCommand(words.front())->run(target, words);
}

std::string PhoneService::control(const Words& words) {
    ControlTarget target{*this};
    return runControl(target, words);
}

std::string PhoneService::emit(const std::vector<std::string>& words) {
    const EmittedEvent event = emittedEvent({words.begin() + 1, words.end()});
    if (!event.error.empty()) return "error: emit: " + event.error;
    events.publish(event.text);
    return "ok";
}

std::string PhoneService::listRequests(const std::vector<std::string>& words) {
    const int from = words.size() == 2 ? *toInt(words[1]) : 0;
    std::string list = "ok";
    for (std::size_t index = static_cast<std::size_t>(from); index < received.size(); ++index)
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
    auto found = calls.find(*toInt(words[1]));
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
    const int id = *toInt(words[1]);
    auto found = calls.find(id);
    if (found == calls.end() || found->second.state != CallState::ringingBack) {
        return "error: call " + words[1] + " is not ringing at a far end";
    }
    farEndAnswers(id);
    return "ok";
}

std::string PhoneService::colleagueCall(const std::vector<std::string>& words) {
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
    if (!knownLine(words[1])) return "error: no line " + words[1];
    std::vector<unsigned> counts;
    for (std::size_t i = 2; i < words.size(); ++i)
        counts.push_back(static_cast<unsigned>(*toInt(words[i])));
    counts.resize(4, 0);
    messageWaiting = {words[1], counts[0], counts[1], counts[2], counts[3]};
    publishMessageWaiting();
    return "ok";
}

std::string PhoneService::registration(const std::vector<std::string>& words, bool registered) {
    const int code = words.size() == 3 ? *toInt(words[2]) : registered ? 200 : 503;
    if (!knownLine(words[1])) return "error: no line " + words[1];
    lines[words[1]].registered = registered;
    events.publish(
        writeEvent(protocol::events::registrationStateChange, words[1], 0, registered, code));
    return "ok";
}

std::string PhoneService::preempt(const std::vector<std::string>& words) {
    const int priority = words.size() == 4 ? *toInt(words[3]) : 4;
    Call* call = commandCall(words);
    if (call == nullptr) return noCallError(words);
    const std::string reason = "pre-empted by a call of higher precedence";
    events.publish(writeEvent(protocol::events::preemptionStatusChanged, call->line, call->id,
                              priority, 1, reason));
    Call cleared = *call;
    calls.erase(call->id);
    cleared.state = CallState::idle;
    cleared.priority = priority;
    publishCallState(cleared, Cause::normalClearing, reason);
    return "ok";
}

std::string PhoneService::impactLevel(const std::vector<std::string>& words) {
    if (commandCall(words) == nullptr) return noCallError(words);
    events.publish(writeEvent(protocol::events::impactLevelChanged, words[1], *toInt(words[2]),
                              *toInt(words[3]), *toInt(words[4])));
    return "ok";
}

std::string PhoneService::recording(const std::vector<std::string>& words) {
    const bool on = *toFlag(words[3]);
    Call* call = commandCall(words);
    if (call == nullptr) return noCallError(words);
    call->recorded = on;
    events.publish(writeEvent(protocol::events::callRecordingStatus, call->line, call->id,
                              on ? "true" : "false"));
    return "ok";
}

std::string PhoneService::bluetooth(const std::vector<std::string>& words) {
    if (!knownLine(words[1])) return "error: no line " + words[1];
    events.publish(writeEvent(protocol::events::bluetoothAudioStatusChanged, words[1],
                              *toInt(words[2]), *toFlag(words[3]), *toFlag(words[4]),
                              *toFlag(words[5])));
    return "ok";
}

std::string PhoneService::cstaEvent(const std::vector<std::string>& words) {
    if (!knownLine(words[1])) return "error: no line " + words[1];
    events.publish(
        writeEvent(protocol::events::b2buaCSTAEventOrRequest, words[1], joinFrom(words, 2)));
    return "ok";
}

std::string PhoneService::systemStatusChange(const std::vector<std::string>& words) {
    systemState = words[1];
    events.publish(writeEvent(protocol::events::systemStatus, words[1], joinFrom(words, 2)));
    return "ok";
}

std::string PhoneService::changeDevices(const std::vector<std::string>& words, bool add) {
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
