#include "Decoder.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/desktop/CallbackRecorder.h"
#include "CommunicationsService/desktop/CannedChannel.h"
#include "CommunicationsService/desktop/MessageText.h"
#include "CommunicationsService/desktop/Printable.h"
#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/framework/ProxyRequest.h"
#include "CommunicationsService/protocol/Catalogue.h"
#include "Record.h"

extern "C" FRAMEWORK_API Invoker* createCommunicationsServiceEventInvoker();
extern "C" FRAMEWORK_API Proxy* createCommunicationsServiceProxy();

namespace decode {

namespace {

namespace protocol = CommunicationsService::protocol;
namespace message = desktop::message;
using desktop::NamedCall;
using desktop::wire::FrameKind;

// A party field holds 64 characters and its terminator; the plug-in cuts a longer value.
constexpr std::size_t kPartyWidth = 64;

class CallCollector : public desktop::CallbackRecorder {
public:
    std::vector<NamedCall> calls;

    void recorded(NamedCall call) override { calls.push_back(std::move(call)); }
};

std::string angled(std::string_view tag) { return "<" + std::string(tag) + ">"; }

std::string missingNote(message::Kind kind, std::string_view tag) {
    switch (kind) {
    case message::Kind::text:
    case message::Kind::party:
        return "default: no " + angled(tag) + ", so empty";
    case message::Kind::flag:
        return "default: no " + angled(tag) + ", so -1, which is true";
    case message::Kind::payload:
        return "default: no " + std::string(tag) + ", so the first 8 bytes cut off";
    default:
        return "default: no " + angled(tag);
    }
}

// Marks each argument the plug-in filled from a default or cut to fit; texts are quoted.
void annotate(const message::Description& described, std::vector<Argument>& arguments) {
    for (Argument& argument : arguments) {
        // The party record's one number among its texts, which no element fills.
        argument.quoted = argument.name != "reservedValue";
        for (const message::Value& value : described.values) {
            if (value.name != argument.name) continue;
            argument.quoted = message::quoted(value.kind);
            if (!value.text)
                argument.note = missingNote(value.kind, value.tag);
            else if (value.kind == message::Kind::party && value.text->size() > kPartyWidth)
                argument.note = "cut from " + std::to_string(value.text->size()) + " to " +
                                std::to_string(kPartyWidth) + " characters to fit the record";
        }
    }
}

std::vector<Argument> argumentsOf(const NamedCall& call) {
    std::vector<Argument> arguments;
    for (const auto& named : call.arguments)
        arguments.push_back({named.name, named.value, false, {}});
    return arguments;
}

// A text of the input on its line: its control characters and the bytes that are not
// UTF-8 as escapes, whole however long.
std::string shown(std::string_view text) { return desktop::printable(text, text.size()); }

// The same in quotes, which are escaped in it.
std::string inQuotes(std::string_view text) {
    std::string out = "\"";
    for (const char c : shown(text)) {
        if (c == '"') out += '\\';
        out += c;
    }
    return out + "\"";
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
    const message::Description described = message::describeEvent(text);
    decoded.method = described.method;
    if (described.event == nullptr) {
        decoded.form = Decoded::Form::problem;
        decoded.problem = described.method.empty()
                              ? "not a message of this protocol: it has no " +
                                    angled(protocol::kMethodTag) + " element"
                              : "not a message of this protocol: no event or request is called \"" +
                                    decoded.method + "\"";
        return decoded;
    }
    if (described.method != described.event->method)
        decoded.notes.push_back("\"" + decoded.method + "\" ran the handler of " +
                                std::string(described.event->method) + " as a prefix");
    const std::string message(text.substr(0, text.find('\0')));
    CallCollector collector;
    try {
        invoker->handleMessage(&collector, message.c_str(), static_cast<int>(message.size()),
                               nullptr);
    } catch (const std::exception& error) {
        decoded.notes.push_back(std::string("the plug-in threw: ") + error.what());
    }
    for (const NamedCall& made : collector.calls) {
        Call call{made.callback, argumentsOf(made)};
        annotate(described, call.arguments);
        decoded.calls.push_back(std::move(call));
    }
    if (collector.calls.size() > 1)
        decoded.notes.push_back("\"" + decoded.method + "\" ran " +
                                std::to_string(collector.calls.size()) + " handlers");
    return decoded;
}

Decoded Decoder::request(std::string_view text) {
    const message::Description described = message::describeRequest(text);
    if (described.name.empty()) return event(text);
    Decoded decoded;
    decoded.form = Decoded::Form::request;
    decoded.method = described.method;
    Call call{std::string(described.name), {}};
    for (const message::Value& value : described.values) {
        Argument argument{std::string(value.name),
                          std::string(value.text.value_or("")),
                          message::quoted(value.kind),
                          {}};
        if (!value.text) argument.note = "missing: no " + angled(value.tag);
        call.arguments.push_back(std::move(argument));
    }
    decoded.calls.push_back(std::move(call));
    return decoded;
}

Decoded Decoder::answer(std::string_view method, std::string_view text) {
    Decoded decoded;
    decoded.form = Decoded::Form::answer;
    decoded.method = std::string(method);
    Call call{"answer", {}};
    const protocol::catalogue::Request* answered = protocol::catalogue::requestByMethod(method);
    for (const message::Value& value : message::describeAnswer(answered, text).values) {
        if (value.text)
            call.arguments.push_back({std::string(value.name), std::string(*value.text), true, {}});
    }
    if (!method.empty() && answered == nullptr) {
        // The simulator's answer to a control command: its own words.
        call.arguments.push_back({"text", std::string(text), true, {}});
    } else if (call.arguments.empty()) {
        // Read by the real proxy, as every request answered by a result word is.
        desktop::CannedChannel channel{std::string(text)};
        proxy->initProxy(channel);
        auto* service = dynamic_cast<CommunicationsServiceIfc*>(proxy.get());
        const int result = service == nullptr ? -1 : service->activate();
        call.arguments.push_back(
            {"result",
             std::to_string(result) + " (" + std::string(protocol::resultWord(result)) + ")", false,
             isResultWord(text) ? "" : "not a result word, so a failure"});
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
    if (decoded.form == Decoded::Form::problem) return where + shown(decoded.problem) + "\n";
    std::string out;
    for (const Call& call : decoded.calls) {
        out += where + call.name + "(";
        for (std::size_t i = 0; i < call.arguments.size(); ++i) {
            const Argument& argument = call.arguments[i];
            out += (i == 0 ? "" : ", ") + argument.name + "=";
            if (!argument.quoted && argument.value.empty()) {
                out += "(" + shown(argument.note) + ")";
                continue;
            }
            out += argument.quoted ? inQuotes(argument.value) : shown(argument.value);
            if (!argument.note.empty()) out += " (" + shown(argument.note) + ")";
        }
        out += ")\n";
    }
    for (const std::string& note : decoded.notes)
        out += where + "note: " + shown(note) + "\n";
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
    // Every character past ASCII as \u escape: a terminal that shows the line obeys none.
    return json.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

} // namespace decode
