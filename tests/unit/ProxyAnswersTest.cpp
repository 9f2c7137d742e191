// How the proxy reads the service's answers: result words, field readers and queries.

#include <climits>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "CommunicationsServiceProxy.h"
#include "support/RecordingChannel.h"

using namespace std::string_literals;
using testsupport::RecordingChannel;

namespace {

// A proxy bound to a channel that gives one answer.
struct Answered {
    explicit Answered(const std::string& answer) : channel(answer) { proxy.initProxy(channel); }
    RecordingChannel channel;
    CommunicationsServiceProxy proxy;
};

// A query's answer, the result it gives and the output it leaves.
struct QueryCase {
    std::string answer;
    int result;
    int output; // -1: left as it was
};

TEST(ProxyAnswers, GetResultComparesTheWholeTextWithTheResultWords) {
    const std::pair<std::string, int> cases[] = {
        {"sfiSuccess", 5},
        {"sfiFailureCallBackInvalidState", 1},
        {"sfiFailureCallBackNoCallInfo", 2},
        {"sfiFailureCallBackToMany", 3},
        {"sfiFailureCallBackAllreadyExists", 4},
        {"sfiFailureCallBackAlreadyExists", 0},
        {"sfiFailure", 0},
        {"", 0},
        {"sfiSuccess ", 0},
        {" sfiSuccess", 0},
        {"SFISUCCESS", 0},
        {"sfiSuccess\0"s, 0},
        {"<sfiResult>sfiSuccess</sfiResult>", 0},
    };
    CommunicationsServiceProxy proxy;
    for (const auto& [text, code] : cases) {
        std::string response = text;
        EXPECT_EQ(proxy.getResult(response), code) << '"' << text << '"';
        EXPECT_EQ(response, text);
    }
}

// getMicrophoneMute and getDoNotDisturb read their answer alike; they differ only in the
// response text handed to the channel ("" and "false").
TEST(ProxyAnswers, FlagQueriesFailOnAFailureWordAnywhereAndElseLookForTrue) {
    const QueryCase cases[] = {
        {"true", 5, 1},
        {"false", 5, 0},
        {"", 5, 0},
        {"untrue", 5, 1},
        {"TRUE", 5, 0},
        {"sfiSuccess", 5, 0},
        {"sfiFailure", 0, -1},
        {"true sfiFailureCallBackToMany", 0, -1},
        {"sfifailure true", 5, 1},
    };
    for (const QueryCase& c : cases) {
        SCOPED_TRACE(c.answer);
        for (const bool before : {false, true}) {
            const bool expected = c.output < 0 ? before : c.output == 1;
            Answered mute(c.answer);
            bool muted = before;
            EXPECT_EQ(mute.proxy.getMicrophoneMute(muted), c.result);
            EXPECT_EQ(muted, expected);

            Answered dnd(c.answer);
            bool on = before;
            EXPECT_EQ(dnd.proxy.getDoNotDisturb("1001", on), c.result);
            EXPECT_EQ(on, expected);
        }
    }
}

TEST(ProxyAnswers, GetServiceStateTakesTheFirstStateNameInTableOrder) {
    const QueryCase cases[] = {
        {"sfiServiceInService", 5, 0},
        {"sfiServiceOutOfService", 5, 1},
        {"sfiServiceDoNotDisturb", 5, 2},
        {"<state>sfiServiceOutOfService</state>", 5, 1},
        {"sfiServiceDoNotDisturb sfiServiceInService", 5, 0},
        {"sfiServiceDoNotDisturbsfiServiceOutOfService", 5, 1},
        {"xyz", 0, -1},
        {"", 0, -1},
        {"sfiserviceinservice", 0, -1},
        {"sfiFailure", 0, -1},
        {"sfiServiceDoNotDisturb sfiFailureCallBackNoCallInfo", 0, -1},
    };
    for (const QueryCase& c : cases) {
        SCOPED_TRACE(c.answer);
        Answered query(c.answer);
        sfiServiceState state = sfiServiceState(9);
        EXPECT_EQ(query.proxy.getServiceState(state), c.result);
        EXPECT_EQ(state, c.output < 0 ? 9 : c.output);
    }
}

TEST(ProxyAnswers, GetForwardingConfigurationFillsEveryOutputWhateverTheResult) {
    struct Case {
        std::string answer;
        int result;
        bool status;
        std::string uri;
        int ringCount;
    };
    const Case cases[] = {
        {"<sfiResult>sfiSuccess</sfiResult><status>0</status><uri>sip:1234</uri>"
         "<cfnrRingCount>3</cfnrRingCount>",
         5, false, "sip:1234", 3},
        {"", 0, true, "", -1},
        {"sfiSuccess", 0, true, "", -1},
        {"<sfiResult>sfiFailure</sfiResult><status>1</status><uri>sip:x</uri>"
         "<cfnrRingCount>5</cfnrRingCount>",
         0, true, "sip:x", 5},
        {"<cfnrRingCount>3</cfnrRingCount><uri>sip:a</uri><status>0</status>"
         "<sfiResult>sfiFailureCallBackToMany</sfiResult>",
         3, false, "sip:a", 3},
        {"<sfiResult> sfiSuccess</sfiResult><status>0</status>", 0, false, "", -1},
        // An end tag is looked for from the start: one before its value lets the value run
        // to the end of the answer.
        {"</uri><sfiResult>sfiSuccess</sfiResult><status>0</status><uri>sip:b</uri>"
         "<cfnrRingCount>2</cfnrRingCount>",
         5, false, "sip:b</uri><cfnrRingCount>2</cfnrRingCount>", 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.answer);
        Answered query(c.answer);
        bool status = !c.status;
        std::string uri = "previous";
        int ringCount = 77;
        EXPECT_EQ(
            query.proxy.getForwardingConfiguration(sfiForwardingType(1), status, uri, ringCount),
            c.result);
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(uri, c.uri);
        EXPECT_EQ(ringCount, c.ringCount);
    }
}

struct Waiting {
    int type;
    unsigned newMsgs, oldMsgs, newUrgMsgs, oldUrgMsgs;
    int returnType, availableInfo, messagesWaiting;
    std::string voiceMailNumber;

    auto tied() const {
        return std::tie(type, newMsgs, oldMsgs, newUrgMsgs, oldUrgMsgs, returnType, availableInfo,
                        messagesWaiting, voiceMailNumber);
    }
    bool operator==(const Waiting& other) const { return tied() == other.tied(); }
};

std::ostream& operator<<(std::ostream& out, const Waiting& w) {
    return out << "{" << w.type << ", " << w.newMsgs << ", " << w.oldMsgs << ", " << w.newUrgMsgs
               << ", " << w.oldUrgMsgs << ", " << w.returnType << ", " << w.availableInfo << ", "
               << w.messagesWaiting << ", \"" << w.voiceMailNumber << "\"}";
}

TEST(ProxyAnswers, GetMessageWaitingIndicatorStoresEveryFieldAsThePhonesLongWouldHoldIt) {
    const std::string full =
        "<func_return_val>sfiSuccess</func_return_val><Type>1</Type><newMsgs>2</newMsgs>"
        "<oldMsgs>3</oldMsgs><newUrgMsgs>4</newUrgMsgs><oldUrgMsgs>5</oldUrgMsgs>"
        "<return_type>6</return_type><available_info>7</available_info>"
        "<messages_waiting>8</messages_waiting><voiceMailNumber>*86</voiceMailNumber>";
    const std::tuple<std::string, int, Waiting> cases[] = {
        {full, 5, {1, 2, 3, 4, 5, 6, 7, 8, "*86"}},
        {"<func_return_val>sfiSuccess</func_return_val><newMsgs>2</newMsgs>",
         5,
         {0, 2, 0, 0, 0, 0, 0, 0, ""}},
        {"", 0, {0, 0, 0, 0, 0, 0, 0, 0, ""}},
        {"<func_return_val>sfiFailure</func_return_val><oldMsgs>9</oldMsgs>"
         "<voiceMailNumber>+49 89</voiceMailNumber>",
         0,
         {0, 0, 9, 0, 0, 0, 0, 0, "+49 89"}},
        {"<newMsgs>-1</newMsgs><oldMsgs>4294967295</oldMsgs><newUrgMsgs>-2147483649</newUrgMsgs>"
         "<Type>-99999999999</Type><return_type>12abc</return_type>"
         "<messages_waiting> -3</messages_waiting>",
         0,
         {INT_MIN, 4294967295u, 2147483647u, 2147483648u, 0, 12, 0, -3, ""}},
    };
    for (const auto& [answer, result, expected] : cases) {
        SCOPED_TRACE(answer);
        Answered query(answer);
        Waiting got{55, 55, 55, 55, 55, 55, 55, 55, "previous"};
        EXPECT_EQ(query.proxy.getMessageWaitingIndicator(
                      got.type, got.newMsgs, got.oldMsgs, got.newUrgMsgs, got.oldUrgMsgs,
                      got.returnType, got.availableInfo, got.messagesWaiting, got.voiceMailNumber),
                  result);
        EXPECT_EQ(got, expected);
    }
}

TEST(ProxyAnswers, GetDevicesAppendsEveryBracketedItemUnlessTheAnswerIsExactlyAFailure) {
    using Items = std::vector<std::string>;
    const std::tuple<std::string, int, Items> cases[] = {
        {"sfiFailure", 0, {}},
        {"", 5, {}},
        {"<1001><1002>", 5, {"1001", "1002"}},
        {"<a><b", 5, {"a"}},
        {"<a<b>", 5, {"a<b", "b"}},
        {"<>x<sip:1@h>y", 5, {"", "sip:1@h"}},
        {">a<", 5, {}},
        {"sfiFailure<a>", 5, {"a"}},
    };
    for (const auto& [answer, result, added] : cases) {
        SCOPED_TRACE(answer);
        Answered query(answer);
        Items devices = {"kept"};
        EXPECT_EQ(query.proxy.getDevices(devices), result);
        Items expected = {"kept"};
        expected.insert(expected.end(), added.begin(), added.end());
        EXPECT_EQ(devices, expected);
    }
}

TEST(ProxyAnswers, HoldQueriesAreTrueOnlyForTheWholeAnswerTrue) {
    const std::pair<std::string, bool> cases[] = {
        {"true", true},        {"true\n", false},     {" true", false},
        {"TRUE", false},       {"truetrue", false},   {"", false},
        {"sfiFailure", false}, {"sfiSuccess", false}, {"true\0"s, false},
    };
    for (const auto& [answer, expected] : cases) {
        SCOPED_TRACE(answer);
        Answered hold(answer), manual(answer);
        EXPECT_EQ(hold.proxy.isCallHoldPossible("1001"), expected);
        EXPECT_EQ(manual.proxy.getManualHoldIndication("1001", 12), expected);
    }
}

} // namespace
