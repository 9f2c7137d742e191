// The checking side of a replay: which steps a record makes, when its control commands are
// due, and what the first divergence says.

#include <gtest/gtest.h>

#include "ReplayScript.h"

namespace {

using simulator::ReplayScript;
using simulator::ReplayStep;
using What = ReplayStep::What;

const std::string kActivate = "<Method>Activate</Method>";
const std::string kAnswer = "<Method>AnswerCall</Method><Line>1001</Line><CallID>1</CallID>";

std::vector<ReplayStep> session() {
    return {{What::expect, kActivate, {}, 3, {}},
            {What::play, "incomingCall 1001 2005", std::chrono::milliseconds(40), 6, "ok"},
            {What::expect, kAnswer, {}, 9, {}}};
}

TEST(ReplayScript, PlaysTheFarEndOnlyOnceTheRequestsBeforeItCame) {
    ReplayScript script(session());
    EXPECT_TRUE(script.duePlays().empty());
    EXPECT_EQ(script.received(kActivate), std::nullopt);
    const std::vector<ReplayStep> due = script.duePlays();
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due[0].text, "incomingCall 1001 2005");
    EXPECT_TRUE(script.duePlays().empty());
    EXPECT_FALSE(script.finished());
    EXPECT_EQ(script.awaited(), "answerCall(line=\"1001\", callId=1) (line 9 of the record)");
    EXPECT_EQ(script.received(kAnswer), std::nullopt);
    EXPECT_TRUE(script.finished());
}

TEST(ReplayScript, PlaysTheControlCommandsAfterTheLastRequestToo) {
    ReplayScript script({{What::expect, kActivate, {}, 3, {}},
                         {What::play, "hangup 1", {}, 8, "ok"},
                         {What::play, "reset", {}, 9, "ok"}});
    EXPECT_EQ(script.received(kActivate), std::nullopt);
    EXPECT_EQ(script.duePlays().size(), 2u);
    EXPECT_TRUE(script.finished());
}

struct Divergence {
    const char* name;
    std::vector<std::string> sent;
    std::string report;
};

class Diverging : public testing::TestWithParam<Divergence> {};

TEST_P(Diverging, IsReportedWithTheExpectedAndTheReceivedRequestAndTheLine) {
    ReplayScript script(session());
    std::optional<std::string> report;
    for (const std::string& text : GetParam().sent) {
        script.duePlays();
        report = script.received(text);
        if (report) break;
    }
    EXPECT_EQ(report.value_or("(none)"), GetParam().report);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Diverging,
    testing::Values(
        Divergence{"OtherMethod",
                   {kActivate, "<Method>HoldCall</Method><Line>1001</Line><CallID>1</CallID>"},
                   "first divergence at line 9 of the record: expected answerCall(line=\"1001\", "
                   "callId=1), received holdCall(line=\"1001\", callId=1)"},
        Divergence{"OtherArgument",
                   {kActivate, "<Method>AnswerCall</Method><Line>1001</Line><CallID>2</CallID>"},
                   "first divergence at line 9 of the record: expected answerCall(line=\"1001\", "
                   "callId=1), received answerCall(line=\"1001\", callId=2)"},
        Divergence{"SkippedRequest",
                   {kAnswer},
                   "first divergence at line 3 of the record: expected activate(), received "
                   "answerCall(line=\"1001\", callId=1)"},
        Divergence{"OneTooMany",
                   {kActivate, kAnswer, kActivate},
                   "the application sent activate() after the last request of the record"}),
    [](const testing::TestParamInfo<Divergence>& info) { return info.param.name; });

TEST(ReplaySteps, AreTheApplicationsRequestsAndEveryControlCommandWithTheirDelays) {
    const auto at = [](int millisecond) {
        return kit::record::Clock::time_point(std::chrono::milliseconds(millisecond));
    };
    std::vector<kit::record::Entry> entries(6);
    entries[0] = {at(0), 1, "", "connect", 0, "", "", {}, "", 1};
    entries[1] = {at(10), 1, "in", "request", 1, "", "Activate", {}, kActivate, 2};
    entries[2] = {at(12), 1, "out", "answer", 1, "", "Activate", {}, "sfiSuccess", 3};
    entries[3] = {at(50), 0, "in", "control", 0, "", "incomingCall", {}, "incomingCall 1001", 4};
    entries[4] = {at(45), 0, "out", "answer", 0, "", "incomingCall", {}, "ok ringing", 5};
    entries[5] = {at(45), 1, "in", "oneway", 2, "", "AnswerCall", {}, kAnswer, 6};
    const std::vector<ReplayStep> steps = simulator::replaySteps(entries);
    ASSERT_EQ(steps.size(), 3u);
    EXPECT_EQ(steps[0].what, What::expect);
    EXPECT_EQ(steps[0].line, 2u);
    EXPECT_EQ(steps[1].what, What::play);
    EXPECT_EQ(steps[1].delay, std::chrono::milliseconds(40));
    EXPECT_EQ(steps[1].recordedAnswer, "ok ringing");
    // A time earlier than the step before waits for nothing.
    EXPECT_EQ(steps[2].delay, std::chrono::milliseconds(0));
}

TEST(ReplaySteps, EachRequestGetsTheFirstAnswerAfterItWithItsClientAndFrame) {
    const kit::record::Clock::time_point now{};
    const std::vector<kit::record::Entry> entries = {
        {now, 1, "in", "request", 1, "", "", {}, kActivate, 1},
        {now, 2, "out", "answer", 1, "", "", {}, "another client's", 2},
        {now, 1, "out", "answer", 1, "", "", {}, "first", 3},
        {now, 1, "in", "request", 1, "", "", {}, kActivate, 4},
        {now, 1, "in", "request", 2, "", "", {}, kAnswer, 5},
        {now, 1, "out", "answer", 1, "", "", {}, "second", 6},
    };
    const std::vector<ReplayStep> steps = simulator::replaySteps(entries);
    ASSERT_EQ(steps.size(), 3u);
    EXPECT_EQ(steps[0].recordedAnswer, "first");
    EXPECT_EQ(steps[1].recordedAnswer, "second");
    EXPECT_EQ(steps[2].recordedAnswer, std::nullopt);
}

// The time replaySteps takes for a record of `count` requests that got no answer.
std::chrono::steady_clock::duration stepsTime(std::size_t count) {
    std::vector<kit::record::Entry> entries(count);
    for (std::size_t i = 0; i < count; ++i)
        entries[i] = {{}, 1,  "in", "request", static_cast<std::uint32_t>(i),
                      "", "", {},   kActivate, i + 1};
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(simulator::replaySteps(entries).size(), count);
    return std::chrono::steady_clock::now() - start;
}

TEST(ReplaySteps, AreFoundInTimeLinearInARecordOfRequestsThatGotNoAnswer) {
    // Four times the requests take about four times as long, not sixteen times as each
    // request's search ahead for its answer did (80,000 requests: 22 s).
    const auto small = stepsTime(25000);
    const auto large = stepsTime(100000);
    EXPECT_LT(large, small * 8) << "25,000 requests: " << small.count()
                                << " ns, 100,000 requests: " << large.count() << " ns";
}

} // namespace
