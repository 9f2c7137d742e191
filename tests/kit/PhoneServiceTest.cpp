#include <gtest/gtest.h>

#include "ControlScript.h"
#include "PhoneService.h"

namespace {

using namespace simulator;

class Recorder : public EventSink, public Scheduler {
public:
    void publish(const std::string& event) override { events.push_back(event); }
    void after(std::chrono::milliseconds, std::function<void()> step) override {
        steps.push_back(std::move(step));
    }
    void runDelayedSteps() {
        std::vector<std::function<void()>> due;
        due.swap(steps);
        for (auto& step : due)
            step();
    }
    // The call states published so far, in order.
    std::vector<CallState> callStates() const {
        std::vector<CallState> states;
        for (const std::string& event : events) {
            const std::size_t at = event.find("<CallState>");
            if (event.rfind("<Method>CallStateChangeEvent</Method>", 0) == 0 &&
                at != std::string::npos) {
                states.push_back(static_cast<CallState>(std::stoi(event.substr(at + 11))));
            }
        }
        return states;
    }
    std::vector<std::string> events;
    std::vector<std::function<void()>> steps;
};

class Service : public ::testing::Test {
protected:
    std::string request(const std::string& text) {
        const ParsedRequest parsed = parseRequest(text);
        EXPECT_TRUE(parsed.valid()) << parsed.error;
        return service.handle(parsed).value_or("(none)");
    }
    std::string call(const std::string& destination, int id = 0) {
        return request("<Method>OutgoingCallMakeRequest</Method><Line>1001</Line><CallID>" +
                       std::to_string(id) + "</CallID><Destination>" + destination +
                       "</Destination><DSSDirectCall>0</DSSDirectCall><BridgeCall>0</BridgeCall>"
                       "<CallCompletionCall>0</CallCompletionCall>");
    }
    Recorder recorder;
    PhoneService service{ServiceSettings{}, recorder, recorder};
};

TEST_F(Service, TheDestinationSteersTheFarEnd) {
    struct Case {
        std::string destination;
        std::vector<CallState> states; // after the far end's delayed steps
    };
    const std::vector<Case> cases = {
        {"2001", {CallState::dialing, CallState::ringingBack, CallState::connected}},
        {"sip:2001@elsewhere", {CallState::dialing, CallState::ringingBack, CallState::connected}},
        {"5555", {CallState::dialing, CallState::ringingBack, CallState::connected}},
        {"2002", {CallState::dialing, CallState::ringingBack}},
        {"2003", {CallState::dialing, CallState::busy}},
        {"2004", {CallState::dialing, CallState::failed}},
    };
    request("<Method>Activate</Method>");
    for (const Case& entry : cases) {
        recorder.events.clear();
        EXPECT_EQ(call(entry.destination, 1), "sfiSuccess");
        recorder.runDelayedSteps();
        EXPECT_EQ(recorder.callStates(), entry.states) << entry.destination;
        service.control({"hangup", "1"});
    }
}

TEST_F(Service, RefusesCallsOnUnregisteredOrUnknownLines) {
    EXPECT_EQ(call("2001"), "sfiFailure");
    request("<Method>Activate</Method>");
    EXPECT_EQ(request("<Method>OutgoingCallMakeRequest</Method><Line>9</Line><CallID>0</CallID>"
                      "<Destination>2001</Destination><DSSDirectCall>0</DSSDirectCall>"
                      "<BridgeCall>0</BridgeCall><CallCompletionCall>0</CallCompletionCall>"),
              "sfiFailure");
    EXPECT_TRUE(recorder.callStates().empty());
}

TEST_F(Service, CallBacksAnswerWithTheirOwnFailureWords) {
    request("<Method>Activate</Method>");
    auto callbackBusy = [&](int id) {
        return request("<Method>ActivateCallbackBusy</Method><Line>1001</Line><CallID>" +
                       std::to_string(id) + "</CallID>");
    };
    EXPECT_EQ(callbackBusy(99), "sfiFailureCallBackNoCallInfo");
    call("2002", 1);
    EXPECT_EQ(callbackBusy(1), "sfiFailureCallBackInvalidState");
    call("2003", 2);
    EXPECT_EQ(callbackBusy(2), "sfiSuccess");
    call("2003", 3);
    EXPECT_EQ(callbackBusy(3), "sfiFailureCallBackAllreadyExists");
    call("sip:7001", 4);
    call("sip:7002", 5);
    call("sip:7003", 6);
    recorder.runDelayedSteps();
    service.control({"hangup", "4"});
    service.control({"hangup", "5"});
    EXPECT_EQ(
        request("<Method>ActivateCallbackRinging</Method><Line>1001</Line><CallID>1</CallID>"),
        "sfiSuccess");
    EXPECT_EQ(request("<Method>CancelCallbacks</Method><Line>1001</Line><CallID>0</CallID>"
                      "<URI>sip:2002</URI><CancelCallBackType>1</CancelCallBackType>"
                      "<DisplayOutcomeCallUI>0</DisplayOutcomeCallUI>"),
              "sfiSuccess");
}

TEST_F(Service, IncomingCallsHonourDoNotDisturbAndForwarding) {
    request("<Method>Activate</Method>");
    request("<Method>SetDoNotDisturb</Method><Line>1001</Line><doNotDisturbOn>1</doNotDisturbOn>");
    recorder.events.clear();
    EXPECT_EQ(service.control({"incomingCall", "1001", "2005"}), "ok call 1");
    ASSERT_EQ(recorder.events.size(), 1u);
    EXPECT_NE(recorder.events[0].find("IncomingCallMissedEvent"), std::string::npos);
    EXPECT_NE(recorder.events[0].find("<Reason>15</Reason>"), std::string::npos);

    request("<Method>SetDoNotDisturb</Method><Line>1001</Line><doNotDisturbOn>0</doNotDisturbOn>");
    request("<Method>setForwardingConfiguration</Method><Line>1001</Line><fwType>2</fwType>"
            "<status>1</status><uri>8000</uri><cfnrRingCount>3</cfnrRingCount>"
            "<forceTKVSUpdate>0</forceTKVSUpdate>");
    service.control({"incomingCall", "1001", "2005"});
    recorder.events.clear();
    recorder.runDelayedSteps();
    ASSERT_EQ(recorder.events.size(), 1u);
    EXPECT_NE(recorder.events[0].find("<NewDestination>sip:8000@pbx.example.com</NewDestination>"),
              std::string::npos);
}

TEST_F(Service, ForwardingBelongsToOneLine) {
    request("<Method>Activate</Method>");
    request("<Method>setForwardingConfiguration</Method><Line>1002</Line><fwType>0</fwType>"
            "<status>1</status><uri>8000</uri><cfnrRingCount>0</cfnrRingCount>"
            "<forceTKVSUpdate>0</forceTKVSUpdate>");
    recorder.events.clear();
    EXPECT_EQ(service.control({"incomingCall", "1001", "2005"}), "ok call 1");
    EXPECT_NE(recorder.events[0].find("IncomingCallEvent"), std::string::npos);
    recorder.events.clear();
    service.control({"incomingCall", "1002", "2001"});
    EXPECT_NE(recorder.events[0].find("CallForwardedEvent"), std::string::npos);
    EXPECT_NE(service.control({"show"}).find("forwarding on 1002 type 0 to 8000, ring count 0"),
              std::string::npos);
    // The query names no line and reads the first line's, which forwards nothing.
    EXPECT_EQ(request("<Method>getForwardingConfiguration</Method><fwType>0</fwType>"),
              "<sfiResult>sfiSuccess</sfiResult><status>0</status><uri></uri>"
              "<cfnrRingCount>0</cfnrRingCount>");
}

TEST_F(Service, RefusedRequestsSayWhy) {
    const std::string kCallFlags = "<DSSDirectCall>0</DSSDirectCall><BridgeCall>0</BridgeCall>"
                                   "<CallCompletionCall>0</CallCompletionCall>";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"<Method>OutgoingCallMakeRequest</Method><Line>1001</Line><CallID>0</CallID>"
         "<Destination>2001</Destination>" +
             kCallFlags,
         "line 1001 is not registered (send Activate first)"},
        {"<Method>Activate</Method>", ""},
        {"<Method>OutgoingCallMakeRequest</Method><Line>9</Line><CallID>0</CallID>"
         "<Destination>2001</Destination>" +
             kCallFlags,
         "line '9' does not exist (lines are 1001 1002)"},
        {"<Method>AnswerCall</Method><Line>1001</Line><CallID>77</CallID>",
         "call 77 does not exist on line 1001"},
        {"<Method>OutgoingCallMakeRequest</Method><Line>1001</Line><CallID>5</CallID>"
         "<Destination>2002</Destination>" +
             kCallFlags,
         ""},
        {"<Method>AnswerCall</Method><Line>1002</Line><CallID>5</CallID>",
         "call 5 is on line 1001, not 1002"},
        {"<Method>RetrieveCall</Method><Line>1001</Line><CallID>5</CallID>",
         "call 5 on line 1001 is ringingBack, not held"},
        {"<Method>setLampMode</Method><Line>1001</Line><lampId>k1</lampId><lampMode>9</lampMode>",
         "lamp mode 9 names no lamp mode"},
        {"<Method>ActivateCallbackBusy</Method><Line>1001</Line><CallID>5</CallID>",
         "call 5 on line 1001 is ringingBack, not busy"},
    };
    for (const auto& [text, reason] : cases) {
        request(text);
        EXPECT_EQ(service.refusal(), reason) << text;
    }
}

TEST(ControlCommands, NameTheirUsageWhenMisused) {
    Recorder recorder;
    PhoneService service(ServiceSettings{}, recorder, recorder);
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "error: empty control command"},
        {{"fly"}, "error: unknown control command 'fly' (try help)"},
        {{"hangpu", "1"},
         "error: unknown control command 'hangpu'; did you mean 'hangup'? (try help)"},
        {{"incomingCall", "1001"}, "error: usage: incomingCall LINE NUMBER [NAME...]"},
        {{"incomingCall", "7", "2005"}, "error: no line 7"},
        {{"incomingCall", "1001", "2005"}, "error: line 1001 is not registered"},
        {{"hangup", "x"}, "error: CALLID takes a whole number, not 'x' (usage: hangup CALLID)"},
        {{"hangup", "1", "2"}, "error: usage: hangup CALLID"},
        {{"hangup", "3"}, "error: no call 3"},
        {{"voicemail", "1001", "1", "-2"},
         "error: OLD takes a whole number from 0, not '-2' (usage: voicemail LINE NEW OLD "
         "[NEWURGENT] [OLDURGENT])"},
        {{"bluetooth", "1001", "1", "1", "maybe", "0"},
         "error: GATEWAY takes on or off, not 'maybe' (usage: bluetooth LINE CALLID AUDIO GATEWAY "
         "INBAND)"},
        {{"lastRequest"}, "error: lastRequest works only from a client, on its own connection"},
        {{"wait", "10"}, "error: wait works only in a script file"},
        {{"removeDevice", "1003"}, "error: device 1003 is not listed"},
        {{"registrationLost", "1001", "busy"},
         "error: CODE takes a whole number, not 'busy' (usage: registrationLost LINE [CODE])"},
    };
    for (const auto& [words, reply] : cases) {
        EXPECT_EQ(service.control(words), reply);
    }
    EXPECT_TRUE(recorder.events.empty());
}

TEST_F(Service, EmitsAnyEventWholeFromNamedTypedArguments) {
    struct Case {
        std::vector<std::string> words;
        std::string answer;
        std::vector<std::string> inEvent;
    };
    const std::vector<Case> cases = {
        {{"emit", "incomingCall", "lineId=1001", "callId=7", "uri=sip:2005"},
         "ok",
         {"<Method>IncomingCallEvent</Method><LineID>1001</LineID><CallID>7</CallID>"
          "<URI>sip:2005</URI><Name></Name>",
          "<AlertInformation_AutoAnswer>0</AlertInformation_AutoAnswer>"}},
        {{"emit", "doNotDisturb", "doNotDisturbOn=yes"}, "ok", {">1</"}},
        {{"emit", "securityStatusChanged", "callIdsRecorded=1,-2"}, "ok", {">1;-2;<"}},
        {{"emit", "callStateChange", "calledPartyName=Desk"}, "ok", {"<GPUCLDName>Desk<"}},
        {{"emit", "incomingCall", "callId=abc"},
         "error: emit: incomingCall: callId takes a number, not 'abc'",
         {}},
        {{"emit", "messageWaiting", "newMessages=-1"},
         "error: emit: messageWaiting: newMessages takes a number from 0 to 4294967295, not '-1'",
         {}},
        {{"emit", "callHeld", "callid=1"},
         "error: emit: callHeld has no argument 'callid'; did you mean 'callId'?",
         {}},
        {{"emit", "incomingCal"},
         "error: emit: no event 'incomingCal'; did you mean 'incomingCall'?",
         {}},
        {{"emit", "callHeld", "1001"}, "error: emit: '1001' is not name=value", {}},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.words[1]);
        recorder.events.clear();
        EXPECT_EQ(service.control(row.words), row.answer);
        ASSERT_EQ(recorder.events.size(), row.inEvent.empty() ? 0u : 1u);
        for (const std::string& part : row.inEvent)
            EXPECT_NE(recorder.events[0].find(part), std::string::npos) << recorder.events[0];
    }
}

TEST_F(Service, ListsTheRequestsReceivedFromAnIndexNewestLast) {
    request("<Method>Activate</Method>");
    request("<Method>AnswerCall</Method><Line>1001</Line><CallID>77</CallID>");
    EXPECT_EQ(service.control({"requests"}), "ok\n0 Activate\n1 AnswerCall Line=1001 CallID=77");
    EXPECT_EQ(service.control({"requests", "1"}), "ok\n1 AnswerCall Line=1001 CallID=77");
    EXPECT_EQ(service.control({"requests", "2"}), "ok");
    EXPECT_EQ(service.control({"requests", "-1"}),
              "error: FROM takes a whole number from 0, not '-1' (usage: requests [FROM])");
}

TEST(ControlScript, ReadsTimedStepsAndNamesTheFirstBadLine) {
    const auto steps = parseControlScript("# morning\nwait 100\nwait 50\nincomingCall 1001 2005\n"
                                          "\naddDevice 'Desk phone' # the colleague's\n",
                                          "day.txt");
    ASSERT_EQ(steps.size(), 2u);
    EXPECT_EQ(steps[0].wait.count(), 150);
    EXPECT_EQ(steps[0].lineNumber, 4);
    EXPECT_EQ(steps[1].wait.count(), 0);
    EXPECT_EQ(steps[1].command, "addDevice \"Desk phone\"");

    const std::vector<std::pair<std::string, std::string>> bad = {
        {"wait\n", "day.txt:1: usage: wait MS"},
        {"wait -5\n", "day.txt:1: MS takes a whole number from 0, not '-5' (usage: wait MS)"},
        {"\nwait 1s\n", "day.txt:2: MS takes a whole number from 0, not '1s' (usage: wait MS)"},
        {"hangup 1\nteleport 1001\n", "day.txt:2: unknown control command 'teleport' (try help)"},
        {"nextAnswer sfiSuccess\n",
         "day.txt:1: nextAnswer works only from a client, on its own connection"},
        {"systemStatus 'DEGRADED\n", "day.txt:1: unterminated ' quote"},
    };
    for (const auto& [text, error] : bad) {
        try {
            parseControlScript(text, "day.txt");
            ADD_FAILURE() << text;
        } catch (const std::runtime_error& failure) {
            EXPECT_EQ(failure.what(), error);
        }
    }
}

TEST_F(Service, ResetReturnsToTheStartAndDropsStepsScheduledBefore) {
    const std::string start = service.control({"show"});
    request("<Method>Activate</Method>");
    EXPECT_EQ(call("2001"), "sfiSuccess"); // its far end answers later
    request("<Method>SetDoNotDisturb</Method><Line>1002</Line><doNotDisturbOn>1</doNotDisturbOn>");
    request("<Method>SetMicrophoneMute</Method><Status>1</Status>");
    EXPECT_EQ(service.control({"incomingCall", "1001", "2005"}), "ok call 2");
    recorder.runDelayedSteps();
    recorder.events.clear();
    EXPECT_EQ(service.control({"reset"}), "ok");
    EXPECT_EQ(service.control({"show"}), start);
    // Both calls end as subscribers see them: the connected one, then the ringing one missed.
    EXPECT_EQ(recorder.callStates(), (std::vector<CallState>{CallState::idle, CallState::idle}));
    ASSERT_EQ(recorder.events.size(), 3u);
    EXPECT_NE(recorder.events[1].find("IncomingCallMissedEvent"), std::string::npos)
        << recorder.events[1];

    request("<Method>Activate</Method>");
    EXPECT_EQ(call("2002"), "sfiSuccess"); // call 1 again, ringing until answered
    recorder.events.clear();
    recorder.runDelayedSteps();
    EXPECT_TRUE(recorder.callStates().empty());
    EXPECT_NE(service.control({"show"}).find("call 1 on 1001 with 2002 ringingBack"),
              std::string::npos);
}

} // namespace
