#include "EventFloor.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "CommunicationsService/framework/Utilities.h"
#include "CommunicationsService/protocol/Events.h"

namespace bench {
namespace {

namespace protocol = CommunicationsService::protocol;
using protocol::FieldKind;

struct FreeRecord {
    void operator()(CallPartyInfo* record) const { std::free(record); }
};

void copyParty(char (&field)[65], std::string_view value) {
    const std::size_t limit = std::min<std::size_t>(value.size(), 64);
    const void* nul = std::memchr(value.data(), '\0', limit);
    const std::size_t length =
        nul != nullptr ? static_cast<const char*>(nul) - value.data() : limit;
    std::memcpy(field, value.data(), length);
    field[length] = '\0';
}

template <typename Field>
auto build(const Field&, std::string& message, const ElementSpan*& span, std::uint32_t cut,
           CallPartyInfo* record) {
    if constexpr (Field::kind == FieldKind::text) {
        return std::string(valueOf(message, *span++));
    } else if constexpr (Field::kind == FieldKind::number) {
        return static_cast<int>(numberOf(message, *span++));
    } else if constexpr (Field::kind == FieldKind::counter) {
        return static_cast<unsigned int>(numberOf(message, *span++));
    } else if constexpr (Field::kind == FieldKind::flag) {
        return numberOf(message, *span++) != 0;
    } else if constexpr (Field::kind == FieldKind::numberList) {
        std::string encoded(valueOf(message, *span++));
        std::vector<int> values;
        Serializer::deserialize(encoded, values);
        return values;
    } else if constexpr (Field::kind == FieldKind::textList) {
        std::string encoded(valueOf(message, *span++));
        return Serializer::deserialize(encoded);
    } else if constexpr (Field::kind == FieldKind::payload) {
        message.erase(0, cut);
        return std::ref(message);
    } else {
        for (char(&field)[65] : {std::ref(record->callingParty), std::ref(record->callingPartyName),
                                 std::ref(record->calledParty), std::ref(record->calledPartyName)})
            copyParty(field, valueOf(message, *span++));
        return record;
    }
}

template <typename Event> constexpr bool hasParties(const Event& event) {
    return std::apply(
        [](const auto&... field) { return ((field.kind == FieldKind::parties) || ...); },
        event.fields);
}

std::string straightforwardText(std::string_view tag, const std::string& message) {
    return eventText("<" + std::string(tag) + ">", message, "</" + std::string(tag) + ">");
}

// Where the element stands, found the straightforward way once.
ElementSpan place(std::string_view tag, const std::string& message) {
    const std::string open = "<" + std::string(tag) + ">";
    const std::size_t start = message.find(open);
    if (start == std::string::npos) return kNotFound;
    const std::size_t value = start + open.size();
    return {value, message.find("</" + std::string(tag) + ">", value)};
}

} // namespace

template <std::size_t I>
void EventFloor::run(const EventFloor& floor, Executable* subscriber, const char* msg,
                     InvokerResponse* response) {
    constexpr const auto& event = std::get<I>(protocol::events::all);
    std::string message(msg);
    auto* events = dynamic_cast<CommunicationsServiceEventIfc*>(subscriber);
    std::unique_ptr<CallPartyInfo, FreeRecord> record;
    if constexpr (hasParties(event)) {
        record.reset(static_cast<CallPartyInfo*>(std::malloc(sizeof(CallPartyInfo))));
        std::memset(record.get(), 0, sizeof(CallPartyInfo));
    }
    const ElementSpan* span = floor.spans.data();
    std::apply(
        [&](const auto&... field) {
            std::tuple<decltype(build(field, message, span, 0, nullptr))...> values{
                build(field, message, span, floor.cut, record.get())...};
            std::apply([&](auto&... value) { (events->*event.callback)(value...); }, values);
        },
        event.fields);
    if (response != nullptr) response->messageHandled();
}

template <std::size_t I>
bool EventFloor::learn(const std::string& method, const std::string& message) {
    constexpr const auto& event = std::get<I>(protocol::events::all);
    if (method != event.method) return false;
    runner = &EventFloor::run<I>;
    std::apply(
        [&](const auto&... field) {
            [[maybe_unused]] const auto add = [&](const auto& each) {
                using Field = std::decay_t<decltype(each)>;
                if constexpr (Field::kind == FieldKind::parties) {
                    for (std::string_view tag : protocol::kPartyTags)
                        spans.push_back(place(tag, message));
                } else if constexpr (Field::kind == FieldKind::payload) {
                    cut = static_cast<std::uint32_t>(message.find(each.tag) + each.tag.size());
                } else {
                    spans.push_back(place(each.tag, message));
                }
            };
            (add(field), ...);
        },
        event.fields);
    return true;
}

EventFloor::EventFloor(const std::string& message) {
    const std::string method = straightforwardText(protocol::kMethodTag, message);
    learnAny(method, message,
             std::make_index_sequence<
                 std::tuple_size_v<std::decay_t<decltype(protocol::events::all)>>>());
    if (runner == nullptr) throw std::logic_error("no event is named " + method);
}

void EventFloor::deliver(Executable* subscriber, const char* msg, InvokerResponse* response) const {
    runner(*this, subscriber, msg, response);
}

} // namespace bench
