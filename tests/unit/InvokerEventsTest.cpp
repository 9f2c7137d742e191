// Every event as the service sends it, through handleMessage and through its own handler,
// the names that reach it, and the call party record of the call-state event.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <stdexcept>

#include "CommunicationsService/desktop/ListEncoding.h"
#include "CommunicationsService/testing/RecordingSubscriber.h"
#include "CommunicationsServiceEventInvoker.h"

namespace {

using communications::testing::RecordedCall;
using communications::testing::RecordingSubscriber;
using Invoker = CommunicationsServiceEventInvoker;
using Handler = std::function<void(Invoker&, CommunicationsServiceEventIfc*, std::string&)>;
using Args = std::vector<std::string>;

// "<Method>method</Method>" and an element for each "Tag=value" of `fields` ('|' between
// them, the first '=' ends the tag), then `payload` as it stands.
std::string event(const std::string& method, const std::string& fields = "",
                  const std::string& payload = "") {
    std::string text = "<Method>" + method + "</Method>";
    for (std::size_t at = 0; at < fields.size();) {
        const std::size_t bar = std::min(fields.find('|', at), fields.size());
        const std::string field = fields.substr(at, bar - at);
        const std::string tag = field.substr(0, field.find('='));
        text += "<" + tag + ">" + field.substr(tag.size() + 1) + "</" + tag + ">";
        at = bar + 1;
    }
    return text + payload;
}

// Every callback is named after its event: "on" and the event name with a capital.
std::string callbackOf(std::string method) {
    method[0] = static_cast<char>(std::toupper(method[0]));
    return "on" + method;
}

const std::string kIds = desktop::serializeList(std::vector<int>{12, -7, 0});
const std::string kUris = desktop::serializeList(std::vector<std::string>{"sip:a;b", "sip:<c>"});
const std::string kPai = "\"Bob\" <sip:2002@pbx>";

// An event with every field, the values chosen so that no two arguments could be swapped
// unnoticed, and what arrives with every field and with none.
struct EventCase {
    std::string method;
    Handler handler; // empty for the one event that handleMessage serves itself
    std::string fields;
    std::string payload;
    Args full;
    Args none;
};

// clang-format off
std::vector<EventCase> everyEvent() {
    return {
        {"CallStateChangeEvent", &Invoker::callStateChangeEvent,
         "LineID=1001|CallID=12|CallState=3|Reason=4|SendOptions=5|URI=sip:2002@pbx|Name=Bob|"
         "FullPAI=" + kPai + "|GPUCLG=sip:calling|GPUCLGName=Calling|GPUCLD=sip:called|"
         "GPUCLDName=Called|ResourcePriority=6|PreemptionCause=7|PreemptionText=pre-empted|"
         "CallBackFearureAvailable=0|ILCallLevel=8|ILLocalLevel=9", "",
         {"1001", "12", "3", "4", "5", "sip:2002@pbx", "Bob", kPai,
          "", "", "", "", "0", "Called", "sip:called", "Calling", "sip:calling",
          "6", "7", "pre-empted", "false", "8", "9"},
         {"", "-1", "-1", "-1", "-1", "", "", "", "", "", "", "", "0", "", "", "", "",
          "-1", "-1", "", "true", "-1", "-1"}},
        {"RegistrationStateChangeEvent", &Invoker::registrationStateChangeEvent,
         "LineID=1001|CallID=0|Registered=0|RegistrationResult=200", "",
         {"1001", "0", "false", "200"}, {"", "-1", "true", "-1"}},
        {"IncomingCallEvent", &Invoker::incomingCallEvent,
         "LineID=1001|CallID=21|URI=sip:3003@pbx|Name=Carol|FullPAI=<sip:3003@pbx>|"
         "AlertInformation_AlertURI=http://ring/1|AlertInformation_InfoParam=info=internal|"
         "AlertInformation_AutoAnswer=0|CallType=2|DiversionURI=sip:4004@pbx|DiversionName=Dave|"
         "DiversionReason=3|AICSZIPAutoAnswer=5|ResourcePriority=4|ILCallLevel=6|ILLocalLevel=7|"
         "IsVideoCall=0", "",
         {"1001", "21", "sip:3003@pbx", "Carol", "<sip:3003@pbx>", "http://ring/1",
          "info=internal", "false", "2", "sip:4004@pbx", "Dave", "3", "true", "4", "6", "7",
          "false"},
         {"", "-1", "", "", "", "", "", "true", "-1", "", "", "-1", "true", "-1", "-1", "-1",
          "true"}},
        {"IncomingPickupCallEvent", &Invoker::incomingPickupCallEvent,
         "LineID=1002|CallID=31|URI=sip:5005@pbx|Name=Eve|FullPAI=<sip:5005@pbx>", "",
         {"1002", "31", "sip:5005@pbx", "Eve", "<sip:5005@pbx>"}, {"", "-1", "", "", ""}},
        {"CallHeldEvent", &Invoker::callHeldEvent, "LineID=L1|CallID=7", "",
         {"L1", "7"}, {"", "-1"}},
        {"CallRetrievedEvent", &Invoker::callRetrievedEvent,
         "LineID=1001|CallID=41|URI=sip:6006@pbx|Name=Frank|FullPAI=<sip:6006@pbx>|"
         "ILCallLevel=2|ILLocalLevel=3|ConnectedToMediaServer=0", "",
         {"1001", "41", "sip:6006@pbx", "Frank", "<sip:6006@pbx>", "2", "3", "false"},
         {"", "-1", "", "", "", "-1", "-1", "true"}},
        {"FeatureSuccessEvent", &Invoker::featureSuccessEvent,
         "LineID=1001|CallID=51|Feature=4", "", {"1001", "51", "4"}, {"", "-1", "-1"}},
        {"FeatureFailedEvent", &Invoker::featureFailedEvent,
         "LineID=1001|CallID=52|Feature=6|FeatureFailure=2", "",
         {"1001", "52", "6", "2"}, {"", "-1", "-1", "-1"}},
        {"RemoteEndpointDetailsChangedEvent", &Invoker::remoteEndpointDetailsChangedEvent,
         "LineID=1001|CallID=61|URI=sip:7007@pbx|Name=Grace|FullPAI=<sip:7007@pbx>|"
         "exitConf=0|jointCall=1", "",
         {"1001", "61", "sip:7007@pbx", "Grace", "<sip:7007@pbx>", "false", "true"},
         {"", "-1", "", "", "", "true", "true"}},
        // Elements may come in any order.
        {"IncomingCallMissedEvent", &Invoker::incomingCallMissedEvent,
         "DiversionReason=3|LineID=1001|CallID=71|URI=sip:8008@pbx|Name=Heidi|"
         "FullPAI=<sip:8008@pbx>|Reason=486|DiversionURI=sip:9009@pbx|DiversionName=Ivan", "",
         {"1001", "71", "sip:8008@pbx", "Heidi", "<sip:8008@pbx>", "486", "sip:9009@pbx", "Ivan",
          "3"},
         {"", "-1", "", "", "", "-1", "", "", "-1"}},
        {"CallForwardedEvent", &Invoker::callForwardedEvent,
         "CallingPartyName=Judy|CallingPartyFullPAI=<sip:1010@pbx>|CallingParty=sip:1010@pbx|"
         "LineID=1001|CallID=81|NewDestination=sip:1111@pbx|Reason=2", "",
         {"1001", "81", "sip:1010@pbx", "Judy", "<sip:1010@pbx>", "sip:1111@pbx", "2"},
         {"", "-1", "", "", "", "", "-1"}},
        {"DevicesChangedEvent", {}, "LineID=1001", "", {}, {}},
        {"messageWaitingEvent", &Invoker::messageWaitingEvent,
         "LineID=1001|type=9|new_messages=3|old_messages=14|new_urgent_messages=2|"
         "old_urgent_messages=5|return_type=6|avail_info=7|messages_waiting=1|"
         "voiceMailNumber=*86", "",
         {"1001", "9", "3", "14", "2", "5", "6", "7", "1", "*86"},
         {"", "-1", "4294967295", "4294967295", "4294967295", "4294967295", "-1", "-1", "-1",
          ""}},
        {"DoNotDisturbEvent", &Invoker::doNotDisturbEvent, "deviceId=1001|doNotDisturbOn=0", "",
         {"1001", "false"}, {"", "true"}},
        {"AgentStateEvent", &Invoker::agentStateEvent, "deviceId=1001|agentState=Ready", "",
         {"1001", "Ready"}, {"", ""}},
        {"systemStatusEvent", &Invoker::systemStatusEvent,
         "status=up|statusInfo=all lines registered", "",
         {"up", "all lines registered"}, {"", ""}},
        {"serverFeatureStatusEvent", &Invoker::serverFeatureStatusEvent,
         "lineURI=sip:1001@pbx|status=active", "", {"sip:1001@pbx", "active"}, {"", ""}},
        {"IncomingAssociatedCallEvent", &Invoker::incomingAssociatedCallEvent,
         "LineID=1001|CurrentCallID=12|NewCallID=13", "",
         {"1001", "12", "13"}, {"", "-1", "-1"}},
        // Without their closing texts the pass-through events lose 8 characters.
        {"b2buaCSTAResponse", &Invoker::b2buaCSTAResponse,
         "lineURI=1001|success=0", "<CSTA>ok</CSTA>",
         {"1001", "false", "<CSTA>ok</CSTA>"}, {"", "true", "b2buaCSTAResponse</Method>"}},
        {"b2buaCSTAEventOrRequest", &Invoker::b2buaCSTAEventOrRequest,
         "lineURI=1001", "<CSTA>ev</CSTA>",
         {"1001", "<CSTA>ev</CSTA>"}, {"", "b2buaCSTAEventOrRequest</Method>"}},
        {"conferenceStatusEvent", &Invoker::conferenceStatusEvent,
         "LineID=1001|CallID=91|XMLContent=<conf n=\"2\"/>", "",
         {"1001", "91", "<conf n=\"2\"/>"}, {"", "-1", ""}},
        {"securityStatusChanged", &Invoker::securityStatusChanged,
         "lineURI=sip:1001@pbx|callId=92|securityStatus=2|CallIDsRecorded=" + kIds +
         "|CallLineURIsRecorded=" + kUris, "",
         {"sip:1001@pbx", "92", "2", "[12, -7, 0]", R"(["sip:a;b", "sip:<c>"])"},
         {"", "-1", "-1", "[]", "[]"}},
        {"preemptionStatusChanged", &Invoker::preemptionStatusChanged,
         "lineURI=sip:1001@pbx|callId=93|priority=4|cause=5|reason=higher priority", "",
         {"sip:1001@pbx", "93", "4", "5", "higher priority"}, {"", "-1", "-1", "-1", ""}},
        {"impactLevelChanged", &Invoker::impactLevelChanged,
         "lineURI=sip:1001@pbx|callId=94|ILCallLevel=3|ILLocalLevel=4", "",
         {"sip:1001@pbx", "94", "3", "4"}, {"", "-1", "-1", "-1"}},
        {"callRecordingStatusEvent", &Invoker::callRecordingStatusEvent,
         "LineID=1001|callId=95|callRecorded=true", "",
         {"1001", "95", "true"}, {"", "-1", ""}},
        {"callCompletionEvent", &Invoker::callCompletionEvent,
         "LineID=1001|URI=sip:1212@pbx|CallCompletionType=1|CallCompletionState=2|"
         "DisplayOutcomeCallUI=0", "",
         {"1001", "sip:1212@pbx", "1", "2", "false"}, {"", "", "-1", "-1", "true"}},
        {"callCompletionFailedEvent", &Invoker::callCompletionFailedEvent,
         "LineID=1001|URI=sip:1313@pbx|CallCompletionFailureType=3", "",
         {"1001", "sip:1313@pbx", "3"}, {"", "", "-1"}},
        {"bluetoothAudioStatusChanged", &Invoker::bluetoothAudioStatusChanged,
         "LineID=1001|CallID=96|AudioEnabled=0|AudioGateway=1|InBandRinging=0", "",
         {"1001", "96", "false", "true", "false"}, {"", "-1", "true", "true", "true"}},
    };
}

// Every flag of every event, with the argument it feeds (counted from 0).
struct FlagField {
    std::string method;
    std::string tag;
    std::size_t argument;
};
const std::vector<FlagField> kFlags = {
    {"CallStateChangeEvent", "CallBackFearureAvailable", 20},
    {"RegistrationStateChangeEvent", "Registered", 2},
    {"IncomingCallEvent", "AlertInformation_AutoAnswer", 7},
    {"IncomingCallEvent", "AICSZIPAutoAnswer", 12},
    {"IncomingCallEvent", "IsVideoCall", 16},
    {"CallRetrievedEvent", "ConnectedToMediaServer", 7},
    {"RemoteEndpointDetailsChangedEvent", "exitConf", 5},
    {"RemoteEndpointDetailsChangedEvent", "jointCall", 6},
    {"DoNotDisturbEvent", "doNotDisturbOn", 1},
    {"b2buaCSTAResponse", "success", 1},
    {"callCompletionEvent", "DisplayOutcomeCallUI", 4},
    {"bluetoothAudioStatusChanged", "AudioEnabled", 2},
    {"bluetoothAudioStatusChanged", "AudioGateway", 3},
    {"bluetoothAudioStatusChanged", "InBandRinging", 4},
};
// clang-format on

struct Row {
    std::string name;
    std::string message;
    RecordedCall expected;
    Handler handler;
};

std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.name; }

// Single fields as the service may really send them.
const std::vector<Row> kOddFields = {
    {"FlagWithoutDigitsAsFalse",
     event("RegistrationStateChangeEvent", "Registered=yes"),
     {"onRegistrationStateChangeEvent", {"", "-1", "false", "-1"}},
     {}},
    {"MessageCountersKeepTheBitsOfNegativeNumbers",
     event("messageWaitingEvent", "new_messages=-2|old_messages=0"),
     {"onMessageWaitingEvent",
      {"", "-1", "4294967294", "0", "4294967295", "4294967295", "-1", "-1", "-1", ""}},
     {}},
};

std::vector<Row> eventRows(bool onlyWithHandler) {
    std::vector<Row> rows;
    for (const EventCase& entry : everyEvent()) {
        if (onlyWithHandler && !entry.handler) continue;
        const std::string name = callbackOf(entry.method).substr(2);
        const RecordedCall full{callbackOf(entry.method), entry.full};
        rows.push_back({name + "WithEveryField", event(entry.method, entry.fields, entry.payload),
                        full, entry.handler});
        rows.push_back({name + "WithNoField", event(entry.method),
                        RecordedCall{callbackOf(entry.method), entry.none}, entry.handler});
    }
    return rows;
}

void expectCall(const RecordedCall& actual, const RecordedCall& expected) {
    EXPECT_EQ(actual.callback, expected.callback);
    ASSERT_EQ(actual.arguments.size(), expected.arguments.size()) << actual;
    for (std::size_t i = 0; i < expected.arguments.size(); ++i) {
        EXPECT_EQ(actual.arguments[i], expected.arguments[i])
            << "argument " << i + 1 << " of " << expected.callback;
    }
}

class AnEventMessage : public ::testing::TestWithParam<Row> {
protected:
    Invoker invoker;
    RecordingSubscriber subscriber;
};
class AnEventHandler : public AnEventMessage {};

TEST_P(AnEventMessage, ReachesItsCallbackWithEveryArgumentThroughHandleMessage) {
    invoker.handleMessage(&subscriber, GetParam().message.c_str(), 0, nullptr);
    ASSERT_EQ(subscriber.calls().size(), 1u) << GetParam().message;
    expectCall(subscriber.calls()[0], GetParam().expected);
}

TEST_P(AnEventHandler, CalledDirectlyMakesTheSameCallAndLeavesOtherTextsUnchanged) {
    std::string text = GetParam().message;
    GetParam().handler(invoker, &subscriber, text);
    ASSERT_EQ(subscriber.calls().size(), 1u);
    expectCall(subscriber.calls()[0], GetParam().expected);
    // Only the pass-through events shorten the text; it is what their subscriber received.
    const bool passThrough = GetParam().expected.callback.rfind("onB2bua", 0) == 0;
    EXPECT_EQ(text, passThrough ? GetParam().expected.arguments.back() : GetParam().message);
}

const auto rowName = [](const auto& info) { return info.param.name; };
INSTANTIATE_TEST_SUITE_P(EveryEvent, AnEventMessage, ::testing::ValuesIn(eventRows(false)),
                         rowName);
INSTANTIATE_TEST_SUITE_P(OddFields, AnEventMessage, ::testing::ValuesIn(kOddFields), rowName);
INSTANTIATE_TEST_SUITE_P(EveryEvent, AnEventHandler, ::testing::ValuesIn(eventRows(true)), rowName);

TEST(InvokerFlags, EachFlagSetToZeroAloneArrivesFalseAndEveryOtherFlagTrue) {
    for (const FlagField& zero : kFlags) {
        SCOPED_TRACE(zero.method + " " + zero.tag);
        RecordingSubscriber subscriber;
        Invoker().handleMessage(&subscriber, event(zero.method, zero.tag + "=0").c_str(), 0,
                                nullptr);
        ASSERT_EQ(subscriber.calls().size(), 1u);
        const Args& arguments = subscriber.calls()[0].arguments;
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            const bool isFlag = std::any_of(kFlags.begin(), kFlags.end(), [&](const FlagField& f) {
                return f.method == zero.method && f.argument == i;
            });
            const std::string expected = i == zero.argument ? "false" : "true";
            if (isFlag) EXPECT_EQ(arguments[i], expected) << "argument " << i;
            if (!isFlag) EXPECT_NE(arguments[i], "false") << "argument " << i;
        }
    }
}

TEST(InvokerElements, PassOverAnEndTagBeforeTheStartTagAndEndAtTheFirstEndTagBehindIt) {
    RecordingSubscriber subscriber;
    Invoker().handleMessage(&subscriber,
                            "<Method>CallHeldEvent</Method></LineID><LineID>L1</CallID>x</LineID>"
                            "<CallID>7</LineID></CallID>",
                            0, nullptr);
    ASSERT_EQ(subscriber.calls().size(), 1u);
    EXPECT_EQ(subscriber.calls()[0].arguments, (std::vector<std::string>{"L1</CallID>x", "7"}));
}

// A name reaches its row also with more bytes behind it, but for the one name that must
// match whole; the name cut short or with its first letter's case changed reaches none.
TEST(InvokerEventNames, MatchAsAPrefixButTheCallStateNameWholeAndAllInTheirOwnCase) {
    for (const EventCase& entry : everyEvent()) {
        const std::string& method = entry.method;
        std::string otherCase = method;
        otherCase[0] ^= 0x20;
        const bool whole = method == "CallStateChangeEvent";
        const std::pair<std::string, Args> cases[] = {
            {method + "Z", whole ? Args{} : Args{callbackOf(method)}},
            {otherCase, {}},
            {method.substr(0, method.size() - 1), {}},
        };
        for (const auto& [name, callbacks] : cases) {
            RecordingSubscriber subscriber;
            Invoker().handleMessage(&subscriber, event(name).c_str(), 0, nullptr);
            EXPECT_EQ(subscriber.callbackNames(), callbacks) << name;
        }
    }
}

// Keeps a copy of the call party record, which is released once the callback returns.
struct RecordKeeper : RecordingSubscriber {
    CallPartyInfo copy{};
    bool throwAfterRecording = false;
    void onCallStateChangeEvent(const std::string& lineId, int callId, int callState, int reason,
                                int sendOptions, const std::string& uri, const std::string& name,
                                const std::string& fullPai, CallPartyInfo* info, int priority,
                                int cause, const std::string& text, bool callBack, int callLevel,
                                int localLevel) override {
        std::memcpy(&copy, info, sizeof copy);
        RecordingSubscriber::onCallStateChangeEvent(lineId, callId, callState, reason, sendOptions,
                                                    uri, name, fullPai, info, priority, cause, text,
                                                    callBack, callLevel, localLevel);
        if (throwAfterRecording) throw std::runtime_error("subscriber failed");
    }
};

// Leaves a freed block of the record's size full of 0xA5, so that the next allocation of
// that size (the record) starts dirty and a field that is not cleared shows.
void dirtyTheHeapForOneRecord() {
    void* block = std::malloc(sizeof(CallPartyInfo));
    std::memset(block, 0xA5, sizeof(CallPartyInfo));
    std::free(block);
}

TEST(InvokerCallPartyInfo, CarriesTheFourPartiesAndClearsTheReservedFields) {
    RecordKeeper subscriber;
    std::string text = event("CallStateChangeEvent", "GPUCLG=sip:calling|GPUCLGName=Calling|"
                                                     "GPUCLD=sip:called|GPUCLDName=Called");
    dirtyTheHeapForOneRecord();
    Invoker().callStateChangeEvent(&subscriber, text);
    const CallPartyInfo& record = subscriber.copy;
    for (const char* reserved :
         {record.reservedText1, record.reservedText2, record.reservedText3, record.reservedText4}) {
        EXPECT_EQ(reserved[0], '\0');
    }
    EXPECT_EQ(record.reservedValue, 0);
    EXPECT_STREQ(record.calledPartyName, "Called");
    EXPECT_STREQ(record.calledParty, "sip:called");
    EXPECT_STREQ(record.callingPartyName, "Calling");
    EXPECT_STREQ(record.callingParty, "sip:calling");
}

TEST(InvokerCallPartyInfo, CutsOverlongPartiesToSixtyFourCharactersWithinTheirFields) {
    RecordKeeper subscriber;
    const std::string text =
        event("CallStateChangeEvent",
              "GPUCLDName=" + std::string(200, 'a') + "|GPUCLD=" + std::string(200, 'b') +
                  "|GPUCLGName=" + std::string(65, 'c') + "|GPUCLG=" + std::string(200, 'd'));
    Invoker().handleMessage(&subscriber, text.c_str(), 0, nullptr);
    const CallPartyInfo& record = subscriber.copy;
    EXPECT_EQ(std::string(record.calledPartyName, 65), std::string(64, 'a') + '\0');
    EXPECT_EQ(std::string(record.calledParty, 65), std::string(64, 'b') + '\0');
    EXPECT_EQ(std::string(record.callingPartyName, 65), std::string(64, 'c') + '\0');
    EXPECT_EQ(std::string(record.callingParty, 65), std::string(64, 'd') + '\0');
}

TEST(InvokerCallPartyInfo, ReleasesTheRecordWhenTheCallbackThrowsAndLetsTheExceptionThrough) {
    RecordKeeper subscriber;
    subscriber.throwAfterRecording = true;
    const std::string text = event("CallStateChangeEvent", "GPUCLG=sip:calling|GPUCLGName=A|"
                                                           "GPUCLD=sip:called|GPUCLDName=B");
    EXPECT_THROW(Invoker().handleMessage(&subscriber, text.c_str(), 0, nullptr),
                 std::runtime_error);
    EXPECT_EQ(subscriber.calls().size(), 1u);
    EXPECT_STREQ(subscriber.copy.callingParty, "sip:calling");
}

} // namespace
