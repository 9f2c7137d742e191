#pragma once

// Reading a message text the way the plug-in reads it, for the kit's traces, records, panel
// and decoder: the kit shows what the application was given, not what a stricter parser
// would make of the text. A request, an answer or an event becomes the operation or callback
// it stands for, with its values named, typed, and present or missing.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace CommunicationsService::protocol::catalogue {
struct Request;
struct Event;
} // namespace CommunicationsService::protocol::catalogue

namespace desktop::message {

struct Element {
    std::string_view value;
    // Just past the element's closing tag.
    std::size_t end;
};

// The first element with the tag, searched from the text's start: a tag that stands
// earlier inside another element's value is the one found, as the readers find it.
std::optional<Element> firstElement(std::string_view text, std::string_view tag);

// What a value is, for showing it.
enum class Kind : std::uint8_t { text, number, flag, list, payload, party };

// Whether a value of the kind is shown in quotes: the texts, not the numbers, flags and lists.
constexpr bool quoted(Kind kind) {
    return kind == Kind::text || kind == Kind::payload || kind == Kind::party;
}

struct Value {
    // The argument, answer output or party value it fills.
    std::string_view name;
    // The element it is read from; for an event's payload, the text it follows.
    std::string_view tag;
    Kind kind;
    // As the text has it; nothing when the text lacks it.
    std::optional<std::string_view> text;
};

// Views into the described text, which must outlive it.
struct Description {
    // The operation or callback; empty when the text is none of the protocol's.
    std::string_view name;
    // The method name as the text gives it, whether or not the protocol knows it.
    std::string_view method;
    // The request of a request or of an answer; the event of an event.
    const CommunicationsService::protocol::catalogue::Request* request = nullptr;
    const CommunicationsService::protocol::catalogue::Event* event = nullptr;
    // In the order the operation or callback takes them.
    std::vector<Value> values;
};

// A request as the operation that wrote it; the signalling pass-through included.
Description describeRequest(std::string_view text);

// An event as the callback the plug-in calls for it, read up to its first NUL as the
// plug-in reads it.
Description describeEvent(std::string_view text);

// The answer to a request (nullptr: to none the protocol knows) with its tagged fields.
Description describeAnswer(const CommunicationsService::protocol::catalogue::Request* answered,
                           std::string_view text);

} // namespace desktop::message
