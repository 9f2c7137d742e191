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
#include <type_traits>
#include <vector>

#include "MessageFormat.h"
#include "CommunicationsService/framework/Utilities.h"

namespace {

using Ifc = CommunicationsServiceEventIfc;
using Self = CommunicationsServiceEventInvoker;

// Hands out the located elements of a text in the order the handler names them.
class ElementCursor {
public:
    ElementCursor(std::string_view message, const ElementSpan* spans)
        : message(message), next(spans) {}

    std::string text() { return std::string(view()); }
    int number() { return static_cast<int>(numberOf(message, *next++)); }
    std::string_view view() { return valueOf(message, *next++); }

private:
    std::string_view message;
    const ElementSpan* next;
};

// Field kinds. Each names the elements it reads, without their brackets, and reads them
// from the cursor; a missing element reads as "" or -1.

struct Text {
    static constexpr std::size_t kElements = 1;
    std::string_view name;
    void names(std::string_view*& out) const { *out++ = name; }
    std::string read(ElementCursor& elements, const std::string&) const { return elements.text(); }
};

struct Number {
    static constexpr std::size_t kElements = 1;
    std::string_view name;
    void names(std::string_view*& out) const { *out++ = name; }
    int read(ElementCursor& elements, const std::string&) const { return elements.number(); }
};

// A message counter keeps the number's bits: a missing one arrives as 4294967295.
struct Counter {
    static constexpr std::size_t kElements = 1;
    std::string_view name;
    void names(std::string_view*& out) const { *out++ = name; }
    unsigned int read(ElementCursor& elements, const std::string&) const {
        return static_cast<unsigned int>(elements.number());
    }
};

// A missing flag reads as -1 and so arrives as true; the service relies on that.
struct Flag {
    static constexpr std::size_t kElements = 1;
    std::string_view name;
    void names(std::string_view*& out) const { *out++ = name; }
    bool read(ElementCursor& elements, const std::string&) const { return elements.number() != 0; }
};

struct NumberList {
    static constexpr std::size_t kElements = 1;
    std::string_view name;
    void names(std::string_view*& out) const { *out++ = name; }
    std::vector<int> read(ElementCursor& elements, const std::string&) const {
        std::string encoded = elements.text();
        std::vector<int> values;
        Serializer::deserialize(encoded, values);
        return values;
    }
};

struct TextList {
    static constexpr std::size_t kElements = 1;
    std::string_view name;
    void names(std::string_view*& out) const { *out++ = name; }
    std::vector<std::string> read(ElementCursor& elements, const std::string&) const {
        std::string encoded = elements.text();
        return Serializer::deserialize(encoded);
    }
};

// The pass-through events hand on the text itself, cut behind the first closing text
// (a tag without its '<'). The cut length is computed in 32 bits as the phone does: when
// the text is missing, the not-found position plus its nine characters wraps to 8.
struct Payload {
    static constexpr std::size_t kElements = 0;
    const char* closing;
    void names(std::string_view*&) const {}
    std::string& read(ElementCursor&, std::string& message) const {
        const auto position = static_cast<std::uint32_t>(message.find(closing));
        const std::uint32_t length = position + static_cast<std::uint32_t>(std::strlen(closing));
        message.erase(0, length);
        return message;
    }
};

struct FreeRecord {
    void operator()(CallPartyInfo* record) const { std::free(record); }
};
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

// Copies up to the value's first NUL, cut to fit with its terminator.
void copyInto(char (&field)[65], std::string_view value) {
    const std::size_t limit = std::min(value.size(), sizeof field - 1);
    std::size_t length = 0;
    for (; length < limit && value[length] != '\0'; ++length)
        field[length] = value[length];
    field[length] = '\0';
}

// The four parties travel inside the record, copied straight from the text.
struct Parties {
    static constexpr std::size_t kElements = 4;
    CallPartyInfo* record;
    void names(std::string_view*& out) const {
        *out++ = "GPUCLG";
        *out++ = "GPUCLGName";
        *out++ = "GPUCLD";
        *out++ = "GPUCLDName";
    }
    CallPartyInfo* read(ElementCursor& elements, const std::string&) const {
        const std::string_view callingParty = elements.view();
        const std::string_view callingPartyName = elements.view();
        const std::string_view calledParty = elements.view();
        const std::string_view calledPartyName = elements.view();
        copyInto(record->callingParty, callingParty);
        copyInto(record->callingPartyName, callingPartyName);
        copyInto(record->calledParty, calledParty);
        copyInto(record->calledPartyName, calledPartyName);
        return record;
    }
};

template <typename Callback> struct Arity;
template <typename... Params>
struct Arity<void (Ifc::*)(Params...)> : std::integral_constant<std::size_t, sizeof...(Params)> {};

// Locates the handler's elements in one pass over the text, reads the fields in the order
// given (a braced list is evaluated left to right), then makes the one callback. Each
// callback is made by one handler only, whose element names never change, so their index
// is built on its first event and kept.
template <auto callback, typename Message, typename... Fields>
void deliver(Ifc* subscriber, Message& message, const Fields&... fields) {
    static_assert(Arity<decltype(callback)>::value == sizeof...(Fields),
                  "one field per callback argument");
    constexpr std::size_t count = (Fields::kElements + ...);
    static const ElementNames names = [&] {
        std::array<std::string_view, count> list;
        std::string_view* next = list.data();
        (fields.names(next), ...);
        return ElementNames(list.data(), count);
    }();
    std::array<ElementSpan, count> spans;
    findElements(message, names, spans.data());
    ElementCursor elements(message, spans.data());
    std::tuple<decltype(fields.read(elements, message))...> values{
        fields.read(elements, message)...};
    std::apply([&](auto&... value) { (subscriber->*callback)(value...); }, values);
}

using Handler = void (*)(Self&, Ifc*, std::string&);

template <void (Self::*handler)(Ifc*, std::string&)>
void run(Self& self, Ifc* subscriber, std::string& message) {
    (self.*handler)(subscriber, message);
}

struct Route {
    std::string_view method;
    bool exact;
    Handler handler;

    bool matches(std::string_view name) const {
        return exact ? name == method : name.substr(0, method.size()) == method;
    }
};

// Every row is tried for every message; only the first compares the whole name.
constexpr Route kRoutes[] = {
    {"CallStateChangeEvent", true, run<&Self::callStateChangeEvent>},
    {"RegistrationStateChangeEvent", false, run<&Self::registrationStateChangeEvent>},
    {"IncomingCallEvent", false, run<&Self::incomingCallEvent>},
    {"IncomingPickupCallEvent", false, run<&Self::incomingPickupCallEvent>},
    {"CallHeldEvent", false, run<&Self::callHeldEvent>},
    {"CallRetrievedEvent", false, run<&Self::callRetrievedEvent>},
    {"FeatureSuccessEvent", false, run<&Self::featureSuccessEvent>},
    {"FeatureFailedEvent", false, run<&Self::featureFailedEvent>},
    {"RemoteEndpointDetailsChangedEvent", false, run<&Self::remoteEndpointDetailsChangedEvent>},
    {"IncomingCallMissedEvent", false, run<&Self::incomingCallMissedEvent>},
    {"CallForwardedEvent", false, run<&Self::callForwardedEvent>},
    {"DevicesChangedEvent", false,
     [](Self&, Ifc* subscriber, std::string&) { subscriber->onDevicesChangedEvent(); }},
    {"messageWaitingEvent", false, run<&Self::messageWaitingEvent>},
    {"DoNotDisturbEvent", false, run<&Self::doNotDisturbEvent>},
    {"AgentStateEvent", false, run<&Self::agentStateEvent>},
    {"systemStatusEvent", false, run<&Self::systemStatusEvent>},
    {"serverFeatureStatusEvent", false, run<&Self::serverFeatureStatusEvent>},
    {"IncomingAssociatedCallEvent", false,
     [](Self& self, Ifc* subscriber, std::string& message) {
         self.incomingAssociatedCallEvent(subscriber, message);
     }},
    {"b2buaCSTAResponse", false, run<&Self::b2buaCSTAResponse>},
    {"b2buaCSTAEventOrRequest", false, run<&Self::b2buaCSTAEventOrRequest>},
    {"conferenceStatusEvent", false, run<&Self::conferenceStatusEvent>},
    {"securityStatusChanged", false, run<&Self::securityStatusChanged>},
    {"preemptionStatusChanged", false, run<&Self::preemptionStatusChanged>},
    {"impactLevelChanged", false, run<&Self::impactLevelChanged>},
    {"callRecordingStatusEvent", false, run<&Self::callRecordingStatusEvent>},
    {"callCompletionEvent", false, run<&Self::callCompletionEvent>},
    {"callCompletionFailedEvent", false, run<&Self::callCompletionFailedEvent>},
    {"bluetoothAudioStatusChanged", false, run<&Self::bluetoothAudioStatusChanged>},
};

using RouteSet = std::uint32_t;
static_assert(std::size(kRoutes) <= 32, "one bit per route");

// The rows whose method begins with each byte: only those can match a name.
constexpr std::array<RouteSet, 256> routesByFirstByte() {
    std::array<RouteSet, 256> rows{};
    for (std::size_t row = 0; row < std::size(kRoutes); ++row) {
        rows[static_cast<unsigned char>(kRoutes[row].method.front())] |= RouteSet{1} << row;
    }
    return rows;
}
constexpr std::array<RouteSet, 256> kRoutesByFirstByte = routesByFirstByte();

RouteSet routesMatching(std::string_view method) {
    if (method.empty()) return 0;
    RouteSet matching = 0;
    RouteSet candidates = kRoutesByFirstByte[static_cast<unsigned char>(method.front())];
    for (std::size_t row = 0; candidates != 0; ++row, candidates >>= 1) {
        if ((candidates & 1) != 0 && kRoutes[row].matches(method)) matching |= RouteSet{1} << row;
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
    static const ElementNames kMethod{"Method"};
    ElementSpan method;
    findElements(text, kMethod, &method);
    RouteSet matching = routesMatching(valueOf(text, method));
    for (std::size_t row = 0; matching != 0; ++row, matching >>= 1) {
        if ((matching & 1) != 0) kRoutes[row].handler(*this, events, text);
    }
    if (response != nullptr) response->messageHandled();
}

// Call state and incoming calls.

void Self::callStateChangeEvent(Ifc* subscriber, std::string& message) {
    const PartyRecord parties = newPartyRecord();
    deliver<&Ifc::onCallStateChangeEvent>(
        subscriber, message, Text{"LineID"}, Number{"CallID"}, Number{"CallState"},
        Number{"Reason"}, Number{"SendOptions"}, Text{"URI"}, Text{"Name"}, Text{"FullPAI"},
        Parties{parties.get()}, Number{"ResourcePriority"}, Number{"PreemptionCause"},
        Text{"PreemptionText"}, Flag{"CallBackFearureAvailable"}, Number{"ILCallLevel"},
        Number{"ILLocalLevel"});
}

void Self::incomingCallEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onIncomingCallEvent>(
        subscriber, message, Text{"LineID"}, Number{"CallID"}, Text{"URI"}, Text{"Name"},
        Text{"FullPAI"}, Text{"AlertInformation_AlertURI"}, Text{"AlertInformation_InfoParam"},
        Flag{"AlertInformation_AutoAnswer"}, Number{"CallType"}, Text{"DiversionURI"},
        Text{"DiversionName"}, Number{"DiversionReason"}, Flag{"AICSZIPAutoAnswer"},
        Number{"ResourcePriority"}, Number{"ILCallLevel"}, Number{"ILLocalLevel"},
        Flag{"IsVideoCall"});
}

void Self::incomingPickupCallEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onIncomingPickupCallEvent>(subscriber, message, Text{"LineID"}, Number{"CallID"},
                                             Text{"URI"}, Text{"Name"}, Text{"FullPAI"});
}

void Self::incomingCallMissedEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onIncomingCallMissedEvent>(subscriber, message, Text{"LineID"}, Number{"CallID"},
                                             Text{"URI"}, Text{"Name"}, Text{"FullPAI"},
                                             Number{"Reason"}, Text{"DiversionURI"},
                                             Text{"DiversionName"}, Number{"DiversionReason"});
}

void Self::incomingAssociatedCallEvent(Ifc* subscriber, const std::string& message) {
    deliver<&Ifc::onIncomingAssociatedCallEvent>(subscriber, message, Text{"LineID"},
                                                 Number{"CurrentCallID"}, Number{"NewCallID"});
}

// Call transitions.

void Self::callHeldEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onCallHeldEvent>(subscriber, message, Text{"LineID"}, Number{"CallID"});
}

void Self::callRetrievedEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onCallRetrievedEvent>(subscriber, message, Text{"LineID"}, Number{"CallID"},
                                        Text{"URI"}, Text{"Name"}, Text{"FullPAI"},
                                        Number{"ILCallLevel"}, Number{"ILLocalLevel"},
                                        Flag{"ConnectedToMediaServer"});
}

void Self::remoteEndpointDetailsChangedEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onRemoteEndpointDetailsChangedEvent>(
        subscriber, message, Text{"LineID"}, Number{"CallID"}, Text{"URI"}, Text{"Name"},
        Text{"FullPAI"}, Flag{"exitConf"}, Flag{"jointCall"});
}

void Self::callForwardedEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onCallForwardedEvent>(subscriber, message, Text{"LineID"}, Number{"CallID"},
                                        Text{"CallingParty"}, Text{"CallingPartyName"},
                                        Text{"CallingPartyFullPAI"}, Text{"NewDestination"},
                                        Number{"Reason"});
}

// Line, feature and device status.

void Self::registrationStateChangeEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onRegistrationStateChangeEvent>(subscriber, message, Text{"LineID"},
                                                  Number{"CallID"}, Flag{"Registered"},
                                                  Number{"RegistrationResult"});
}

void Self::featureSuccessEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onFeatureSuccessEvent>(subscriber, message, Text{"LineID"}, Number{"CallID"},
                                         Number{"Feature"});
}

void Self::featureFailedEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onFeatureFailedEvent>(subscriber, message, Text{"LineID"}, Number{"CallID"},
                                        Number{"Feature"}, Number{"FeatureFailure"});
}

void Self::messageWaitingEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onMessageWaitingEvent>(
        subscriber, message, Text{"LineID"}, Number{"type"}, Counter{"new_messages"},
        Counter{"old_messages"}, Counter{"new_urgent_messages"}, Counter{"old_urgent_messages"},
        Number{"return_type"}, Number{"avail_info"}, Number{"messages_waiting"},
        Text{"voiceMailNumber"});
}

void Self::doNotDisturbEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onDoNotDisturbEvent>(subscriber, message, Text{"deviceId"},
                                       Flag{"doNotDisturbOn"});
}

void Self::agentStateEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onAgentStateEvent>(subscriber, message, Text{"deviceId"}, Text{"agentState"});
}

void Self::callRecordingStatusEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onCallRecordingStatusEvent>(subscriber, message, Text{"LineID"}, Number{"callId"},
                                              Text{"callRecorded"});
}

void Self::systemStatusEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onSystemStatusEvent>(subscriber, message, Text{"status"}, Text{"statusInfo"});
}

void Self::serverFeatureStatusEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onServerFeatureStatusEvent>(subscriber, message, Text{"lineURI"}, Text{"status"});
}

void Self::conferenceStatusEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onConferenceStatusEvent>(subscriber, message, Text{"LineID"}, Number{"CallID"},
                                           Text{"XMLContent"});
}

void Self::callCompletionEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onCallCompletionEvent>(
        subscriber, message, Text{"LineID"}, Text{"URI"}, Number{"CallCompletionType"},
        Number{"CallCompletionState"}, Flag{"DisplayOutcomeCallUI"});
}

void Self::callCompletionFailedEvent(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onCallCompletionFailedEvent>(subscriber, message, Text{"LineID"}, Text{"URI"},
                                               Number{"CallCompletionFailureType"});
}

void Self::bluetoothAudioStatusChanged(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onBluetoothAudioStatusChanged>(subscriber, message, Text{"LineID"},
                                                 Number{"CallID"}, Flag{"AudioEnabled"},
                                                 Flag{"AudioGateway"}, Flag{"InBandRinging"});
}

// Security and precedence.

void Self::securityStatusChanged(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onSecurityStatusChanged>(subscriber, message, Text{"lineURI"}, Number{"callId"},
                                           Number{"securityStatus"}, NumberList{"CallIDsRecorded"},
                                           TextList{"CallLineURIsRecorded"});
}

void Self::preemptionStatusChanged(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onPreemptionStatusChanged>(subscriber, message, Text{"lineURI"}, Number{"callId"},
                                             Number{"priority"}, Number{"cause"}, Text{"reason"});
}

void Self::impactLevelChanged(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onImpactLevelChanged>(subscriber, message, Text{"lineURI"}, Number{"callId"},
                                        Number{"ILCallLevel"}, Number{"ILLocalLevel"});
}

// Back-to-back CSTA pass-through.

void Self::b2buaCSTAResponse(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onB2buaCSTAResponse>(subscriber, message, Text{"lineURI"}, Flag{"success"},
                                       Payload{"/success>"});
}

void Self::b2buaCSTAEventOrRequest(Ifc* subscriber, std::string& message) {
    deliver<&Ifc::onB2buaCSTAEventOrRequest>(subscriber, message, Text{"lineURI"},
                                             Payload{"/lineURI>"});
}
