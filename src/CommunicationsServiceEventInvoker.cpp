#include "CommunicationsServiceEventInvoker.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
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

constexpr std::size_t kEvents = std::tuple_size_v<std::decay_t<decltype(events::all)>>;

// ---------------------------------------------------------------------------------------
// The events as compact tables made at compile time from the description: every name in
// one pool, each event as the names of its elements and where each sort of value stands
// among them. One reader serves every event; each event's own code only calls its callback.
// ---------------------------------------------------------------------------------------

// How many elements a field looks up: the parties four, a payload none.
constexpr std::size_t elementsOf(Kind kind) {
    return kind == Kind::parties ? std::size(protocol::kPartyTags) : kind == Kind::payload ? 0 : 1;
}

// Whether a field's value is kept as a text or as a number until the callback.
constexpr bool isText(Kind kind) { return kind == Kind::text; }
constexpr bool isNumber(Kind kind) {
    return kind == Kind::number || kind == Kind::counter || kind == Kind::flag;
}

template <typename Event> constexpr std::size_t fieldCount(const Event&) {
    return std::tuple_size_v<std::decay_t<decltype(Event::fields)>>;
}

struct Bounds {
    std::size_t fields = 0;
    std::size_t elements = 0;
    std::size_t names = 0; // bytes of all names
};

constexpr Bounds bounds() {
    std::size_t partyBytes = 0;
    for (const std::string_view tag : protocol::kPartyTags)
        partyBytes += 2 * tag.size() + 5;
    Bounds most;
    most.names = protocol::kMethodOpen.size();
    std::apply(
        [&](const auto&... event) {
            const auto measure = [&](const auto& one) {
                most.names += one.method.size();
                std::size_t elements = 0;
                std::apply(
                    [&](const auto&... field) {
                        ((elements += elementsOf(field.kind),
                          most.names += field.kind == Kind::parties   ? partyBytes
                                        : field.kind == Kind::payload ? field.tag.size()
                                                                      : 2 * field.tag.size() + 5),
                         ...);
                    },
                    one.fields);
                most.fields = std::max(most.fields, fieldCount(one));
                most.elements = std::max(most.elements, elements);
            };
            (measure(event), ...);
        },
        events::all);
    return most;
}

constexpr Bounds kBounds = bounds();

constexpr std::uint8_t kAbsent = 0xFF;
static_assert(kBounds.elements < kAbsent, "every element's place fits its byte");

// An event's fields by what their values become, each as the place of its element among
// the names: texts and numbers in the order the callback takes them, the rest at most one
// of each.
struct EventLayout {
    ElementName method;
    protocol::Match match = protocol::Match::exact;
    std::uint8_t elements = 0;
    ElementName names[kBounds.elements] = {};
    std::uint8_t texts = 0;
    std::uint8_t textAt[kBounds.fields] = {};
    std::uint8_t numbers = 0; // numbers, counters and flags
    std::uint8_t numberAt[kBounds.fields] = {};
    std::uint8_t numberList = kAbsent;
    std::uint8_t textList = kAbsent;
    std::uint8_t parties = kAbsent; // the first of the four
    bool payload = false;
    ElementName closing; // the payload's closing text
};

struct Catalogue {
    NamePool<kBounds.names> pool;
    EventLayout events[kEvents];
};

template <typename Event>
constexpr EventLayout layoutOf(const Event& event, NamePool<kBounds.names>& pool) {
    EventLayout layout;
    layout.method = pool.add(event.method);
    layout.match = event.match;
    std::string_view names[kBounds.elements] = {};
    Kind kinds[kBounds.fields] = {};
    std::size_t fields = 0;
    std::apply(
        [&](const auto&... field) {
            [[maybe_unused]] const auto add = [&](Kind kind, std::string_view tag) {
                kinds[fields++] = kind;
                const auto element = static_cast<std::uint8_t>(layout.elements);
                if (kind == Kind::parties) {
                    if (layout.parties != kAbsent) throw "one field of parties at most";
                    layout.parties = element;
                    for (const std::string_view party : protocol::kPartyTags)
                        names[layout.elements++] = party;
                    return;
                }
                if (kind == Kind::payload) {
                    if (layout.payload) throw "one payload at most";
                    layout.payload = true;
                    layout.closing = pool.add(tag);
                    return;
                }
                if (tag == "Method") throw "no field may be named Method";
                names[layout.elements++] = tag;
                if (isText(kind)) {
                    layout.textAt[layout.texts++] = element;
                } else if (isNumber(kind)) {
                    layout.numberAt[layout.numbers++] = element;
                } else {
                    std::uint8_t& list =
                        kind == Kind::numberList ? layout.numberList : layout.textList;
                    if (list != kAbsent) throw "one list of each sort at most";
                    list = element;
                }
            };
            (add(field.kind, field.tag), ...);
        },
        event.fields);
    for (std::size_t i = 0; i < layout.elements; ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (names[i] == names[j]) throw "duplicate element name";
        }
    }
    pool.elements(names, layout.elements, layout.names);
    if (fields != 0 && kinds[fields - 1] != Kind::payload) {
        for (std::size_t i = 0; i < fields; ++i) {
            if (kinds[i] == Kind::payload) throw "a payload is read last";
        }
    }
    return layout;
}

constexpr Catalogue catalogue() {
    Catalogue built{};
    std::size_t row = 0;
    std::apply(
        [&](const auto&... event) { ((built.events[row++] = layoutOf(event, built.pool)), ...); },
        events::all);
    return built;
}

constexpr Catalogue kCatalogue = catalogue();

ElementNames namesOf(const EventLayout& layout) {
    return {kCatalogue.pool.bytes, layout.names, layout.elements};
}

// ---------------------------------------------------------------------------------------
// Reading an event's fields into the values its callback takes.
// ---------------------------------------------------------------------------------------

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

// The texts of an event, each built once in place and destroyed with the event.
struct TextSlots {
    unsigned char* next;
    std::size_t* built;

    void add(std::string_view value) {
        new (next) std::string(value);
        next += sizeof(std::string);
        ++*built;
    }
};

template <std::size_t N> class Texts {
public:
    Texts() = default;
    Texts(const Texts&) = delete;
    Texts& operator=(const Texts&) = delete;
    ~Texts() {
        for (std::size_t i = 0; i < built; ++i)
            (*this)[i].~basic_string();
    }
    std::string& operator[](std::size_t i) {
        return *std::launder(reinterpret_cast<std::string*>(bytes + i * sizeof(std::string)));
    }
    TextSlots slots() { return {bytes, &built}; }

private:
    alignas(std::string) unsigned char bytes[(N == 0 ? 1 : N) * sizeof(std::string)];
    std::size_t built = 0;
};

struct Lists {
    std::vector<int> numbers;
    std::vector<std::string> texts;
};

struct Values {
    TextSlots texts;
    int* numbers;
    Lists* lists;
    CallPartyInfo* record;
};

// Reads every field of an event, each sort in a loop of its own, the texts and the numbers
// in the order the callback takes them. Returns where a payload begins: behind its closing
// text, the position computed in 32 bits as the phone does, so that a missing closing text
// (not found, plus its nine bytes) wraps to 8.
std::uint32_t readFields(const std::string& message, const EventLayout& layout, std::size_t from,
                         const Values& values) {
    // Left uninitialised: findElements writes every span it is given.
    alignas(ElementSpan) unsigned char spanBytes[sizeof(ElementSpan) * kBounds.elements];
    auto* const spans = reinterpret_cast<ElementSpan*>(spanBytes);
    findElements(message, namesOf(layout), spans, from);
    TextSlots texts = values.texts;
    for (std::size_t i = 0; i < layout.texts; ++i)
        texts.add(valueOf(message, spans[layout.textAt[i]]));
    for (std::size_t i = 0; i < layout.numbers; ++i)
        values.numbers[i] = static_cast<int>(numberOf(message, spans[layout.numberAt[i]]));
    if (layout.numberList != kAbsent) {
        std::string encoded(valueOf(message, spans[layout.numberList]));
        Serializer::deserialize(encoded, values.lists->numbers);
    }
    if (layout.textList != kAbsent) {
        std::string encoded(valueOf(message, spans[layout.textList]));
        values.lists->texts = Serializer::deserialize(encoded);
    }
    if (layout.parties != kAbsent) {
        const ElementSpan* const party = spans + layout.parties;
        CallPartyInfo* const record = values.record;
        copyInto(record->callingParty, valueOf(message, party[0]));
        copyInto(record->callingPartyName, valueOf(message, party[1]));
        copyInto(record->calledParty, valueOf(message, party[2]));
        copyInto(record->calledPartyName, valueOf(message, party[3]));
    }
    if (!layout.payload) return 0;
    const std::string_view closing = kCatalogue.pool.text(layout.closing);
    return static_cast<std::uint32_t>(message.find(closing.data(), 0, closing.size())) +
           static_cast<std::uint32_t>(closing.size());
}

template <typename Fields> constexpr auto kindsOf() {
    return std::apply(
        [](const auto&... field) { return std::array<Kind, sizeof...(field)>{field.kind...}; },
        Fields{});
}

// Where the I-th field's value is kept among those of its sort.
template <typename Fields, std::size_t I> constexpr std::size_t slotOf(bool (*same)(Kind)) {
    std::size_t slot = 0;
    for (std::size_t i = 0; i + 1 <= I; ++i)
        slot += same(kindsOf<Fields>()[i]) ? 1 : 0;
    return slot;
}

template <typename Fields> constexpr bool has(Kind kind) {
    for (const Kind each : kindsOf<Fields>()) {
        if (each == kind) return true;
    }
    return false;
}

template <typename Fields> constexpr std::size_t countOf(bool (*same)(Kind)) {
    return slotOf<Fields, std::tuple_size_v<Fields>>(same);
}

template <typename Fields, std::size_t I, typename Storage, typename Message>
decltype(auto) argument(Storage& storage, Message& message, CallPartyInfo* record) {
    constexpr Kind kind = std::tuple_element_t<I, Fields>::kind;
    if constexpr (kind == Kind::text)
        return static_cast<const std::string&>(storage.texts[slotOf<Fields, I>(isText)]);
    else if constexpr (kind == Kind::number)
        return storage.numbers[slotOf<Fields, I>(isNumber)];
    // The counters keep the number's 32 bits: a missing one arrives as 4294967295.
    else if constexpr (kind == Kind::counter)
        return static_cast<unsigned int>(storage.numbers[slotOf<Fields, I>(isNumber)]);
    // A missing flag reads as -1 and so arrives as true; the service relies on that.
    else if constexpr (kind == Kind::flag)
        return storage.numbers[slotOf<Fields, I>(isNumber)] != 0;
    else if constexpr (kind == Kind::numberList)
        return static_cast<std::vector<int>&>(storage.lists.numbers);
    else if constexpr (kind == Kind::textList)
        return static_cast<std::vector<std::string>&>(storage.lists.texts);
    else if constexpr (kind == Kind::payload)
        return static_cast<Message&>(message);
    else
        return record;
}

template <typename Fields> struct Storage {
    Texts<countOf<Fields>(isText)> texts;
    int numbers[std::max<std::size_t>(countOf<Fields>(isNumber), 1)];
    std::conditional_t<has<Fields>(Kind::numberList) || has<Fields>(Kind::textList), Lists,
                       std::tuple<>>
        lists;
};

template <const auto& event, typename Message, std::size_t... I>
void deliverFields(Ifc* subscriber, Message& message, std::size_t from, std::index_sequence<I...>) {
    using Fields = std::decay_t<decltype(event.fields)>;
    constexpr std::size_t row = protocol::rowOf(events::all, event.method);
    static_assert(row < kEvents, "every event is in the description's list");
    // The record is allocated before any field is read, as the phone has always done.
    PartyRecord record;
    if constexpr (has<Fields>(Kind::parties)) record = newPartyRecord();
    Storage<Fields> storage;
    Lists* lists = nullptr;
    if constexpr (std::is_same_v<decltype(storage.lists), Lists>) lists = &storage.lists;
    const std::uint32_t cut =
        readFields(message, kCatalogue.events[row], from,
                   {storage.texts.slots(), storage.numbers, lists, record.get()});
    if constexpr (has<Fields>(Kind::payload)) message.erase(0, cut);
    (void)cut;
    constexpr auto callback = event.callback;
    (subscriber->*callback)(argument<Fields, I>(storage, message, record.get())...);
}

// Reads an event's fields and makes its one callback.
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
constexpr std::array<Delivery, kEvents> deliveries(std::index_sequence<Row...>) {
    return {&deliverAt<Row>...};
}

// Each row's delivery, by its place in the description.
constexpr std::array<Delivery, kEvents> kDeliveries =
    deliveries(std::make_index_sequence<kEvents>());

using RouteSet = std::uint32_t;
static_assert(kEvents <= 32, "one bit per route");

// Speed, under the contract of MessageFormat.h. First byte: the rows whose method name
// begins with each byte; only those are compared with a name.
struct RoutesByFirstByte {
    RouteSet rows[256] = {};
};

constexpr RoutesByFirstByte routesByFirstByte() {
    RoutesByFirstByte table;
    for (std::size_t row = 0; row < kEvents; ++row) {
        const auto first =
            static_cast<unsigned char>(kCatalogue.pool.text(kCatalogue.events[row].method).front());
        table.rows[first] |= RouteSet{1} << row;
    }
    return table;
}

constexpr RoutesByFirstByte kRoutesByFirstByte = routesByFirstByte();

// Every row whose name matches, in the description's order.
RouteSet routesMatching(std::string_view method) {
    if (method.empty()) return 0;
    RouteSet candidates = kRoutesByFirstByte.rows[static_cast<unsigned char>(method.front())];
    RouteSet matching = 0;
    for (; candidates != 0; candidates &= candidates - 1) {
        const auto row = static_cast<std::size_t>(__builtin_ctz(candidates));
        const EventLayout& event = kCatalogue.events[row];
        const std::string_view name = kCatalogue.pool.text(event.method);
        // The name's last byte is compared first: rows that share the first byte seldom
        // share that one.
        if (method.size() < name.size() || method[name.size() - 1] != name.back()) continue;
        if (event.match == protocol::Match::exact ? method.size() == name.size() && method == name
                                                  : method.compare(0, name.size(), name) == 0)
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
    std::size_t fields = 0;
    const ElementSpan method = findMethod(text, fields);
    RouteSet matching = routesMatching(valueOf(text, method));
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
