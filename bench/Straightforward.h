#pragma once

// handleMessage the straightforward way, driven by the protocol description: the method
// is read with the invoker's field reader, every matching event runs, and each of its
// fields is read by the field readers through tag strings built for it, each search
// starting at the front of the text. The benchmarks set the library beside it.

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/framework/ProxyRequest.h"
#include "CommunicationsService/framework/Utilities.h"
#include "CommunicationsService/protocol/Events.h"
#include "MessageFormat.h"

namespace straightforward {

namespace protocol = CommunicationsService::protocol;
using protocol::FieldKind;

inline std::string open(std::string_view tag) { return std::string("<").append(tag).append(">"); }
inline std::string close(std::string_view tag) { return std::string("</").append(tag).append(">"); }
inline std::string text(std::string_view tag, const std::string& message) {
    return eventText(open(tag), message, close(tag));
}
inline int number(std::string_view tag, const std::string& message) {
    return static_cast<int>(eventNumber(open(tag), message, close(tag)));
}

// A party field holds up to 64 bytes of the value, up to its first NUL.
inline void copyParty(char (&field)[65], const std::string& value) {
    const std::string kept = value.substr(0, 64);
    const std::size_t length = std::min(kept.size(), kept.find('\0'));
    kept.copy(field, length);
    field[length] = '\0';
}

struct FreeRecord {
    void operator()(CallPartyInfo* record) const { std::free(record); }
};
using Record = std::unique_ptr<CallPartyInfo, FreeRecord>;

template <typename Field>
auto read(const Field& field, std::string& message, CallPartyInfo* record) {
    if constexpr (Field::kind == FieldKind::text) {
        return text(field.tag, message);
    } else if constexpr (Field::kind == FieldKind::number) {
        return number(field.tag, message);
    } else if constexpr (Field::kind == FieldKind::counter) {
        return static_cast<unsigned int>(number(field.tag, message));
    } else if constexpr (Field::kind == FieldKind::flag) {
        return number(field.tag, message) != 0;
    } else if constexpr (Field::kind == FieldKind::numberList) {
        std::string encoded = text(field.tag, message);
        std::vector<int> values;
        Serializer::deserialize(encoded, values);
        return values;
    } else if constexpr (Field::kind == FieldKind::textList) {
        std::string encoded = text(field.tag, message);
        return Serializer::deserialize(encoded);
    } else if constexpr (Field::kind == FieldKind::payload) {
        // The cut is computed in 32 bits: a missing closing text wraps it to 8 bytes.
        const auto found = static_cast<std::uint32_t>(message.find(field.tag));
        message.erase(0, found + static_cast<std::uint32_t>(field.tag.size()));
        return std::ref(message);
    } else {
        const auto& tags = protocol::kPartyTags;
        const std::string calling = text(tags[0], message);
        const std::string callingName = text(tags[1], message);
        const std::string called = text(tags[2], message);
        const std::string calledName = text(tags[3], message);
        copyParty(record->callingParty, calling);
        copyParty(record->callingPartyName, callingName);
        copyParty(record->calledParty, called);
        copyParty(record->calledPartyName, calledName);
        return record;
    }
}

template <typename Event>
void deliver(const Event& event, CommunicationsServiceEventIfc* subscriber, std::string& message) {
    std::apply(
        [&](const auto&... field) {
            Record record;
            if (((std::decay_t<decltype(field)>::kind == FieldKind::parties) || ...))
                record.reset(static_cast<CallPartyInfo*>(std::calloc(1, sizeof(CallPartyInfo))));
            // A braced list reads the fields from left to right.
            std::tuple<decltype(read(field, message, nullptr))...> values{
                read(field, message, record.get())...};
            std::apply([&](auto&... value) { (subscriber->*event.callback)(value...); }, values);
        },
        event.fields);
}

template <typename Event> bool matches(const Event& event, const std::string& method) {
    return event.match == protocol::Match::exact
               ? method == event.method
               : method.compare(0, event.method.size(), event.method) == 0;
}

// Every event whose name matches is chosen first, then each runs on the same text.
inline void handleMessage(Executable* subscriber, const char* msg, InvokerResponse* response) {
    if (msg == nullptr) throw std::logic_error("basic_string::_M_construct null not valid");
    std::string message(msg);
    auto* events = dynamic_cast<CommunicationsServiceEventIfc*>(subscriber);
    const std::string method = text(protocol::kMethodTag, message);
    std::apply(
        [&](const auto&... event) {
            const bool chosen[] = {matches(event, method)...};
            std::size_t row = 0;
            ((chosen[row++] ? deliver(event, events, message) : void()), ...);
        },
        protocol::events::all);
    if (response != nullptr) response->messageHandled();
}

} // namespace straightforward
