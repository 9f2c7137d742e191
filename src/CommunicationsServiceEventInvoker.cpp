#include "CommunicationsServiceEventInvoker.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <tuple>
#include <vector>

#include "framework/Utilities.h"

namespace {

using Ifc = CommunicationsServiceEventIfc;
using Self = CommunicationsServiceEventInvoker;

std::string openTag(const char* name) { return std::string("<").append(name).append(">"); }
std::string closeTag(const char* name) { return std::string("</").append(name).append(">"); }

// Field kinds. Each reads one element, named without its brackets, from the whole text.

struct Text {
    const char* name;
    std::string read(Self& self, const std::string& message) const {
        return self.getParamAsString(openTag(name), message, closeTag(name));
    }
};

struct Number {
    const char* name;
    int read(Self& self, const std::string& message) const {
        return static_cast<int>(self.getParamAsLong(openTag(name), message, closeTag(name)));
    }
};

// A message counter keeps the number's bits: a missing one arrives as 4294967295.
struct Counter {
    const char* name;
    unsigned int read(Self& self, const std::string& message) const {
        return static_cast<unsigned int>(Number{name}.read(self, message));
    }
};

// A missing flag reads as -1 and so arrives as true; the service relies on that.
struct Flag {
    const char* name;
    bool read(Self& self, const std::string& message) const {
        return Number{name}.read(self, message) != 0;
    }
};

struct NumberList {
    const char* name;
    std::vector<int> read(Self& self, const std::string& message) const {
        std::string encoded = Text{name}.read(self, message);
        std::vector<int> values;
        Serializer::deserialize(encoded, values);
        return values;
    }
};

struct TextList {
    const char* name;
    std::vector<std::string> read(Self& self, const std::string& message) const {
        std::string encoded = Text{name}.read(self, message);
        return Serializer::deserialize(encoded);
    }
};

// The pass-through events hand on the text itself, cut behind the first closing text
// (a tag without its '<'). The cut length is computed in 32 bits as the phone does: when
// the text is missing, the not-found position plus its nine characters wraps to 8.
struct Payload {
    const char* closing;
    std::string& read(Self&, std::string& message) const {
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
    CallPartyInfo* read(Self& self, const std::string& message) const {
        const std::string callingParty = Text{"GPUCLG"}.read(self, message);
        const std::string callingPartyName = Text{"GPUCLGName"}.read(self, message);
        const std::string calledParty = Text{"GPUCLD"}.read(self, message);
        const std::string calledPartyName = Text{"GPUCLDName"}.read(self, message);
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
void deliver(Self& self, Ifc* subscriber, void (Ifc::*callback)(Params...), Message& message,
             const Fields&... fields) {
    static_assert(sizeof...(Params) == sizeof...(Fields), "one field per callback argument");
    std::tuple<decltype(fields.read(self, message))...> values{fields.read(self, message)...};
    std::apply([&](auto&... value) { (subscriber->*callback)(value...); }, values);
}

using Handler = void (*)(Self&, Ifc*, std::string&);

template <void (Self::*handler)(Ifc*, std::string&)>
void run(Self& self, Ifc* subscriber, std::string& message) {
    (self.*handler)(subscriber, message);
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

} // namespace

void CommunicationsServiceEventInvoker::handleMessage(Executable* subscriber, const char* msg,
                                                      int /*len*/, InvokerResponse* response) {
    // The framework's texts are NUL-terminated; its length argument has never been reliable.
    if (msg == nullptr) throw std::logic_error("basic_string::_M_construct null not valid");
    std::string text(msg);
    Ifc* events = subscriber != nullptr ? dynamic_cast<Ifc*>(subscriber) : nullptr;
    if (events == nullptr) std::printf("CommunicationsServiceEventSvc == NULL");
    const std::string method = getParamAsString("<Method>", text, "</Method>");
    for (const Route& route : kRoutes) {
        if (route.matches(method)) route.handler(*this, events, text);
    }
    if (response != nullptr) response->messageHandled();
}

// Call state and incoming calls.

void Self::callStateChangeEvent(Ifc* subscriber, std::string& message) {
    const PartyRecord parties = newPartyRecord();
    deliver(*this, subscriber, &Ifc::onCallStateChangeEvent, message, Text{"LineID"},
            Number{"CallID"}, Number{"CallState"}, Number{"Reason"}, Number{"SendOptions"},
            Text{"URI"}, Text{"Name"}, Text{"FullPAI"}, Parties{parties.get()},
            Number{"ResourcePriority"}, Number{"PreemptionCause"}, Text{"PreemptionText"},
            Flag{"CallBackFearureAvailable"}, Number{"ILCallLevel"}, Number{"ILLocalLevel"});
}

void Self::incomingCallEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onIncomingCallEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"URI"}, Text{"Name"}, Text{"FullPAI"},
            Text{"AlertInformation_AlertURI"}, Text{"AlertInformation_InfoParam"},
            Flag{"AlertInformation_AutoAnswer"}, Number{"CallType"}, Text{"DiversionURI"},
            Text{"DiversionName"}, Number{"DiversionReason"}, Flag{"AICSZIPAutoAnswer"},
            Number{"ResourcePriority"}, Number{"ILCallLevel"}, Number{"ILLocalLevel"},
            Flag{"IsVideoCall"});
}

void Self::incomingPickupCallEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onIncomingPickupCallEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"URI"}, Text{"Name"}, Text{"FullPAI"});
}

void Self::incomingCallMissedEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onIncomingCallMissedEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"URI"}, Text{"Name"}, Text{"FullPAI"}, Number{"Reason"},
            Text{"DiversionURI"}, Text{"DiversionName"}, Number{"DiversionReason"});
}

void Self::incomingAssociatedCallEvent(Ifc* subscriber, const std::string& message) {
    deliver(*this, subscriber, &Ifc::onIncomingAssociatedCallEvent, message, Text{"LineID"},
            Number{"CurrentCallID"}, Number{"NewCallID"});
}

// Call transitions.

void Self::callHeldEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onCallHeldEvent, message, Text{"LineID"}, Number{"CallID"});
}

void Self::callRetrievedEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onCallRetrievedEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"URI"}, Text{"Name"}, Text{"FullPAI"}, Number{"ILCallLevel"},
            Number{"ILLocalLevel"}, Flag{"ConnectedToMediaServer"});
}

void Self::remoteEndpointDetailsChangedEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onRemoteEndpointDetailsChangedEvent, message,
            Text{"LineID"}, Number{"CallID"}, Text{"URI"}, Text{"Name"}, Text{"FullPAI"},
            Flag{"exitConf"}, Flag{"jointCall"});
}

void Self::callForwardedEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onCallForwardedEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"CallingParty"}, Text{"CallingPartyName"},
            Text{"CallingPartyFullPAI"}, Text{"NewDestination"}, Number{"Reason"});
}

// Line, feature and device status.

void Self::registrationStateChangeEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onRegistrationStateChangeEvent, message, Text{"LineID"},
            Number{"CallID"}, Flag{"Registered"}, Number{"RegistrationResult"});
}

void Self::featureSuccessEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onFeatureSuccessEvent, message, Text{"LineID"},
            Number{"CallID"}, Number{"Feature"});
}

void Self::featureFailedEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onFeatureFailedEvent, message, Text{"LineID"},
            Number{"CallID"}, Number{"Feature"}, Number{"FeatureFailure"});
}

void Self::messageWaitingEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onMessageWaitingEvent, message, Text{"LineID"},
            Number{"type"}, Counter{"new_messages"}, Counter{"old_messages"},
            Counter{"new_urgent_messages"}, Counter{"old_urgent_messages"},
            Number{"return_type"}, Number{"avail_info"}, Number{"messages_waiting"},
            Text{"voiceMailNumber"});
}

void Self::doNotDisturbEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onDoNotDisturbEvent, message, Text{"deviceId"},
            Flag{"doNotDisturbOn"});
}

void Self::agentStateEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onAgentStateEvent, message, Text{"deviceId"},
            Text{"agentState"});
}

void Self::callRecordingStatusEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onCallRecordingStatusEvent, message, Text{"LineID"},
            Number{"callId"}, Text{"callRecorded"});
}

void Self::systemStatusEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onSystemStatusEvent, message, Text{"status"},
            Text{"statusInfo"});
}

void Self::serverFeatureStatusEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onServerFeatureStatusEvent, message, Text{"lineURI"},
            Text{"status"});
}

void Self::conferenceStatusEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onConferenceStatusEvent, message, Text{"LineID"},
            Number{"CallID"}, Text{"XMLContent"});
}

void Self::callCompletionEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onCallCompletionEvent, message, Text{"LineID"}, Text{"URI"},
            Number{"CallCompletionType"}, Number{"CallCompletionState"},
            Flag{"DisplayOutcomeCallUI"});
}

void Self::callCompletionFailedEvent(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onCallCompletionFailedEvent, message, Text{"LineID"},
            Text{"URI"}, Number{"CallCompletionFailureType"});
}

void Self::bluetoothAudioStatusChanged(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onBluetoothAudioStatusChanged, message, Text{"LineID"},
            Number{"CallID"}, Flag{"AudioEnabled"}, Flag{"AudioGateway"}, Flag{"InBandRinging"});
}

// Security and precedence.

void Self::securityStatusChanged(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onSecurityStatusChanged, message, Text{"lineURI"},
            Number{"callId"}, Number{"securityStatus"}, NumberList{"CallIDsRecorded"},
            TextList{"CallLineURIsRecorded"});
}

void Self::preemptionStatusChanged(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onPreemptionStatusChanged, message, Text{"lineURI"},
            Number{"callId"}, Number{"priority"}, Number{"cause"}, Text{"reason"});
}

void Self::impactLevelChanged(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onImpactLevelChanged, message, Text{"lineURI"},
            Number{"callId"}, Number{"ILCallLevel"}, Number{"ILLocalLevel"});
}

// Back-to-back CSTA pass-through.

void Self::b2buaCSTAResponse(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onB2buaCSTAResponse, message, Text{"lineURI"},
            Flag{"success"}, Payload{"/success>"});
}

void Self::b2buaCSTAEventOrRequest(Ifc* subscriber, std::string& message) {
    deliver(*this, subscriber, &Ifc::onB2buaCSTAEventOrRequest, message, Text{"lineURI"},
            Payload{"/lineURI>"});
}
