#pragma once

/// @file
/// Any of the service's events written as its text from named values, for the simulator's
/// emit command and the test support's event delivery.
///
/// The event is written whole, as the service always sends it, or with elements for the
/// named arguments only. Arguments are named as the callback's parameters; the call-state
/// event's record takes the names of its fields instead (kPartyNames). A name the event does
/// not have, a name given twice, a value of the wrong kind, or a text that holds its own
/// element's end tag throws std::invalid_argument naming the event and what is wrong.
///
/// The CSTA payloads follow the element they are cut from: naming a payload writes that
/// element too, with the value it has when missing.

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "CommunicationsService/desktop/ListEncoding.h"
#include "CommunicationsService/protocol/Catalogue.h"

namespace desktop {

/// One argument of an event: its name and its value. Written in braces, `{"callId", 12}`.
class EventArgument {
public:
    /// The value of the argument, in one of the kinds the callbacks take.
    using Value = std::variant<int, unsigned int, bool, std::string, std::vector<int>,
                               std::vector<std::string>>;

    /// A number, or a message counter given as a signed number.
    EventArgument(std::string_view name, int value) : name(name), value(value) {}
    /// A message counter.
    EventArgument(std::string_view name, unsigned int value) : name(name), value(value) {}
    /// A flag.
    EventArgument(std::string_view name, bool value) : name(name), value(value) {}
    /// A text; a null pointer is refused.
    EventArgument(std::string_view name, const char* value) : name(name) {
        if (value == nullptr) throw std::invalid_argument("argument '" + this->name + "' is null");
        this->value = std::string(value);
    }
    /// A text.
    EventArgument(std::string_view name, std::string_view value)
        : name(name), value(std::string(value)) {}
    /// A list of numbers written in braces, `{"callIdsRecorded", {1, 12}}`.
    EventArgument(std::string_view name, std::initializer_list<int> value)
        : name(name), value(std::vector<int>(value)) {}
    /// A list of numbers held in a vector. (A template, so that braces holding texts never
    /// take this way: a vector of numbers could be built from two character pointers.)
    template <typename List, typename = std::enable_if_t<std::is_same_v<List, std::vector<int>>>>
    EventArgument(std::string_view name, const List& value) : name(name), value(value) {}
    /// A list of texts.
    EventArgument(std::string_view name, std::vector<std::string> value)
        : name(name), value(value) {}

    std::string name; ///< the callback parameter's name
    Value value;      ///< what it is to arrive as
};

namespace event_text {

using CommunicationsService::protocol::FieldKind;
namespace catalogue = CommunicationsService::protocol::catalogue;

// The arguments of one event and which of them have been written so far.
class Writer {
public:
    Writer(std::string_view method, const std::vector<EventArgument>& arguments, bool whole)
        : method(method), arguments(arguments), used(arguments.size(), false), whole(whole) {
        text.append(CommunicationsService::protocol::kMethodOpen)
            .append(method)
            .append(CommunicationsService::protocol::kMethodClose);
        for (auto one = this->arguments.begin(); one != this->arguments.end(); ++one) {
            for (auto other = this->arguments.begin(); other != one; ++other) {
                if (other->name == one->name) fail("names '" + one->name + "' twice");
            }
        }
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw std::invalid_argument("event " + std::string(method) + ": " + what);
    }

    // The argument of that name, marked as written; nullptr when the test left it out.
    const EventArgument::Value* take(std::string_view name) {
        known.append(known.empty() ? "" : ", ").append(name);
        std::size_t index = 0;
        for (const EventArgument& argument : arguments) {
            if (argument.name == name) {
                used[index] = true;
                return &argument.value;
            }
            ++index;
        }
        return nullptr;
    }

    // The value as the element's text; wrong kinds of value are refused.
    std::string encode(std::string_view name, FieldKind kind,
                       const EventArgument::Value& value) const {
        const auto refuse = [&](const char* wanted) {
            fail("argument '" + std::string(name) + "' takes " + wanted);
        };
        switch (kind) {
        case FieldKind::number:
            if (!std::holds_alternative<int>(value)) refuse("an int");
            return std::to_string(std::get<int>(value));
        case FieldKind::counter:
            // The service's counters are 32 bits read as a signed number.
            if (std::holds_alternative<unsigned int>(value))
                return std::to_string(static_cast<std::int32_t>(std::get<unsigned int>(value)));
            if (!std::holds_alternative<int>(value)) refuse("an unsigned int");
            return std::to_string(std::get<int>(value));
        case FieldKind::flag:
            if (!std::holds_alternative<bool>(value)) refuse("a bool");
            return std::string(CommunicationsService::protocol::kFlagDigits[std::get<bool>(value)]);
        case FieldKind::numberList:
            if (!std::holds_alternative<std::vector<int>>(value)) refuse("a std::vector<int>");
            return desktop::serializeList(std::get<std::vector<int>>(value));
        case FieldKind::textList:
            if (!std::holds_alternative<std::vector<std::string>>(value))
                refuse("a std::vector<std::string>");
            return desktop::serializeList(std::get<std::vector<std::string>>(value));
        default:
            if (!std::holds_alternative<std::string>(value)) refuse("a text");
            return std::get<std::string>(value);
        }
    }

    void element(std::string_view tag, const std::string& content) {
        const std::string close = "</" + std::string(tag) + ">";
        if (content.find(close) != std::string::npos)
            fail("the text of <" + std::string(tag) + "> cannot hold " + close);
        text.append("<").append(tag).append(">").append(content).append(close);
    }

    // The whole text, once every argument has found its field.
    std::string finish() const {
        std::size_t index = 0;
        for (const EventArgument& argument : arguments) {
            if (!used[index++])
                fail("has no argument '" + argument.name + "' (it has: " + known + ")");
        }
        return text;
    }

    // What an element the test left out holds in a whole event.
    static const char* neutral(FieldKind kind) {
        return kind == FieldKind::number || kind == FieldKind::counter || kind == FieldKind::flag
                   ? "0"
                   : "";
    }

    std::string_view method;
    const std::vector<EventArgument>& arguments;
    std::vector<bool> used;
    bool whole;
    std::string known;
    std::string text;
};

// The payload's element: the payload is the rest of the text behind that element's end
// tag, so the element is written last.
struct Anchor {
    std::string_view closing;
    const EventArgument::Value* payload = nullptr;
    std::string_view tag;
    std::string text;
    bool named = false;
};

inline void writeParties(Writer& writer) {
    namespace protocol = CommunicationsService::protocol;
    for (std::size_t party = 0; party < std::size(catalogue::kPartyNames); ++party) {
        const std::string_view name = catalogue::kPartyNames[party];
        const EventArgument::Value* value = writer.take(name);
        if (value != nullptr || writer.whole) {
            writer.element(protocol::kPartyTags[party],
                           value != nullptr ? writer.encode(name, FieldKind::text, *value)
                                            : std::string());
        }
    }
}

inline void writeField(Writer& writer, const catalogue::EventField& field, Anchor& anchor) {
    if (field.kind == FieldKind::parties) return writeParties(writer);
    const EventArgument::Value* value = writer.take(field.argument);
    if (field.kind == FieldKind::payload) {
        anchor.payload = value;
        if (value != nullptr) writer.encode(field.argument, FieldKind::payload, *value);
    } else if (anchor.closing.size() == field.tag.size() + 2 &&
               anchor.closing.substr(1, field.tag.size()) == field.tag) {
        // Kept for the end, where the payload follows it; unnamed, it holds what reads as
        // missing.
        anchor.tag = field.tag;
        anchor.named = value != nullptr || writer.whole;
        anchor.text = value != nullptr ? writer.encode(field.argument, field.kind, *value)
                      : writer.whole   ? Writer::neutral(field.kind)
                      : field.kind == FieldKind::text ? ""
                                                      : "-1";
    } else if (value != nullptr) {
        writer.element(field.tag, writer.encode(field.argument, field.kind, *value));
    } else if (writer.whole) {
        writer.element(field.tag, Writer::neutral(field.kind));
    }
}

} // namespace event_text

/// The event's text from @p arguments: whole, every argument left out taking a neutral
/// value ("" for a text, 0 for a number or counter, false for a flag, an empty list), or,
/// unless @p whole, with elements for the named arguments only. Throws
/// std::invalid_argument as described for this file.
inline std::string writeEventText(const CommunicationsService::protocol::catalogue::Event& event,
                                  const std::vector<EventArgument>& arguments, bool whole) {
    event_text::Writer writer(event.method, arguments, whole);
    event_text::Anchor anchor;
    for (const auto& field : event.fields) {
        if (field.kind == event_text::FieldKind::payload) anchor.closing = field.tag;
    }
    for (const auto& field : event.fields)
        event_text::writeField(writer, field, anchor);
    if (anchor.named || anchor.payload != nullptr) writer.element(anchor.tag, anchor.text);
    std::string text = writer.finish();
    if (anchor.payload != nullptr) text += std::get<std::string>(*anchor.payload);
    return text;
}

} // namespace desktop
