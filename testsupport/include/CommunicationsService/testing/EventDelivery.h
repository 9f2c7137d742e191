#pragma once

/// @file
/// Delivers any of the service's events to a subscriber in one line of a unit test,
/// naming only the arguments the test cares about:
///
/// @code
/// using namespace communications::testing;
/// deliver(app, events::incomingCall, {{"lineId", "1001"}, {"callId", 12}, {"uri", "sip:2005"}});
/// @endcode
///
/// The event is written whole, as the service always sends it, and handed to the plug-in's
/// own event invoker. Every argument the test leaves out takes a neutral value: "" for a
/// text, 0 for a number, false for a flag, 0 for a message counter, an empty list, and a
/// CallPartyInfo record with empty texts.
///
/// deliverWithMissingFields() writes an element for each named argument only, for tests of
/// how an application copes with fields the service left out: each argument left out then
/// arrives as from an event that lacks the field: -1 for a number, "" for a text, true for
/// a flag (so a test of "only when the flag is set" cannot rely on it), 4294967295 for a
/// message counter, an empty list, and a CallPartyInfo record with empty texts.
///
/// Each event is named after its callback without `on` and a final `Event`, starting in
/// lower case: `events::callStateChange` calls `onCallStateChangeEvent`,
/// `events::securityStatusChanged` calls `onSecurityStatusChanged`,
/// `events::b2buaCSTAResponse` calls `onB2buaCSTAResponse`. They are the entries of the
/// protocol's description, `CommunicationsService/protocol/Events.h`.
///
/// Arguments are named as the callback's parameters in CommunicationsServiceEventIfc; the
/// call-state event's record takes the names of its fields instead (`callingParty`,
/// `callingPartyName`, `calledParty`, `calledPartyName`). A name the event does not have,
/// a name given twice, a value of the wrong kind, or a text that holds its own element's
/// end tag throws std::invalid_argument naming the event and what is wrong.
///
/// The CSTA payloads (`cstaResponse`, `cstaMessage`) follow the element they are cut from
/// (`success`, `lineURI`): naming a payload writes that element too, with the value it has
/// when missing, and an event that names neither hands the callback what the phone would.
///
/// The invoker comes from the plug-in the test links: the `testing` component of the CMake
/// package and the CommunicationsService-testing pkg-config module link it, together with
/// the desktop framework it needs.

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <variant>
#include <vector>

#include "CommunicationsService/desktop/ListEncoding.h"
#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/protocol/Events.h"

/// The plug-in's factory of its event invoker.
extern "C" FRAMEWORK_API Invoker* createCommunicationsServiceEventInvoker();

namespace communications::testing {

/// The 28 events by name, as the protocol describes them (events::incomingCall,
/// events::callStateChange, ...), for deliver() and writeEvent().
namespace events = ::CommunicationsService::protocol::events;

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

namespace detail {

using CommunicationsService::protocol::FieldKind;

// The names under which a test sets the four party elements, in kPartyTags' order.
inline constexpr std::string_view kPartyNames[] = {"callingParty", "callingPartyName",
                                                   "calledParty", "calledPartyName"};

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

// The CSTA payload and the element it follows: the payload is the rest of the text behind
// that element's end tag (`closing`).
struct Payload {
    std::string_view closing;
    const EventArgument::Value* value = nullptr;
    std::string_view anchorTag;
    std::string anchorText;
    bool anchorNamed = false;
};

template <typename Field> void findPayload(const Field& field, Payload& payload) {
    if constexpr (Field::kind == FieldKind::payload) payload.closing = field.tag;
}

template <typename Field> void writeField(Writer& writer, const Field& field, Payload& payload) {
    if constexpr (Field::kind == FieldKind::parties) {
        for (std::size_t party = 0; party < std::size(kPartyNames); ++party) {
            const EventArgument::Value* value = writer.take(kPartyNames[party]);
            if (value != nullptr || writer.whole) {
                writer.element(CommunicationsService::protocol::kPartyTags[party],
                               value != nullptr
                                   ? writer.encode(kPartyNames[party], FieldKind::text, *value)
                                   : std::string());
            }
        }
    } else if constexpr (Field::kind == FieldKind::payload) {
        payload.value = writer.take(field.argument);
        if (payload.value != nullptr)
            writer.encode(field.argument, FieldKind::payload, *payload.value);
    } else {
        const EventArgument::Value* value = writer.take(field.argument);
        const std::string_view closing = payload.closing;
        if (closing.size() == field.tag.size() + 2 &&
            closing.substr(1, field.tag.size()) == field.tag) {
            // Kept for the end, where the payload follows it; unnamed, it holds what reads
            // as missing.
            payload.anchorTag = field.tag;
            payload.anchorNamed = value != nullptr || writer.whole;
            payload.anchorText = value != nullptr
                                     ? writer.encode(field.argument, Field::kind, *value)
                                 : writer.whole                   ? Writer::neutral(Field::kind)
                                 : Field::kind == FieldKind::text ? ""
                                                                  : "-1";
        } else if (value != nullptr) {
            writer.element(field.tag, writer.encode(field.argument, Field::kind, *value));
        } else if (writer.whole) {
            writer.element(field.tag, Writer::neutral(Field::kind));
        }
    }
}

template <typename Event>
std::string compose(const Event& event, const std::vector<EventArgument>& arguments, bool whole) {
    detail::Writer writer(event.method, arguments, whole);
    detail::Payload payload;
    std::apply([&](const auto&... field) { (detail::findPayload(field, payload), ...); },
               event.fields);
    std::apply([&](const auto&... field) { (detail::writeField(writer, field, payload), ...); },
               event.fields);
    if (payload.anchorNamed || payload.value != nullptr)
        writer.element(payload.anchorTag, payload.anchorText);
    std::string text = writer.finish();
    if (payload.value != nullptr) text += std::get<std::string>(*payload.value);
    return text;
}

template <typename Event>
void deliver(Executable& subscriber, const Event& event,
             const std::vector<EventArgument>& arguments, bool whole);

} // namespace detail

/// The whole text of the event, as deliver() hands it to the invoker. Throws
/// std::invalid_argument as described for this file.
template <typename Event>
std::string writeEvent(const Event& event, std::initializer_list<EventArgument> arguments = {}) {
    return detail::compose(event, arguments, true);
}

/// The whole text of the event from arguments gathered at run time, as writeEvent().
template <typename Event>
std::string writeEventFrom(const Event& event, const std::vector<EventArgument>& arguments) {
    return detail::compose(event, arguments, true);
}

/// The text of the event with elements for the named arguments only, as
/// deliverWithMissingFields() hands it to the invoker.
template <typename Event>
std::string writeEventWithMissingFields(const Event& event,
                                        std::initializer_list<EventArgument> arguments = {}) {
    return detail::compose(event, arguments, false);
}

/// The plug-in's event invoker, created once through its factory.
inline Invoker& eventInvoker() {
    static const std::unique_ptr<Invoker> invoker(createCommunicationsServiceEventInvoker());
    return *invoker;
}

template <typename Event>
void detail::deliver(Executable& subscriber, const Event& event,
                     const std::vector<EventArgument>& arguments, bool whole) {
    const std::string message = compose(event, arguments, whole);
    eventInvoker().handleMessage(&subscriber, message.c_str(), static_cast<int>(message.size()),
                                 nullptr);
}

/// Delivers the whole event to @p subscriber through the plug-in's invoker, on the calling
/// thread, as the framework delivers the service's events; arguments left out take neutral
/// values. @p subscriber must also derive from CommunicationsServiceEventIfc.
template <typename Event>
void deliver(Executable& subscriber, const Event& event,
             std::initializer_list<EventArgument> arguments = {}) {
    detail::deliver(subscriber, event, arguments, true);
}

/// Delivers the event with elements for the named arguments only, so that the others
/// arrive as the invoker reads missing fields; otherwise as deliver().
template <typename Event>
void deliverWithMissingFields(Executable& subscriber, const Event& event,
                              std::initializer_list<EventArgument> arguments = {}) {
    detail::deliver(subscriber, event, arguments, false);
}

} // namespace communications::testing
