#include "StraightforwardInvoker.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <tuple>
#include <vector>

#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsService/framework/Utilities.h"

namespace bench {
namespace {

using Ifc = CommunicationsServiceEventIfc;
using Readers = CommunicationsServiceEventInvoker;

std::string openTag(const char* name) { return std::string("<").append(name).append(">"); }
std::string closeTag(const char* name) { return std::string("</").append(name).append(">"); }

// Field kinds. Each reads one element, named without its brackets, from the whole text.

struct Text {
    const char* name;
    std::string read(Readers& readers, const std::string& message) const {
        return readers.getParamAsString(openTag(name), message, closeTag(name));
    }
};

struct Number {
    const char* name;
    int read(Readers& readers, const std::string& message) const {
        return static_cast<int>(readers.getParamAsLong(openTag(name), message, closeTag(name)));
    }
};

// A message counter keeps the number's bits: a missing one arrives as 4294967295.
struct Counter {
    const char* name;
    unsigned int read(Readers& readers, const std::string& message) const {
        return static_cast<unsigned int>(Number{name}.read(readers, message));
    }
};

// A missing flag reads as -1 and so arrives as true; the service relies on that.
struct Flag {
    const char* name;
    bool read(Readers& readers, const std::string& message) const {
        return Number{name}.read(readers, message) != 0;
    }
};

struct NumberList {
    const char* name;
    std::vector<int> read(Readers& readers, const std::string& message) const {
        std::string encoded = Text{name}.read(readers, message);
        std::vector<int> values;
        Serializer::deserialize(encoded, values);
        return values;
    }
};

struct TextList {
    const char* name;
    std::vector<std::string> read(Readers& readers, const std::string& message) const {
        std::string encoded = Text{name}.read(readers, message);
        return Serializer::deserialize(encoded);
    }
};

// The pass-through events hand on the text itself, cut behind the first closing text
// (a tag without its '<'). The cut length is computed in 32 bits as the phone does: when
// the text is missing, the not-found position plus its nine characters wraps to 8.
struct Payload {
    const char* closing;
    std::string& read(Readers&, std::string& message) const {
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
void copyInto(char (&field)[65], const std::string& value) {
    const std::size_t length = std::min(std::strlen(value.c_str()), sizeof field - 1);
    std::memcpy(field, value.c_str(), length);
    field[length] = '\0';
}

struct Parties {
    CallPartyInfo* record;
    CallPartyInfo* read(Readers& readers, const std::string& message) const {
        const std::string callingParty = Text{"GPUCLG"}.read(readers, message);
        const std::string callingPartyName = Text{"GPUCLGName"}.read(readers, message);
        const std::string calledParty = Text{"GPUCLD"}.read(readers, message);
        const std::string calledPartyName = Text{"GPUCLDName"}.read(readers, message);
        copyInto(record->callingParty, callingParty);
        copyInto(record->callingPartyName, callingPartyName);
        copyInto(record->calledParty, calledParty);
        copyInto(record->calledPartyName, calledPartyName);
        return record;
    }
};

// Reads the fields in the order given (a braced list is evaluated left to right), then
// makes the one callback with them.
template <typename Message, typename... Params, typename... Fields>
void deliver(Readers& readers, Ifc* subscriber, void (Ifc::*callback)(Params...), Message& message,
             const Fields&... fields) {
    static_assert(sizeof...(Params) == sizeof...(Fields), "one field per callback argument");
    std::tuple<decltype(fields.read(readers, message))...> values{fields.read(readers, message)...};
    std::apply([&](auto&... value) { (subscriber->*callback)(value...); }, values);
}

using Handler = void (*)(Readers&, Ifc*, std::string&);

// Call state and incoming calls.

void callStateChangeEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    const PartyRecord parties = newPartyRecord();
    deliver(readers, subscriber, &Ifc::onCallStateChangeEvent, message, Text{"LineID"},
            Number{"CallID"}, Number{"CallState"}, Number{"Reason"}, Number{"SendOptions"},
            Text{"URI"}, Text{"Name"}, Text{"FullPAI"}, Parties{parties.get()},
            Number{"ResourcePriority"}, Number{"PreemptionCause"}, Text{"PreemptionText"},
            Flag{"CallBackFearureAvailable"}, Number{"ILCallLevel"}, Number{"ILLocalLevel"});
}

void incomingCallEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onIncomingCallEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"URI"}, Text{"Name"}, Text{"FullPAI"},
            Text{"AlertInformation_AlertURI"}, Text{"AlertInformation_InfoParam"},
            Flag{"AlertInformation_AutoAnswer"}, Number{"CallType"}, Text{"DiversionURI"},
            Text{"DiversionName"}, Number{"DiversionReason"}, Flag{"AICSZIPAutoAnswer"},
            Number{"ResourcePriority"}, Number{"ILCallLevel"}, Number{"ILLocalLevel"},
            Flag{"IsVideoCall"});
}

void incomingPickupCallEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onIncomingPickupCallEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"URI"}, Text{"Name"}, Text{"FullPAI"});
}

void incomingCallMissedEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onIncomingCallMissedEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"URI"}, Text{"Name"}, Text{"FullPAI"}, Number{"Reason"},
            Text{"DiversionURI"}, Text{"DiversionName"}, Number{"DiversionReason"});
}

void incomingAssociatedCallEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onIncomingAssociatedCallEvent, message, Text{"LineID"},
            Number{"CurrentCallID"}, Number{"NewCallID"});
}

// Call transitions.

void callHeldEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onCallHeldEvent, message, Text{"LineID"}, Number{"CallID"});
}

void callRetrievedEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onCallRetrievedEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"URI"}, Text{"Name"}, Text{"FullPAI"}, Number{"ILCallLevel"},
            Number{"ILLocalLevel"}, Flag{"ConnectedToMediaServer"});
}

void remoteEndpointDetailsChangedEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onRemoteEndpointDetailsChangedEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"URI"}, Text{"Name"}, Text{"FullPAI"}, Flag{"exitConf"},
            Flag{"jointCall"});
}

void callForwardedEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onCallForwardedEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"CallingParty"}, Text{"CallingPartyName"},
            Text{"CallingPartyFullPAI"}, Text{"NewDestination"}, Number{"Reason"});
}

// Line, feature and device status.

void registrationStateChangeEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onRegistrationStateChangeEvent, message, Text{"LineID"},
            Number{"CallID"}, Flag{"Registered"}, Number{"RegistrationResult"});
}

void featureSuccessEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onFeatureSuccessEvent, message, Text{"LineID"},
            Number{"CallID"}, Number{"Feature"});
}

void featureFailedEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onFeatureFailedEvent, message, Text{"LineID"},
            Number{"CallID"}, Number{"Feature"}, Number{"FeatureFailure"});
}

void messageWaitingEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onMessageWaitingEvent, message, Text{"LineID"},
            Number{"type"}, Counter{"new_messages"}, Counter{"old_messages"},
            Counter{"new_urgent_messages"}, Counter{"old_urgent_messages"}, Number{"return_type"},
            Number{"avail_info"}, Number{"messages_waiting"}, Text{"voiceMailNumber"});
}

void doNotDisturbEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onDoNotDisturbEvent, message, Text{"deviceId"},
            Flag{"doNotDisturbOn"});
}

void agentStateEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onAgentStateEvent, message, Text{"deviceId"},
            Text{"agentState"});
}

void callRecordingStatusEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onCallRecordingStatusEvent, message, Text{"LineID"},
            Number{"callId"}, Text{"callRecorded"});
}

void systemStatusEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onSystemStatusEvent, message, Text{"status"},
            Text{"statusInfo"});
}

void serverFeatureStatusEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onServerFeatureStatusEvent, message, Text{"lineURI"},
            Text{"status"});
}

void conferenceStatusEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onConferenceStatusEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"XMLContent"});
}

void callCompletionEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onCallCompletionEvent, message, Text{"LineID"}, Text{"URI"},
            Number{"CallCompletionType"}, Number{"CallCompletionState"},
            Flag{"DisplayOutcomeCallUI"});
}

void callCompletionFailedEvent(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onCallCompletionFailedEvent, message, Text{"LineID"},
            Text{"URI"}, Number{"CallCompletionFailureType"});
}

void bluetoothAudioStatusChanged(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onBluetoothAudioStatusChanged, message, Text{"LineID"},
            Number{"CallID"}, Flag{"AudioEnabled"}, Flag{"AudioGateway"}, Flag{"InBandRinging"});
}

// Security and precedence.

void securityStatusChanged(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onSecurityStatusChanged, message, Text{"lineURI"},
            Number{"callId"}, Number{"securityStatus"}, NumberList{"CallIDsRecorded"},
            TextList{"CallLineURIsRecorded"});
}

void preemptionStatusChanged(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onPreemptionStatusChanged, message, Text{"lineURI"},
            Number{"callId"}, Number{"priority"}, Number{"cause"}, Text{"reason"});
}

void impactLevelChanged(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onImpactLevelChanged, message, Text{"lineURI"},
            Number{"callId"}, Number{"ILCallLevel"}, Number{"ILLocalLevel"});
}

// Back-to-back CSTA pass-through.

void b2buaCSTAResponse(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onB2buaCSTAResponse, message, Text{"lineURI"},
            Flag{"success"}, Payload{"/success>"});
}

void b2buaCSTAEventOrRequest(Readers& readers, Ifc* subscriber, std::string& message) {
    deliver(readers, subscriber, &Ifc::onB2buaCSTAEventOrRequest, message, Text{"lineURI"},
            Payload{"/lineURI>"});
}

struct Route {
    const char* method;
    bool exact;
    Handler handler;

    bool matches(const std::string& name) const {
        return exact ? name == method : name.compare(0, std::strlen(method), method) == 0;
    }
};

// Every row is tried for every message; only the first compares the whole name.
const Route kRoutes[] = {
    {"CallStateChangeEvent", true, callStateChangeEvent},
    {"RegistrationStateChangeEvent", false, registrationStateChangeEvent},
    {"IncomingCallEvent", false, incomingCallEvent},
    {"IncomingPickupCallEvent", false, incomingPickupCallEvent},
    {"CallHeldEvent", false, callHeldEvent},
    {"CallRetrievedEvent", false, callRetrievedEvent},
    {"FeatureSuccessEvent", false, featureSuccessEvent},
    {"FeatureFailedEvent", false, featureFailedEvent},
    {"RemoteEndpointDetailsChangedEvent", false, remoteEndpointDetailsChangedEvent},
    {"IncomingCallMissedEvent", false, incomingCallMissedEvent},
    {"CallForwardedEvent", false, callForwardedEvent},
    {"DevicesChangedEvent", false,
     [](Readers&, Ifc* subscriber, std::string&) { subscriber->onDevicesChangedEvent(); }},
    {"messageWaitingEvent", false, messageWaitingEvent},
    {"DoNotDisturbEvent", false, doNotDisturbEvent},
    {"AgentStateEvent", false, agentStateEvent},
    {"systemStatusEvent", false, systemStatusEvent},
    {"serverFeatureStatusEvent", false, serverFeatureStatusEvent},
    {"IncomingAssociatedCallEvent", false, incomingAssociatedCallEvent},
    {"b2buaCSTAResponse", false, b2buaCSTAResponse},
    {"b2buaCSTAEventOrRequest", false, b2buaCSTAEventOrRequest},
    {"conferenceStatusEvent", false, conferenceStatusEvent},
    {"securityStatusChanged", false, securityStatusChanged},
    {"preemptionStatusChanged", false, preemptionStatusChanged},
    {"impactLevelChanged", false, impactLevelChanged},
    {"callRecordingStatusEvent", false, callRecordingStatusEvent},
    {"callCompletionEvent", false, callCompletionEvent},
    {"callCompletionFailedEvent", false, callCompletionFailedEvent},
    {"bluetoothAudioStatusChanged", false, bluetoothAudioStatusChanged},
};

} // namespace

void StraightforwardInvoker::handleMessage(Executable* subscriber, const char* msg, int,
                                           InvokerResponse* response) {
    if (msg == nullptr) throw std::logic_error("basic_string::_M_construct null not valid");
    std::string text(msg);
    Ifc* events = subscriber != nullptr ? dynamic_cast<Ifc*>(subscriber) : nullptr;
    if (events == nullptr) std::printf("CommunicationsServiceEventSvc == NULL");
    const std::string method = readers.getParamAsString("<Method>", text, "</Method>");
    for (const Route& route : kRoutes) {
        if (route.matches(method)) route.handler(readers, events, text);
    }
    if (response != nullptr) response->messageHandled();
}

} // namespace bench
