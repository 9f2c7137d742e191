#include "CommunicationsServiceEventInvoker.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "CommunicationsService/framework/Utilities.h"
#include "CommunicationsService/protocol/Events.h"
#include "Elements.h"
#include "MessageFormat.h"
#include "Reader.h"

namespace {

namespace protocol = CommunicationsService::protocol;
namespace events = protocol::events;
using protocol::FieldKind;
using Ifc = CommunicationsServiceEventIfc;
using Self = CommunicationsServiceEventInvoker;

struct FreeRecord {
    void operator()(CallPartyInfo* record) const { std::free(record); }
};
// Released even when the callback throws, which the phone's own build never did.
using PartyRecord = std::unique_ptr<CallPartyInfo, FreeRecord>;

PartyRecord newPartyRecord() {
    PartyRecord record(static_cast<CallPartyInfo*>(std::malloc(sizeof(CallPartyInfo))));
    // Every text empty and the reserved value 0, as the phone has always handed it over.
    std::memset(record.get(), 0, sizeof(CallPartyInfo));
    return record;
}

// Copies up to the value's first NUL, cut to fit the field with its terminator.
// An empty view may hold the null pointer, which memchr and memcpy must never see.
void copyInto(char (&field)[65], std::string_view value) {
    std::size_t length = std::min(value.size(), sizeof field - 1);
    if (length != 0) {
        if (const void* nul = std::memchr(value.data(), '\0', length))
            length = static_cast<std::size_t>(static_cast<const char*>(nul) - value.data());
        std::memcpy(field, value.data(), length);
    }
    field[length] = '\0';
}

// The payload is the message itself, cut when every other field has been read.
struct Payload {};

// One field's value from its elements' spans, as its callback argument will hold it. Out
// of line, so that the events share one reader of each sort of field.
template <FieldKind K>
[[gnu::noinline]] auto read(const std::string& message, const ElementSpan* spans,
                            CallPartyInfo* record) {
    if constexpr (K == FieldKind::text) {
        return std::string(valueOf(message, spans[0]));
    } else if constexpr (K == FieldKind::number) {
        return static_cast<int>(numberOf(message, spans[0]));
    } else if constexpr (K == FieldKind::counter) {
        // The counters keep the number's 32 bits: a missing one arrives as 4294967295.
        return static_cast<unsigned int>(static_cast<int>(numberOf(message, spans[0])));
    } else if constexpr (K == FieldKind::flag) {
        // A missing flag reads as -1 and so arrives as true; the service relies on that.
        return numberOf(message, spans[0]) != 0;
    } else if constexpr (K == FieldKind::numberList) {
        std::string encoded(valueOf(message, spans[0]));
        std::vector<int> numbers;
        Serializer::deserialize(encoded, numbers);
        return numbers;
    } else if constexpr (K == FieldKind::textList) {
        std::string encoded(valueOf(message, spans[0]));
        return Serializer::deserialize(encoded);
    } else if constexpr (K == FieldKind::parties) {
        copyInto(record->callingParty, valueOf(message, spans[0]));
        copyInto(record->callingPartyName, valueOf(message, spans[1]));
        copyInto(record->calledParty, valueOf(message, spans[2]));
        copyInto(record->calledPartyName, valueOf(message, spans[3]));
        return record;
    } else {
        return Payload{};
    }
}

template <typename Value, typename Message> Value& pass(Value& value, Message&) { return value; }
template <typename Message> Message& pass(Payload&, Message& message) { return message; }

template <typename Fields> constexpr bool has(FieldKind kind) {
    return std::apply([&](const auto&... field) { return ((field.kind == kind) || ...); },
                      Fields{});
}

// Reads an event's fields and makes its one callback.
template <const auto& event, typename Message, std::size_t... I>
void deliverFields(Ifc* subscriber, Message& message, std::size_t from, std::index_sequence<I...>) {
    using Fields = std::decay_t<decltype(event.fields)>;
    constexpr std::size_t row = protocol::rowOf(events::all, event.method);
    static_assert(row < elements::kEvents, "every event is in the description's list");
    // The record is allocated before any field is read, as the phone has always done.
    PartyRecord record;
    if constexpr (has<Fields>(FieldKind::parties)) record = newPartyRecord();
    ElementSpan spans[std::max<std::size_t>(elements::countOf(event), 1)];
    reader::findEventElements(row, message, spans, from);
    std::tuple values{read<std::tuple_element_t<I, Fields>::kind>(
        message, spans + elements::placeOf<Fields, I>(), record.get())...};
    if constexpr (has<Fields>(FieldKind::payload)) {
        // Behind its closing text, the place computed in 32 bits as the phone does, so that
        // a missing closing text (not found, plus its nine bytes) wraps to 8.
        constexpr std::size_t last = sizeof...(I) - 1;
        static_assert(std::tuple_element_t<last, Fields>::kind == FieldKind::payload,
                      "a payload is an event's last field");
        constexpr std::string_view closing = std::get<last>(event.fields).tag;
        message.erase(0,
                      static_cast<std::uint32_t>(message.find(closing.data(), 0, closing.size())) +
                          static_cast<std::uint32_t>(closing.size()));
    }
    constexpr auto callback = event.callback;
    (subscriber->*callback)(pass(std::get<I>(values), message)...);
}

template <const auto& event, typename Message>
void deliver(Ifc* subscriber, Message& message, std::size_t from = 0) {
    using Fields = std::decay_t<decltype(event.fields)>;
    deliverFields<event>(subscriber, message, from,
                         std::make_index_sequence<std::tuple_size_v<Fields>>());
}

using Delivery = void (*)(Ifc*, std::string&, std::size_t);

template <std::size_t Row> void deliverAt(Ifc* subscriber, std::string& message, std::size_t from) {
    deliver<std::get<Row>(events::all)>(subscriber, message, from);
}

template <std::size_t... Row>
constexpr std::array<Delivery, elements::kEvents> deliveries(std::index_sequence<Row...>) {
    return {&deliverAt<Row>...};
}

// Each row's delivery, by its place in the description.
constexpr std::array<Delivery, elements::kEvents> kDeliveries =
    deliveries(std::make_index_sequence<elements::kEvents>());

} // namespace

void CommunicationsServiceEventInvoker::handleMessage(Executable* subscriber, const char* msg,
                                                      int /*len*/, InvokerResponse* response) {
    // The framework's texts are NUL-terminated; its length argument has never been reliable.
    if (msg == nullptr) throw std::logic_error("basic_string::_M_construct null not valid");
    std::string text(msg);
    Ifc* events = subscriber != nullptr ? dynamic_cast<Ifc*>(subscriber) : nullptr;
    if (events == nullptr) std::printf("CommunicationsServiceEventSvc == NULL");
    // The routes are chosen before any handler runs, because the pass-through handlers cut
    // the text that the method name was read from.
    std::size_t fields = 0;
    const ElementSpan method = reader::findMethod(text, fields);
    RouteSet matching = reader::routesOf(valueOf(text, method));
    for (; matching != 0; matching &= matching - 1) {
        const auto row = static_cast<std::size_t>(__builtin_ctz(matching));
        kDeliveries[row](events, text, fields);
        fields = 0; // a pass-through event may have cut the text
    }
    if (response != nullptr) response->messageHandled();
}

std::string Self::getParamAsString(const std::string& startTag, const std::string& message,
                                   const std::string& endTag) {
    return eventText(startTag, message, endTag);
}

long Self::getParamAsLong(const std::string& startTag, const std::string& message,
                          const std::string& endTag) {
    return eventNumber(startTag, message, endTag);
}

// Call state and incoming calls.

void Self::callStateChangeEvent(Ifc* s, std::string& m) { deliver<events::callStateChange>(s, m); }
void Self::incomingCallEvent(Ifc* s, std::string& m) { deliver<events::incomingCall>(s, m); }
void Self::incomingPickupCallEvent(Ifc* s, std::string& m) {
    deliver<events::incomingPickupCall>(s, m);
}
void Self::incomingCallMissedEvent(Ifc* s, std::string& m) {
    deliver<events::incomingCallMissed>(s, m);
}
void Self::incomingAssociatedCallEvent(Ifc* s, const std::string& m) {
    deliver<events::incomingAssociatedCall>(s, m);
}

// Call transitions.

void Self::callHeldEvent(Ifc* s, std::string& m) { deliver<events::callHeld>(s, m); }
void Self::callRetrievedEvent(Ifc* s, std::string& m) { deliver<events::callRetrieved>(s, m); }
void Self::remoteEndpointDetailsChangedEvent(Ifc* s, std::string& m) {
    deliver<events::remoteEndpointDetailsChanged>(s, m);
}
void Self::callForwardedEvent(Ifc* s, std::string& m) { deliver<events::callForwarded>(s, m); }

// Line, feature and device status.

void Self::registrationStateChangeEvent(Ifc* s, std::string& m) {
    deliver<events::registrationStateChange>(s, m);
}
void Self::featureSuccessEvent(Ifc* s, std::string& m) { deliver<events::featureSuccess>(s, m); }
void Self::featureFailedEvent(Ifc* s, std::string& m) { deliver<events::featureFailed>(s, m); }
void Self::messageWaitingEvent(Ifc* s, std::string& m) { deliver<events::messageWaiting>(s, m); }
void Self::doNotDisturbEvent(Ifc* s, std::string& m) { deliver<events::doNotDisturb>(s, m); }
void Self::agentStateEvent(Ifc* s, std::string& m) { deliver<events::agentState>(s, m); }
void Self::callRecordingStatusEvent(Ifc* s, std::string& m) {
    deliver<events::callRecordingStatus>(s, m);
}
void Self::systemStatusEvent(Ifc* s, std::string& m) { deliver<events::systemStatus>(s, m); }
void Self::serverFeatureStatusEvent(Ifc* s, std::string& m) {
    deliver<events::serverFeatureStatus>(s, m);
}
void Self::conferenceStatusEvent(Ifc* s, std::string& m) {
    deliver<events::conferenceStatus>(s, m);
}
void Self::callCompletionEvent(Ifc* s, std::string& m) { deliver<events::callCompletion>(s, m); }
void Self::callCompletionFailedEvent(Ifc* s, std::string& m) {
    deliver<events::callCompletionFailed>(s, m);
}
void Self::bluetoothAudioStatusChanged(Ifc* s, std::string& m) {
    deliver<events::bluetoothAudioStatusChanged>(s, m);
}

// Security and precedence.

void Self::securityStatusChanged(Ifc* s, std::string& m) {
    deliver<events::securityStatusChanged>(s, m);
}
void Self::preemptionStatusChanged(Ifc* s, std::string& m) {
    deliver<events::preemptionStatusChanged>(s, m);
}
void Self::impactLevelChanged(Ifc* s, std::string& m) { deliver<events::impactLevelChanged>(s, m); }

// Back-to-back CSTA pass-through.

void Self::b2buaCSTAResponse(Ifc* s, std::string& m) { deliver<events::b2buaCSTAResponse>(s, m); }
void Self::b2buaCSTAEventOrRequest(Ifc* s, std::string& m) {
    deliver<events::b2buaCSTAEventOrRequest>(s, m);
}
