#include "Decoder.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <tuple>

#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/desktop/CallbackRecorder.h"
#include "CommunicationsService/desktop/CannedChannel.h"
#include "CommunicationsService/desktop/MessageText.h"
#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/framework/ProxyRequest.h"
#include "CommunicationsService/protocol/Events.h"
#include "CommunicationsService/protocol/Requests.h"
#include "Record.h"

extern "C" FRAMEWORK_API Invoker* createCommunicationsServiceEventInvoker();
extern "C" FRAMEWORK_API Proxy* createCommunicationsServiceProxy();

namespace decode {

namespace {

namespace protocol = CommunicationsService::protocol;
using desktop::NamedCall;
using desktop::wire::FrameKind;
using protocol::FieldKind;

// A party field holds 64 characters and its terminator; the plug-in cuts a longer value.
constexpr std::size_t kPartyWidth = 64;

// The record's members each party element fills, in the party tags' order.
constexpr std::string_view kPartyMembers[] = {"callingParty", "callingPartyName", "calledParty",
                                              "calledPartyName"};

class CallCollector : public desktop::CallbackRecorder {
public:
    std::vector<NamedCall> calls;

    void recorded(NamedCall call) override { calls.push_back(std::move(call)); }
};

std::string angled(std::string_view tag) { return "<" + std::string(tag) + ">"; }

std::optional<std::string_view> valueOf(std::string_view text, std::string_view tag) {
    const auto found = desktop::message::firstElement(text, tag);
    if (!found) return std::nullopt;
    return found->value;
}

std::string missingNote(FieldKind kind, std::string_view tag) {
    switch (kind) {
    case FieldKind::text:
        return "default: no " + angled(tag) + ", so empty";
    case FieldKind::flag:
        return "default: no " + angled(tag) + ", so -1, which is true";
    case FieldKind::payload:
        return "default: no " + std::string(tag) + ", so the first 8 bytes cut off";
    default:
        return "default: no " + angled(tag);
    }
}

// The notes of one event's arguments, in the order the recorder names them.
template <typename Entry>
void annotate(const Entry& entry, std::string_view text, std::vector<Argument>& arguments) {
    std::size_t index = 0;
    const auto note = [&](std::size_t at, std::string why) {
        if (at < arguments.size()) arguments[at].note = std::move(why);
    };
    std::apply(
        [&](const auto&... field) {
            (
                [&](const auto& one) {
                    if (one.kind == FieldKind::parties) {
                        for (std::size_t party = 0; party < std::size(protocol::kPartyTags);
                             ++party) {
                            const std::string_view tag = protocol::kPartyTags[party];
                            std::size_t member = index;
                            for (std::size_t i = index; i < index + 9 && i < arguments.size(); ++i)
                                if (arguments[i].name == kPartyMembers[party]) member = i;
                            const auto value = valueOf(text, tag);
                            if (!value)
                                note(member, missingNote(FieldKind::text, tag));
                            else if (value->size() > kPartyWidth)
                                note(member, "cut from " + std::to_string(value->size()) + " to " +
                                                 std::to_string(kPartyWidth) +
                                                 " characters to fit the record");
                        }
                        for (std::size_t i = index; i < index + 9 && i < arguments.size(); ++i)
                            arguments[i].quoted = arguments[i].name != "reservedValue";
                        index += 9;
                        return;
                    }
                    if (index < arguments.size())
                        arguments[index].quoted =
                            one.kind == FieldKind::text || one.kind == FieldKind::payload;
                    const bool present = one.kind == FieldKind::payload
                                             ? text.find(one.tag) != std::string_view::npos
                                             : valueOf(text, one.tag).has_value();
                    if (!present) note(index, missingNote(one.kind, one.tag));
                    ++index;
                }(field),
                ...);
        },
        entry.fields);
}

std::vector<Argument> argumentsOf(const NamedCall& call) {
    std::vector<Argument> arguments;
    for (const auto& named : call.arguments)
        arguments.push_back({named.name, named.value, false, {}});
    return arguments;
}

bool isResultWord(std::string_view text) {
    if (text == protocol::kFailureWord) return true;
    for (const protocol::ResultWord& result : protocol::kResultWords)
        if (result.word == text) return true;
    return false;
}

} // namespace

std::string_view formWord(Decoded::Form form) {
    switch (form) {
    case Decoded::Form::event:
        return "event";
    case Decoded::Form::request:
        return "request";
    case Decoded::Form::answer:
        return "answer";
    case Decoded::Form::control:
        return "control";
    case Decoded::Form::client:
        return "client";
    case Decoded::Form::problem:
        break;
    }
    return "problem";
}

Decoder::Decoder()
    : invoker(createCommunicationsServiceEventInvoker()),
      proxy(createCommunicationsServiceProxy()) {}

Decoder::~Decoder() = default;

Decoded Decoder::event(std::string_view text) {
    Decoded decoded;
    decoded.form = Decoded::Form::event;
    const std::string message(text.substr(0, text.find('\0')));
    const std::string method(valueOf(message, protocol::kMethodTag).value_or(""));
    decoded.method = method;
    CallCollector collector;
    try {
        invoker->handleMessage(&collector, message.c_str(), static_cast<int>(message.size()),
                               nullptr);
    } catch (const std::exception& error) {
        decoded.notes.push_back(std::string("the plug-in threw: ") + error.what());
    }
    std::size_t handlers = 0;
    std::apply(
        [&](const auto&... entry) {
            (
                [&](const auto& row) {
                    const bool matches =
                        row.match == protocol::Match::exact
                            ? method == row.method
                            : method.compare(0, row.method.size(), row.method) == 0;
                    if (!matches) return;
                    if (method != row.method)
                        decoded.notes.push_back("\"" + method + "\" ran the handler of " +
                                                std::string(row.method) + " as a prefix");
                    if (handlers < collector.calls.size()) {
                        Call call{collector.calls[handlers].callback,
                                  argumentsOf(collector.calls[handlers])};
                        annotate(row, message, call.arguments);
                        decoded.calls.push_back(std::move(call));
                    }
                    ++handlers;
                }(entry),
                ...);
        },
        protocol::events::all);
    if (handlers > 1)
        decoded.notes.push_back("\"" + method + "\" ran " + std::to_string(handlers) + " handlers");
    if (handlers == 0) {
        decoded.form = Decoded::Form::problem;
        decoded.problem = method.empty() ? "not a message of this protocol: it has no " +
                                               angled(protocol::kMethodTag) + " element"
                                         : "not a message of this protocol: no event or "
                                           "request is called \"" +
                                               method + "\"";
    }
    return decoded;
}

Decoded Decoder::request(std::string_view text) {
    Decoded decoded;
    decoded.form = Decoded::Form::request;
    decoded.method = kit::record::methodOf(text);
    const kit::record::Fields present = kit::record::requestFields(text);
    bool known = false;
    std::apply(
        [&](const auto&... entry) {
            (
                [&](const auto& row) {
                    if (known || row.method != decoded.method) return;
                    known = true;
                    Call call{desktop::message::operationName(row.method), {}};
                    std::apply(
                        [&](const auto&... field) {
                            (
                                [&](const auto& one) {
                                    Argument argument{std::string(one.argument), {}, false, {}};
                                    argument.quoted = one.encoding == protocol::Encoding::text ||
                                                      one.encoding == protocol::Encoding::payload ||
                                                      one.encoding == protocol::Encoding::stateName;
                                    for (const auto& [name, value] : present)
                                        if (name == one.argument) argument.value = value;
                                    const bool found = std::any_of(
                                        present.begin(), present.end(),
                                        [&](const auto& p) { return p.first == one.argument; });
                                    if (!found) argument.note = "missing: no " + angled(one.tag);
                                    call.arguments.push_back(std::move(argument));
                                }(field),
                                ...);
                        },
                        row.fields);
                    decoded.calls.push_back(std::move(call));
                }(entry),
                ...);
        },
        protocol::requests::all);
    if (!known) {
        if (text.substr(0, protocol::requests::kSignalling.size()) ==
            protocol::requests::kSignalling) {
            decoded.calls.push_back(
                {"processSignallingComponentEvent",
                 {{"message",
                   std::string(text.substr(protocol::requests::kSignalling.size())),
                   true,
                   {}}}});
            return decoded;
        }
        return event(text);
    }
    return decoded;
}

Decoded Decoder::answer(std::string_view method, std::string_view text) {
    Decoded decoded;
    decoded.form = Decoded::Form::answer;
    decoded.method = std::string(method);
    Call call{"answer", {}};
    const kit::record::Fields fields = kit::record::answerFields(method, text);
    bool isRequest = false;
    std::apply([&](const auto&... entry) { ((isRequest |= entry.method == method), ...); },
               protocol::requests::all);
    if (!method.empty() && !isRequest) {
        // The simulator's answer to a control command: its own words.
        call.arguments.push_back({"text", std::string(text), true, {}});
    } else if (fields.empty()) {
        // Read by the real proxy, as every request answered by a result word is.
        desktop::CannedChannel channel{std::string(text)};
        proxy->initProxy(channel);
        auto* service = dynamic_cast<CommunicationsServiceIfc*>(proxy.get());
        const int result = service == nullptr ? -1 : service->activate();
        call.arguments.push_back(
            {"result",
             std::to_string(result) + " (" + std::string(protocol::resultWord(result)) + ")", false,
             isResultWord(text) ? "" : "not a result word, so a failure"});
    } else {
        for (const auto& [name, value] : fields)
            call.arguments.push_back({name, value, true, {}});
    }
    decoded.calls.push_back(std::move(call));
    return decoded;
}

Decoded Decoder::line(std::string_view text, std::size_t lineNumber) {
    Decoded decoded;
    if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
    if (!text.empty() && text.front() == '{') {
        std::string problem;
        std::vector<std::string> notes;
        const auto entry = kit::record::parseLine(text, problem, notes);
        if (!entry) {
            decoded.problem = "not a line of a record: " + problem;
        } else if (entry->kind == kit::record::kindWord(FrameKind::Event)) {
            decoded = event(entry->text);
        } else if (entry->kind == kit::record::kindWord(FrameKind::Answer)) {
            decoded = answer(entry->method, entry->text);
        } else if (entry->kind == kit::record::kindWord(FrameKind::Request) ||
                   entry->kind == kit::record::kindWord(FrameKind::OneWay) ||
                   entry->kind == kit::record::kindWord(FrameKind::Subscribe)) {
            decoded = request(entry->text);
        } else if (entry->kind == kit::record::kindWord(FrameKind::Control)) {
            decoded.form = Decoded::Form::control;
            decoded.method = entry->method;
            decoded.calls.push_back({"control", {{"command", entry->text, true, {}}}});
        } else {
            decoded.form = Decoded::Form::client;
            decoded.method = entry->kind;
            decoded.calls.push_back(
                {entry->kind, {{"client", std::to_string(entry->client), false, {}}}});
        }
        decoded.notes.insert(decoded.notes.end(), notes.begin(), notes.end());
    } else if (isResultWord(text)) {
        decoded = answer({}, text);
    } else {
        decoded = request(text);
    }
    decoded.lineNumber = lineNumber;
    return decoded;
}

std::string toText(const Decoded& decoded) {
    const std::string where = "line " + std::to_string(decoded.lineNumber) + ": ";
    if (decoded.form == Decoded::Form::problem) return where + decoded.problem + "\n";
    std::string out;
    for (const Call& call : decoded.calls) {
        out += where + call.name + "(";
        for (std::size_t i = 0; i < call.arguments.size(); ++i) {
            const Argument& argument = call.arguments[i];
            out += (i == 0 ? "" : ", ") + argument.name + "=";
            if (!argument.quoted && argument.value.empty()) {
                out += "(" + argument.note + ")";
                continue;
            }
            out += (argument.quoted
                        ? nlohmann::json(argument.value)
                              .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)
                        : argument.value);
            if (!argument.note.empty()) out += " (" + argument.note + ")";
        }
        out += ")\n";
    }
    for (const std::string& note : decoded.notes)
        out += where + "note: " + note + "\n";
    return out;
}

std::string toJson(const Decoded& decoded) {
    nlohmann::ordered_json json;
    json["line"] = decoded.lineNumber;
    json["kind"] = formWord(decoded.form);
    if (!decoded.method.empty()) json["method"] = decoded.method;
    if (decoded.form == Decoded::Form::problem) json["problem"] = decoded.problem;
    nlohmann::ordered_json calls = nlohmann::ordered_json::array();
    for (const Call& call : decoded.calls) {
        nlohmann::ordered_json arguments = nlohmann::ordered_json::array();
        for (const Argument& argument : call.arguments) {
            nlohmann::ordered_json one{{"name", argument.name}, {"value", argument.value}};
            if (!argument.note.empty()) one["note"] = argument.note;
            arguments.push_back(std::move(one));
        }
        calls.push_back({{"name", call.name}, {"arguments", std::move(arguments)}});
    }
    if (!decoded.calls.empty()) json["calls"] = std::move(calls);
    if (!decoded.notes.empty()) json["notes"] = decoded.notes;
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace decode
