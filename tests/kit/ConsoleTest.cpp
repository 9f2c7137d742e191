#include <gtest/gtest.h>

#include <algorithm>

#include "CommunicationsService/testing/MockCommunicationsService.h"
#include "Console.h"
#include "ControlWords.h"
#include "EventRecorder.h"
#include "LineCheck.h"
#include "Operations.h"

namespace {

// Each line splits into its words, and those words quoted again split back into themselves.
TEST(Words, SplitLikeAShellAndSurviveQuotingAgain) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"  answerCall\t1001 12 ", {"answerCall", "1001", "12"}},
        {"a 'b c' \"d \\\"e\\\" \\n\" f''", {"a", "b c", "d \"e\" \n", "f"}},
        {"uri=\"\" name='x y'z", {"uri=", "name=x yz"}},
        {"emit callStateChange name=\"Erik Fischer\"",
         {"emit", "callStateChange", "name=Erik Fischer"}},
        {"echo one # a comment", {"echo", "one"}},
        {"# only a comment", {}},
        {"a#b '#c' \\", {"a#b", "#c", "\\"}},
        {"'' x", {"", "x"}},
    };
    for (const auto& [line, words] : cases) {
        EXPECT_EQ(kit::splitWords(line), words) << line;
        EXPECT_EQ(kit::splitWords(kit::quoteWords(words)), words) << kit::quoteWords(words);
    }
    EXPECT_THROW(kit::splitWords("say 'unfinished"), std::invalid_argument);
    EXPECT_THROW(kit::splitWords("say \"unfinished"), std::invalid_argument);
}

TEST(Operations, CoverTheWholeInterfaceAndNameTheirArgumentsWhenMisused) {
    EXPECT_EQ(console::operations().size(), 48u);
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"answerCall", "1001"},
         "answerCall takes 2 arguments, not 1: answerCall <line> <callId:int>"},
        {{"answerCall", "1001", "twelve"},
         "answerCall: <callId> must be a whole number, not 'twelve': answerCall <line> "
         "<callId:int>"},
        {{"answerCall", "1001", "4294967296"},
         "answerCall: <callId> is out of range (-2147483648 to 2147483647), not '4294967296': "
         "answerCall <line> <callId:int>"},
        {{"setLampMode", "1001", "lamp1", "blinking"},
         "setLampMode: <lampMode> must be a lamp mode (off, on, flashing, winking, flickering) or "
         "a number, not 'blinking': setLampMode <line> <lampId> <lampMode:int>"},
        {{"setMicrophoneMute", "maybe"},
         "setMicrophoneMute: <status> must be a flag (1/0, true/false, yes/no, on/off), not "
         "'maybe': setMicrophoneMute <status:flag>"},
        {{"setServiceState", "3"},
         "setServiceState: <state> must be a service state (sfiServiceInService, "
         "sfiServiceOutOfService, sfiServiceDoNotDisturb or 0 to 2), not '3': setServiceState "
         "<state:state>"},
    };
    for (const auto& [words, message] : cases) {
        const console::Operation* operation = console::findOperation(words.front());
        ASSERT_NE(operation, nullptr);
        try {
            console::bindArguments(*operation, {words.begin() + 1, words.end()});
            ADD_FAILURE() << words.front();
        } catch (const std::invalid_argument& error) {
            EXPECT_EQ(error.what(), message);
        }
    }
}

TEST(LineCheck, NamesEveryUnknownWordBeforeAnythingRunsAndSuggestsNearMisses) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"answerCal 1001 1", "no operation 'answerCal'; did you mean 'answerCall'? (try help)"},
        {"answerCall 1001 1 => sfiSucess",
         "answerCall gives no result 'sfiSucess'; did you mean 'sfiSuccess'?"},
        {"isCallHoldPossible 1001 => sfiSuccess",
         "isCallHoldPossible gives no result 'sfiSuccess'"},
        {"getForwardingConfiguration 0 => sfiSuccess url=x",
         "getForwardingConfiguration has no output 'url'; did you mean 'uri'?"},
        {"answerCall 1001 1 =>", "'=>' needs the expected result, for example => sfiSuccess"},
        {"answerCall 1001", "answerCall takes 2 arguments, not 1: answerCall <line> <callId:int>"},
        {"await onCallHeld callId=1",
         "await: no callback 'onCallHeld'; did you mean 'onCallHeldEvent'?"},
        {"await onCallHeldEvent callid=1",
         "await: onCallHeldEvent has no argument 'callid'; did you mean 'callId'?"},
        {"await onCallHeldEvent within=soon", "await: within= takes milliseconds, not 'soon'"},
        {"await onCallHeldEvent callId=abc",
         "await: onCallHeldEvent argument callId takes a number, not 'abc'"},
        {"await onDoNotDisturbEvent doNotDisturbOn=maybe",
         "await: onDoNotDisturbEvent argument doNotDisturbOn takes a flag (1/0, true/false, "
         "yes/no, on/off), not 'maybe'"},
        {"await onCallStateChangeEvent callState=talking",
         "await: onCallStateChangeEvent argument callState takes a number or a call state (idle, "
         "dialing, ringingBack, ringing, connected, held, busy, failed, conferenced), not "
         "'talking'"},
        {"await onCallHeldEvent since=yesterday",
         "await: since= takes only start, not 'yesterday'"},
        {"sim incomingcall 1001 2005",
         "sim: unknown control command 'incomingcall'; did you mean 'incomingCall'? (try help)"},
        {"sim wait 100", "sim: wait works only in a script file"},
        {"sim hangup", "sim: usage: hangup CALLID"},
        {"sim recording 1001 1 maybe",
         "sim: on|off takes on or off, not 'maybe' (usage: recording LINE CALLID on|off)"},
        {"help onCallHeldEvnt",
         "no operation or callback 'onCallHeldEvnt'; did you mean 'onCallHeldEvent'? (try help)"},
        {"echo 'unfinished", "bad line: unterminated ' quote"},
    };
    for (const auto& [line, problem] : cases)
        EXPECT_EQ(console::checkLine(line).value_or("(none)"), problem) << line;
    for (const char* line :
         {"getForwardingConfiguration 0 => sfiSuccess uri=sip:2002 status=true",
          "await onCallStateChangeEvent callState=connected callingParty=sip:2005 within=100",
          "await onCallStateChangeEvent callState=4 since=start", "sim reset",
          "sim incomingCall 1001 2005 Erik Fischer", "sim nextAnswer", "help onCallHeldEvent",
          "isCallHoldPossible 1001 => false", "# note", ""})
        EXPECT_EQ(console::checkLine(line), std::nullopt) << line;
}

TEST(LineCheck, CompletesTheNamesThatMayComeNext) {
    const auto has = [](const std::vector<std::string>& names, const std::string& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    EXPECT_TRUE(has(console::completions(""), "answerCall"));
    EXPECT_TRUE(has(console::completions("  "), "await"));
    EXPECT_TRUE(has(console::completions("sim "), "incomingCall"));
    EXPECT_TRUE(has(console::completions("help "), "onCallHeldEvent"));
    EXPECT_TRUE(has(console::completions("await "), "onBluetoothAudioStatusChanged"));
    EXPECT_EQ(console::completions("await onCallHeldEvent lineId=1 "),
              (std::vector<std::string>{"lineId=", "callId=", "within="}));
    EXPECT_TRUE(has(console::completions("getForwardingConfiguration 0 => "), "uri="));
    EXPECT_TRUE(has(console::completions("isCallHoldPossible 1001 => "), "true"));
    EXPECT_TRUE(console::completions("answerCall ").empty());
    EXPECT_TRUE(console::completions("await onNothing ").empty());
}

TEST(EventLine, NamesCallStatesAndQuotesWhatHoldsBlanks) {
    const std::vector<std::pair<console::RecordedEvent, std::string>> cases = {
        {{"onCallStateChangeEvent", {{"callState", "4"}, {"name", "Erik Fischer"}}},
         "onCallStateChangeEvent callState=connected name=\"Erik Fischer\""},
        {{"onCallStateChangeEvent", {{"callState", "2"}, {"uri", ""}}},
         "onCallStateChangeEvent callState=ringingBack uri=\"\""},
        {{"onCallStateChangeEvent", {{"callState", "9"}}}, "onCallStateChangeEvent callState=9"},
        {{"onCallHeldEvent", {{"callId", "4"}}}, "onCallHeldEvent callId=4"},
    };
    for (const auto& [event, line] : cases)
        EXPECT_EQ(console::describe(event), line);
}

TEST(EventLog, EachAwaitTakesItsOwnMatchingEvent) {
    console::EventLog log;
    log.add({"onCallHeldEvent", {{"lineId", "1001"}, {"callId", "1"}}});
    log.add({"onCallHeldEvent", {{"lineId", "1001"}, {"callId", "2"}}});
    const std::chrono::milliseconds none{0};
    EXPECT_TRUE(log.await("onCallHeldEvent", {{"callId", "2"}}, none));
    EXPECT_FALSE(log.await("onCallHeldEvent", {{"callId", "2"}}, none));
    EXPECT_FALSE(log.await("onCallHeldEvent", {{"lineId", "1002"}}, none));
    EXPECT_TRUE(log.await("onCallHeldEvent", {}, none));
    EXPECT_FALSE(log.await("onCallHeldEvent", {}, none));
}

// An await looks at the events from the step before it on, unless asked for earlier ones; a
// simulator command goes out quoted so that it splits into the words typed.
TEST(Console, SendsSimulatorCommandsThatSplitAsTypedAndAwaitsEventsFromTheStepBeforeOn) {
    testing::NiceMock<communications::testing::MockCommunicationsService> service;
    console::EventLog log;
    console::EventRecorder recorder([&](const console::RecordedEvent& event) { log.add(event); });
    std::string printed;
    std::string sent;
    console::Console::Settings settings;
    settings.awaitTimeout = std::chrono::milliseconds(0);
    console::Console console(
        service, recorder, log,
        [&](const std::string& command) {
            sent = command;
            log.add({"onCallStateChangeEvent", {{"callId", "2"}, {"callState", "4"}}});
            return std::string("ok");
        },
        [&](const std::string& line) { printed += line + "\n"; }, settings);
    log.add({"onCallStateChangeEvent", {{"callId", "1"}, {"callState", "4"}}});
    EXPECT_TRUE(console.execute("sim answer 2"));
    EXPECT_TRUE(console.execute("sim emit callStateChange callId=3 name=\"Erik Fischer\""));
    EXPECT_EQ(kit::splitWords(sent), (std::vector<std::string>{"emit", "callStateChange",
                                                               "callId=3", "name=Erik Fischer"}));
    EXPECT_FALSE(console.execute("await onCallStateChangeEvent callId=1"));
    EXPECT_TRUE(console.execute("await onCallStateChangeEvent callId=1 since=start"));
    EXPECT_TRUE(console.execute("await onCallStateChangeEvent callState=connected"));
}

} // namespace
