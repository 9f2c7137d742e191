// handleMessage on arbitrary bytes with a recording subscriber. Every callback that arrives
// is held against the one the dispatch rules and the plain reference readings predict:
// which rows run, and every argument of each.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "CommunicationsServiceEventInvoker.h"
#include "Reference.h"
#include "CommunicationsService/testing/RecordingSubscriber.h"
#include "CommunicationsService/framework/ProxyRequest.h"
#include "CommunicationsService/framework/Utilities.h"

namespace {

using communications::testing::RecordedCall;
using communications::testing::RecordingSubscriber;
using communications::testing::toText;

enum class Kind {
    Text,       // "" when missing
    Number,     // int, -1 when missing
    Counter,    // unsigned int: the number's bits
    Flag,       // number != 0, so a missing flag is true
    Parties,    // the CallPartyInfo record, recorded as its nine fields
    NumberList, // the framework's list decoding of the element's text
    TextList,
    Payload, // the text behind the first occurrence of `tag`, cut in 32-bit arithmetic
};

struct Field {
    Kind kind;
    const char* tag;
};

struct Row {
    const char* method;
    bool exact;
    const char* callback;
    std::vector<Field> fields;
};

constexpr Kind T = Kind::Text;
constexpr Kind N = Kind::Number;
constexpr Kind C = Kind::Counter;
constexpr Kind F = Kind::Flag;

// The dispatch table in its order, each event with its callback's arguments in order.
const std::vector<Row> kRows = {
    {"CallStateChangeEvent",
     true,
     "onCallStateChangeEvent",
     {{T, "LineID"},
      {N, "CallID"},
      {N, "CallState"},
      {N, "Reason"},
      {N, "SendOptions"},
      {T, "URI"},
      {T, "Name"},
      {T, "FullPAI"},
      {Kind::Parties, nullptr},
      {N, "ResourcePriority"},
      {N, "PreemptionCause"},
      {T, "PreemptionText"},
      {F, "CallBackFearureAvailable"},
      {N, "ILCallLevel"},
      {N, "ILLocalLevel"}}},
    {"RegistrationStateChangeEvent",
     false,
     "onRegistrationStateChangeEvent",
     {{T, "LineID"}, {N, "CallID"}, {F, "Registered"}, {N, "RegistrationResult"}}},
    {"IncomingCallEvent",
     false,
     "onIncomingCallEvent",
     {{T, "LineID"},
      {N, "CallID"},
      {T, "URI"},
      {T, "Name"},
      {T, "FullPAI"},
      {T, "AlertInformation_AlertURI"},
      {T, "AlertInformation_InfoParam"},
      {F, "AlertInformation_AutoAnswer"},
      {N, "CallType"},
      {T, "DiversionURI"},
      {T, "DiversionName"},
      {N, "DiversionReason"},
      {F, "AICSZIPAutoAnswer"},
      {N, "ResourcePriority"},
      {N, "ILCallLevel"},
      {N, "ILLocalLevel"},
      {F, "IsVideoCall"}}},
    {"IncomingPickupCallEvent",
     false,
     "onIncomingPickupCallEvent",
     {{T, "LineID"}, {N, "CallID"}, {T, "URI"}, {T, "Name"}, {T, "FullPAI"}}},
    {"CallHeldEvent", false, "onCallHeldEvent", {{T, "LineID"}, {N, "CallID"}}},
    {"CallRetrievedEvent",
     false,
     "onCallRetrievedEvent",
     {{T, "LineID"},
      {N, "CallID"},
      {T, "URI"},
      {T, "Name"},
      {T, "FullPAI"},
      {N, "ILCallLevel"},
      {N, "ILLocalLevel"},
      {F, "ConnectedToMediaServer"}}},
    {"FeatureSuccessEvent",
     false,
     "onFeatureSuccessEvent",
     {{T, "LineID"}, {N, "CallID"}, {N, "Feature"}}},
    {"FeatureFailedEvent",
     false,
     "onFeatureFailedEvent",
     {{T, "LineID"}, {N, "CallID"}, {N, "Feature"}, {N, "FeatureFailure"}}},
    {"RemoteEndpointDetailsChangedEvent",
     false,
     "onRemoteEndpointDetailsChangedEvent",
     {{T, "LineID"},
      {N, "CallID"},
      {T, "URI"},
      {T, "Name"},
      {T, "FullPAI"},
      {F, "exitConf"},
      {F, "jointCall"}}},
    {"IncomingCallMissedEvent",
     false,
     "onIncomingCallMissedEvent",
     {{T, "LineID"},
      {N, "CallID"},
      {T, "URI"},
      {T, "Name"},
      {T, "FullPAI"},
      {N, "Reason"},
      {T, "DiversionURI"},
      {T, "DiversionName"},
      {N, "DiversionReason"}}},
    {"CallForwardedEvent",
     false,
     "onCallForwardedEvent",
     {{T, "LineID"},
      {N, "CallID"},
      {T, "CallingParty"},
      {T, "CallingPartyName"},
      {T, "CallingPartyFullPAI"},
      {T, "NewDestination"},
      {N, "Reason"}}},
    {"DevicesChangedEvent", false, "onDevicesChangedEvent", {}},
    {"messageWaitingEvent",
     false,
     "onMessageWaitingEvent",
     {{T, "LineID"},
      {N, "type"},
      {C, "new_messages"},
      {C, "old_messages"},
      {C, "new_urgent_messages"},
      {C, "old_urgent_messages"},
      {N, "return_type"},
      {N, "avail_info"},
      {N, "messages_waiting"},
      {T, "voiceMailNumber"}}},
    {"DoNotDisturbEvent", false, "onDoNotDisturbEvent", {{T, "deviceId"}, {F, "doNotDisturbOn"}}},
    {"AgentStateEvent", false, "onAgentStateEvent", {{T, "deviceId"}, {T, "agentState"}}},
    {"systemStatusEvent", false, "onSystemStatusEvent", {{T, "status"}, {T, "statusInfo"}}},
    {"serverFeatureStatusEvent",
     false,
     "onServerFeatureStatusEvent",
     {{T, "lineURI"}, {T, "status"}}},
    {"IncomingAssociatedCallEvent",
     false,
     "onIncomingAssociatedCallEvent",
     {{T, "LineID"}, {N, "CurrentCallID"}, {N, "NewCallID"}}},
    {"b2buaCSTAResponse",
     false,
     "onB2buaCSTAResponse",
     {{T, "lineURI"}, {F, "success"}, {Kind::Payload, "/success>"}}},
    {"b2buaCSTAEventOrRequest",
     false,
     "onB2buaCSTAEventOrRequest",
     {{T, "lineURI"}, {Kind::Payload, "/lineURI>"}}},
    {"conferenceStatusEvent",
     false,
     "onConferenceStatusEvent",
     {{T, "LineID"}, {N, "CallID"}, {T, "XMLContent"}}},
    {"securityStatusChanged",
     false,
     "onSecurityStatusChanged",
     {{T, "lineURI"},
      {N, "callId"},
      {N, "securityStatus"},
      {Kind::NumberList, "CallIDsRecorded"},
      {Kind::TextList, "CallLineURIsRecorded"}}},
    {"preemptionStatusChanged",
     false,
     "onPreemptionStatusChanged",
     {{T, "lineURI"}, {N, "callId"}, {N, "priority"}, {N, "cause"}, {T, "reason"}}},
    {"impactLevelChanged",
     false,
     "onImpactLevelChanged",
     {{T, "lineURI"}, {N, "callId"}, {N, "ILCallLevel"}, {N, "ILLocalLevel"}}},
    {"callRecordingStatusEvent",
     false,
     "onCallRecordingStatusEvent",
     {{T, "LineID"}, {N, "callId"}, {T, "callRecorded"}}},
    {"callCompletionEvent",
     false,
     "onCallCompletionEvent",
     {{T, "LineID"},
      {T, "URI"},
      {N, "CallCompletionType"},
      {N, "CallCompletionState"},
      {F, "DisplayOutcomeCallUI"}}},
    {"callCompletionFailedEvent",
     false,
     "onCallCompletionFailedEvent",
     {{T, "LineID"}, {T, "URI"}, {N, "CallCompletionFailureType"}}},
    {"bluetoothAudioStatusChanged",
     false,
     "onBluetoothAudioStatusChanged",
     {{T, "LineID"},
      {N, "CallID"},
      {F, "AudioEnabled"},
      {F, "AudioGateway"},
      {F, "InBandRinging"}}},
};

std::string text(const std::string& message, const char* name) {
    return reference::invokerText(std::string("<") + name + ">", message,
                                  std::string("</") + name + ">");
}

int number(const std::string& message, const char* name) {
    return static_cast<int>(reference::invokerNumber(std::string("<") + name + ">", message,
                                                     std::string("</") + name + ">"));
}

// A party's field holds 64 bytes and its terminator; the value is cut to fit.
std::string party(const std::string& message, const char* name) {
    return text(message, name).substr(0, 64);
}

std::string payload(const std::string& message, const char* closing) {
    const std::size_t position = reference::find(message, closing);
    const std::uint32_t cut = static_cast<std::uint32_t>(position) +
                              static_cast<std::uint32_t>(std::char_traits<char>::length(closing));
    return cut >= message.size() ? "" : message.substr(cut);
}

RecordedCall expectedCall(const Row& row, const std::string& message) {
    RecordedCall call{row.callback, {}};
    std::vector<std::string>& arguments = call.arguments;
    for (const Field& field : row.fields) {
        switch (field.kind) {
        case Kind::Text:
            arguments.push_back(text(message, field.tag));
            break;
        case Kind::Number:
            arguments.push_back(toText(number(message, field.tag)));
            break;
        case Kind::Counter:
            arguments.push_back(toText(static_cast<unsigned int>(number(message, field.tag))));
            break;
        case Kind::Flag:
            arguments.push_back(toText(number(message, field.tag) != 0));
            break;
        case Kind::Parties:
            arguments.insert(arguments.end(),
                             {"", "", "", "", "0", party(message, "GPUCLDName"),
                              party(message, "GPUCLD"), party(message, "GPUCLGName"),
                              party(message, "GPUCLG")});
            break;
        case Kind::NumberList: {
            std::string encoded = text(message, field.tag);
            std::vector<int> values;
            Serializer::deserialize(encoded, values);
            arguments.push_back(toText(values));
            break;
        }
        case Kind::TextList: {
            std::string encoded = text(message, field.tag);
            arguments.push_back(toText(Serializer::deserialize(encoded)));
            break;
        }
        case Kind::Payload:
            arguments.push_back(payload(message, field.tag));
            break;
        }
    }
    return call;
}

bool matches(const Row& row, const std::string& method) {
    const std::string name = row.method;
    return row.exact ? method == name : method.compare(0, name.size(), name) == 0;
}

std::string describe(const std::vector<RecordedCall>& calls) {
    std::string lines;
    for (const RecordedCall& call : calls) {
        std::ostringstream out;
        out << call;
        lines += "\n    " + reference::printable(out.str());
    }
    return lines;
}

struct CountingResponse : InvokerResponse {
    void messageHandled() override { ++notified; }
    int notified = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The framework hands over NUL-terminated texts; whatever follows a NUL is not seen.
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const std::string message = bytes.substr(0, bytes.find('\0'));

    const std::string method = reference::invokerText("<Method>", message, "</Method>");
    std::vector<RecordedCall> expected;
    for (const Row& row : kRows) {
        if (matches(row, method)) expected.push_back(expectedCall(row, message));
    }

    CommunicationsServiceEventInvoker invoker;
    RecordingSubscriber subscriber;
    CountingResponse response;
    invoker.handleMessage(&subscriber, bytes.c_str(), static_cast<int>(size), &response);

    if (subscriber.calls() != expected) {
        std::fprintf(stderr,
                     "MISMATCH in the callbacks of handleMessage\n  library:%s\n"
                     "  reference:%s\n",
                     describe(subscriber.calls()).c_str(), describe(expected).c_str());
        std::abort();
    }
    reference::expectEqual(response.notified, 1, "notifications of the response");
    return 0;
}
