#pragma once

// Event texts and tagged answers written from the protocol's description: a value is
// given per field in the described order, and the description supplies tags and shape, so
// a changed tag reaches every text the simulator writes.

#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "CommunicationsService/desktop/ListEncoding.h"
#include "CommunicationsService/protocol/Events.h"
#include "CommunicationsService/protocol/Requests.h"

namespace simulator {

namespace protocol = CommunicationsService::protocol;

// The four parties of a call, in the order the call-state event carries them.
struct Parties {
    std::string calling;
    std::string callingName;
    std::string called;
    std::string calledName;
};

namespace messages {

inline void element(std::string& text, std::string_view tag, std::string_view value) {
    text.append("<").append(tag).append(">").append(value).append("</").append(tag).append(">");
}

template <typename Number> std::string decimal(Number value) {
    static_assert(std::is_integral_v<Number> || std::is_enum_v<Number>, "a number belongs here");
    if constexpr (std::is_same_v<Number, bool>)
        return value ? "1" : "0";
    else
        return std::to_string(static_cast<long long>(value));
}

template <protocol::FieldKind K, typename Value>
void writeEventField(std::string& text, const protocol::EventField<K>& field, const Value& value) {
    using protocol::FieldKind;
    if constexpr (K == FieldKind::text) {
        element(text, field.tag, value);
    } else if constexpr (K == FieldKind::number || K == FieldKind::counter ||
                         K == FieldKind::flag) {
        element(text, field.tag, decimal(value));
    } else if constexpr (K == FieldKind::numberList || K == FieldKind::textList) {
        element(text, field.tag, desktop::serializeList(value));
    } else if constexpr (K == FieldKind::payload) {
        // The payload is the rest of the message, behind the field before it.
        text.append(value);
    } else {
        static_assert(std::is_same_v<Value, Parties>, "a call's parties belong here");
        element(text, protocol::kPartyTags[0], value.calling);
        element(text, protocol::kPartyTags[1], value.callingName);
        element(text, protocol::kPartyTags[2], value.called);
        element(text, protocol::kPartyTags[3], value.calledName);
    }
}

template <protocol::answers::Reading R, typename Value>
void writeAnswerField(std::string& text, const protocol::answers::Field<R>& field,
                      const Value& value) {
    if constexpr (R == protocol::answers::Reading::text)
        element(text, field.tag, value);
    else
        element(text, field.tag, decimal(value));
}

} // namespace messages

// The answer of a query that says yes or no.
inline std::string flagAnswer(bool value) {
    return std::string(value ? protocol::kTrueWord : protocol::kFalseWord);
}

// The event's text with one value per field, in the fields' order.
template <typename Callback, typename... Fields, typename... Values>
std::string writeEvent(const protocol::Event<Callback, Fields...>& event, const Values&... values) {
    static_assert(sizeof...(Fields) == sizeof...(Values), "one value per field of the event");
    std::string text;
    text.append(protocol::kMethodOpen).append(event.method).append(protocol::kMethodClose);
    std::apply(
        [&](const auto&... fields) { (messages::writeEventField(text, fields, values), ...); },
        event.fields);
    return text;
}

// A tagged answer: the result word, then one value per field (none after a failure).
template <typename... Fields, typename... Values>
std::string writeAnswer(const protocol::answers::Tagged<Fields...>& shape, std::string_view result,
                        const Values&... values) {
    static_assert(sizeof...(Values) == 0 || sizeof...(Fields) == sizeof...(Values),
                  "one value per field of the answer, or none");
    std::string text;
    messages::element(text, shape.resultTag, result);
    if constexpr (sizeof...(Values) != 0) {
        std::apply(
            [&](const auto&... fields) { (messages::writeAnswerField(text, fields, values), ...); },
            shape.fields);
    }
    return text;
}

} // namespace simulator
