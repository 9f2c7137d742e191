#pragma once

/// @file
/// Messages written from the protocol's description with a sample value for each sort of
/// field, as a busy phone sees them: every event with all its fields, every answer in the
/// shape its request expects. For benchmarks, fuzz seeds and tests that need a whole,
/// well-formed message of each kind without spelling one out.

#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "CommunicationsService/protocol/Events.h"
#include "CommunicationsService/protocol/Requests.h"

namespace testsupport::samples {

namespace protocol = ::CommunicationsService::protocol;
using protocol::FieldKind;

/// A text value, such as a line or a party's address.
inline constexpr std::string_view kText = "sip:+498970072002@pbx.example.com";
/// A number, such as a call identifier.
inline constexpr std::string_view kNumber = "12";
/// A list of numbers, as the framework's list encoding writes it.
inline constexpr std::string_view kNumberList = "12;13;";
/// A list of texts, as the framework's list encoding writes it.
inline constexpr std::string_view kTextList = "sip:1001@pbx.example.com;sip:1002@pbx.example.com;";
/// The four parties of a call, in the order of protocol::kPartyTags.
inline constexpr std::string_view kParties[] = {"2002", "Bob Smith", "1001", "Alice Jones"};
/// A CSTA document, as the pass-through events carry behind their fields.
inline constexpr std::string_view kPayload =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><DeliveredEvent "
    "xmlns=\"http://www.ecma-international.org/standards/ecma-323/csta/ed4\"><monitorCrossRefID>"
    "17</monitorCrossRefID><connection><callID>4711</callID><deviceID>sip:1001@pbx.example.com"
    "</deviceID></connection><alertingDevice><deviceIdentifier>sip:1001@pbx.example.com"
    "</deviceIdentifier></alertingDevice><localConnectionInfo>alerting</localConnectionInfo>"
    "<cause>newCall</cause></DeliveredEvent>";

/// The sample value of a field of an event's sort (a party counts as a text).
constexpr std::string_view valueOf(FieldKind kind) {
    switch (kind) {
    case FieldKind::number:
    case FieldKind::counter:
        return kNumber;
    case FieldKind::flag:
        return protocol::kFlagDigits[1];
    case FieldKind::numberList:
        return kNumberList;
    case FieldKind::textList:
        return kTextList;
    case FieldKind::payload:
        return kPayload;
    default:
        return kText;
    }
}

/// Appends `<tag>value</tag>`.
inline void appendElement(std::string& text, std::string_view tag, std::string_view value) {
    text.append("<").append(tag).append(">").append(value).append("</").append(tag).append(">");
}

/// Calls `visit(tag, kind, value)` for each element of the event in the order the service
/// writes them, with the value `valueOf(kind, tag)` gives; a payload comes last, with an
/// empty tag.
template <typename Event, typename Values, typename Visit>
void forEachElement(const Event& event, Values&& valueOf, Visit&& visit) {
    const auto each = [&](const auto& field) {
        constexpr FieldKind kind = std::decay_t<decltype(field)>::kind;
        if constexpr (kind == FieldKind::parties) {
            for (std::size_t party = 0; party < std::size(protocol::kPartyTags); ++party)
                visit(protocol::kPartyTags[party], FieldKind::text, kParties[party]);
        } else if constexpr (kind == FieldKind::payload) {
            visit(std::string_view(), kind, valueOf(kind, std::string_view()));
        } else {
            visit(field.tag, kind, valueOf(kind, field.tag));
        }
    };
    std::apply([&](const auto&... field) { (each(field), ...); }, event.fields);
}

/// The event as the service writes it, each field holding `valueOf(kind, tag)`.
template <typename Event, typename Values>
std::string eventWith(const Event& event, Values&& valueOf) {
    std::string text(protocol::kMethodOpen);
    text.append(event.method).append(protocol::kMethodClose);
    forEachElement(event, valueOf,
                   [&](std::string_view tag, FieldKind kind, std::string_view value) {
                       if (kind == FieldKind::payload)
                           text.append(value);
                       else
                           appendElement(text, tag, value);
                   });
    return text;
}

/// The event with the sample value of each field's sort.
template <typename Event> std::string event(const Event& entry) {
    return eventWith(entry, [](FieldKind kind, std::string_view) { return valueOf(kind); });
}

/// A successful answer to the request, in the shape its entry describes: the success word,
/// yes, the first service state, two devices, or tagged fields with sample values.
template <typename Request> std::string answer(const Request& request) {
    namespace answers = protocol::answers;
    using Answer = std::decay_t<decltype(request.answer)>;
    const std::string success(protocol::resultWord(sfiSuccess));
    if constexpr (std::is_same_v<Answer, answers::FlagWord> ||
                  std::is_same_v<Answer, answers::TrueWord>) {
        return std::string(protocol::kTrueWord);
    } else if constexpr (std::is_same_v<Answer, answers::StateWord>) {
        return std::string(protocol::kServiceStateNames[0]);
    } else if constexpr (std::is_same_v<Answer, answers::ItemList>) {
        return "<" + std::string(kParties[0]) + "><" + std::string(kParties[2]) + ">";
    } else if constexpr (answers::isTagged<Answer>) {
        std::string text;
        appendElement(text, request.answer.resultTag, success);
        std::apply(
            [&](const auto&... field) {
                (appendElement(text, field.tag,
                               field.reading == answers::Reading::text ? kText : kNumber),
                 ...);
            },
            request.answer.fields);
        return text;
    } else {
        return success;
    }
}

} // namespace testsupport::samples
