#include "CommunicationsServiceEventInvoker.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "CommunicationsService/framework/Utilities.h"
#include "CommunicationsService/protocol/Events.h"
#include "MessageFormat.h"

namespace {

namespace protocol = CommunicationsService::protocol;
namespace events = protocol::events;
using protocol::Kind;
using Ifc = CommunicationsServiceEventIfc;
using Self = CommunicationsServiceEventInvoker;

struct FreeRecord {
    void operator()(CallPartyInfo* record) const { std::free(record); }
};
// Released even when the callback throws, which the phone's own build never did.
using PartyRecord = std::unique_ptr<CallPartyInfo, FreeRecord>;

PartyRecord newPartyRecord() {
    PartyRecord record(static_cast<CallPartyInfo*>(std::malloc(sizeof(CallPartyInfo))));
    record->reservedText1[0] = '\0';
    record->reservedText2[0] = '\0';
    record->reservedText3[0] = '\0';
    record->reservedText4[0] = '\0';
    record->reservedValue = 0;
    record->calledPartyName[0] = '\0';
    record->calledParty[0] = '\0';
    record->callingPartyName[0] = '\0';
    record->callingParty[0] = '\0';
    return record;
}

// Copies up to the value's first NUL, cut to fit the field with its terminator.
void copyInto(char (&field)[65], std::string_view value) {
    const std::size_t limit = std::min(value.size(), sizeof field - 1);
    std::size_t length = 0;
    for (; length < limit && value[length] != '\0'; ++length)
        field[length] = value[length];
    field[length] = '\0';
}

// How many elements a field looks up: the parties four, a payload none.
template <typename Field> constexpr std::size_t elementsOf() {
    if constexpr (Field::kind == Kind::parties)
        return std::size(protocol::kPartyTags);
    else if constexpr (Field::kind == Kind::payload)
        return 0;
    else
        return 1;
}

template <typename... Fields> constexpr std::size_t elementCount(const std::tuple<Fields...>&) {
    return (std::size_t{0} + ... + elementsOf<Fields>());
}

// The element names of an event, in the order its fields read them.
template <const auto& event> constexpr auto namesOf() {
    std::array<std::string_view, elementCount(event.fields)> names{};
    std::size_t next = 0;
    std::apply(
        [&](const auto&... field) {
            [[maybe_unused]] const auto add = [&](const auto& one) {
                if constexpr (std::decay_t<decltype(one)>::kind == Kind::parties) {
                    for (const std::string_view tag : protocol::kPartyTags)
                        names[next++] = tag;
                } else if constexpr (std::decay_t<decltype(one)>::kind != Kind::payload) {
                    names[next++] = one.tag;
                }
            };
            (add(field), ...);
        },
        event.fields);
    return names;
}

// Where each field's first element stands among the event's spans.
template <const auto& event, std::size_t index> constexpr std::size_t firstElementOf() {
    std::size_t offset = 0;
    std::size_t position = 0;
    std::apply(
        [&](const auto&... field) {
            ((position++ < index ? offset += elementsOf<std::decay_t<decltype(field)>>() : 0), ...);
        },
        event.fields);
    return offset;
}

// One field's value for its callback argument, read from the located elements.
template <typename Field, typename Message>
decltype(auto) readField(const Field& field, Message& message, const ElementSpan* spans,
                         CallPartyInfo* record) {
    if constexpr (Field::kind == Kind::text) {
        return std::string(valueOf(message, spans[0]));
    } else if constexpr (Field::kind == Kind::number) {
        return static_cast<int>(numberOf(message, spans[0]));
    } else if constexpr (Field::kind == Kind::counter) {
        // The counters keep the number's 32 bits: a missing one arrives as 4294967295.
        return static_cast<unsigned int>(static_cast<int>(numberOf(message, spans[0])));
    } else if constexpr (Field::kind == Kind::flag) {
        // A missing flag reads as -1 and so arrives as true; the service relies on that.
        return numberOf(message, spans[0]) != 0;
    } else if constexpr (Field::kind == Kind::numberList) {
        std::string encoded(valueOf(message, spans[0]));
        std::vector<int> values;
        Serializer::deserialize(encoded, values);
        return values;
    } else if constexpr (Field::kind == Kind::textList) {
        std::string encoded(valueOf(message, spans[0]));
        return Serializer::deserialize(encoded);
    } else if constexpr (Field::kind == Kind::payload) {
        // Cut behind the first closing text, its length computed in 32 bits as the phone
        // does: when the text is missing, the not-found position plus nine wraps to 8.
        const auto position = static_cast<std::uint32_t>(message.find(field.tag));
        message.erase(0, position + static_cast<std::uint32_t>(field.tag.size()));
        return std::ref(message);
    } else {
        // The parties are copied only after all four are read, the calling party last.
        const std::string_view callingParty = valueOf(message, spans[0]);
        const std::string_view callingPartyName = valueOf(message, spans[1]);
        const std::string_view calledParty = valueOf(message, spans[2]);
        const std::string_view calledPartyName = valueOf(message, spans[3]);
        copyInto(record->callingParty, callingParty);
        copyInto(record->callingPartyName, callingPartyName);
        copyInto(record->calledParty, calledParty);
        copyInto(record->calledPartyName, calledPartyName);
        return record;
    }
}

template <typename Tuple> struct HasParties;
template <typename... Fields>
struct HasParties<std::tuple<Fields...>>
    : std::bool_constant<((Fields::kind == Kind::parties) || ...)> {};

// Reads an event's fields in the order the description lists them (a braced list is
// evaluated left to right) and makes its one callback.
template <const auto& event, typename Message, std::size_t... I>
void deliverFields(Ifc* subscriber, Message& message, std::index_sequence<I...>) {
    using Fields = std::decay_t<decltype(event.fields)>;
    // The record is allocated before any field is read, as the phone has always done.
    PartyRecord record;
    if constexpr (HasParties<Fields>::value) record = newPartyRecord();
    static constexpr auto kNames = elementNames(namesOf<event>());
    std::array<ElementSpan, kNames.size()> spans;
    if constexpr (kNames.size() != 0)
        findElements(message, {kNames.data(), kNames.size()}, spans.data());
    std::tuple<decltype(readField(std::get<I>(event.fields), message, spans.data(), nullptr))...>
        values{readField(std::get<I>(event.fields), message,
                         spans.data() + firstElementOf<event, I>(), record.get())...};
    std::apply([&](auto&... value) { (subscriber->*event.callback)(value...); }, values);
}

template <const auto& event, typename Message> void deliver(Ifc* subscriber, Message& message) {
    using Fields = std::decay_t<decltype(event.fields)>;
    deliverFields<event>(subscriber, message,
                         std::make_index_sequence<std::tuple_size_v<Fields>>());
}

using Handler = void (*)(Self&, Ifc*, std::string&);

template <void (Self::*handler)(Ifc*, std::string&)>
void run(Self& self, Ifc* subscriber, std::string& message) {
    (self.*handler)(subscriber, message);
}

struct Route {
    std::string_view method;
    protocol::Match match;
    Handler handler;

    bool matches(std::string_view name) const {
        return match == protocol::Match::exact ? name == method
                                               : name.substr(0, method.size()) == method;
    }
};

template <typename Event> constexpr Route route(const Event& event, Handler handler) {
    return {event.method, event.match, handler};
}

// Every row is tried for every message, in the description's order.
constexpr Route kRoutes[] = {
    route(events::callStateChange, run<&Self::callStateChangeEvent>),
    route(events::registrationStateChange, run<&Self::registrationStateChangeEvent>),
    route(events::incomingCall, run<&Self::incomingCallEvent>),
    route(events::incomingPickupCall, run<&Self::incomingPickupCallEvent>),
    route(events::callHeld, run<&Self::callHeldEvent>),
    route(events::callRetrieved, run<&Self::callRetrievedEvent>),
    route(events::featureSuccess, run<&Self::featureSuccessEvent>),
    route(events::featureFailed, run<&Self::featureFailedEvent>),
    route(events::remoteEndpointDetailsChanged, run<&Self::remoteEndpointDetailsChangedEvent>),
    route(events::incomingCallMissed, run<&Self::incomingCallMissedEvent>),
    route(events::callForwarded, run<&Self::callForwardedEvent>),
    route(events::devicesChanged,
          [](Self&, Ifc* subscriber, std::string& message) {
              deliver<events::devicesChanged>(subscriber, message);
          }),
    route(events::messageWaiting, run<&Self::messageWaitingEvent>),
    route(events::doNotDisturb, run<&Self::doNotDisturbEvent>),
    route(events::agentState, run<&Self::agentStateEvent>),
    route(events::systemStatus, run<&Self::systemStatusEvent>),
    route(events::serverFeatureStatus, run<&Self::serverFeatureStatusEvent>),
    route(events::incomingAssociatedCall,
          [](Self& self, Ifc* subscriber, std::string& message) {
              self.incomingAssociatedCallEvent(subscriber, message);
          }),
    route(events::b2buaCSTAResponse, run<&Self::b2buaCSTAResponse>),
    route(events::b2buaCSTAEventOrRequest, run<&Self::b2buaCSTAEventOrRequest>),
    route(events::conferenceStatus, run<&Self::conferenceStatusEvent>),
    route(events::securityStatusChanged, run<&Self::securityStatusChanged>),
    route(events::preemptionStatusChanged, run<&Self::preemptionStatusChanged>),
    route(events::impactLevelChanged, run<&Self::impactLevelChanged>),
    route(events::callRecordingStatus, run<&Self::callRecordingStatusEvent>),
    route(events::callCompletion, run<&Self::callCompletionEvent>),
    route(events::callCompletionFailed, run<&Self::callCompletionFailedEvent>),
    route(events::bluetoothAudioStatusChanged, run<&Self::bluetoothAudioStatusChanged>),
};
static_assert(std::size(kRoutes) == std::tuple_size_v<std::decay_t<decltype(events::all)>>,
              "one route per event");

using RouteSet = std::uint32_t;
static_assert(std::size(kRoutes) <= 32, "one bit per route");

// The rows whose method begins with each byte: only those can match a name.
RouteSet routesMatching(std::string_view method) {
    RouteSet matching = 0;
    if (method.empty()) return matching;
    for (std::size_t row = 0; row < std::size(kRoutes); ++row) {
        if (kRoutes[row].method.front() == method.front() && kRoutes[row].matches(method))
            matching |= RouteSet{1} << row;
    }
    return matching;
}

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
    static constexpr auto kMethod = elementNames(std::array<std::string_view, 1>{"Method"});
    ElementSpan method;
    findElements(text, {kMethod.data(), kMethod.size()}, &method);
    RouteSet matching = routesMatching(valueOf(text, method));
    for (std::size_t row = 0; matching != 0; ++row, matching >>= 1) {
        if ((matching & 1) != 0) kRoutes[row].handler(*this, events, text);
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
