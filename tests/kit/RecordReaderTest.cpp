// A record file as it may come back: cut short by a full disk, written by a newer
// simulator, edited by hand. Each line that cannot be read is named with its number and
// skipped; what can be read is kept.

#include <gtest/gtest.h>

#include "Record.h"

namespace {

const std::string kGood =
    R"({"time":"2026-11-24T19:00:00.000100Z","client":1,"direction":"in","kind":"request",)"
    R"("id":2,"method":"AnswerCall","fields":{"line":"1001","callId":"1"},)"
    R"("text":"<Method>AnswerCall</Method><Line>1001</Line><CallID>1</CallID>"})";

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

std::string withTime(const std::string& time) {
    std::string line = kGood;
    return line.replace(9, 27, time);
}

struct ReaderCase {
    const char* name;
    std::string content;
    std::size_t entries;
    std::vector<std::string> problems; // each must be found in its problem line, in order
};

const std::vector<ReaderCase> kCases = {
    {"WholeLinesReadClean", kGood + "\n" + kGood + "\n", 2, {}},
    {"LastLineCutShort",
     kGood + "\n" + kGood.substr(0, 60),
     1,
     {"line 2: not a whole JSON object (a line cut short?) (the last line); skipped"}},
    {"UnknownMemberKept",
     R"({"time":"2026-11-24T19:00:00.000000Z","client":0,"kind":"control","mood":"x"})",
     1,
     {"line 1: unknown member 'mood' ignored"}},
    {"TimeGoingBackKept",
     kGood + "\n" + withTime("2026-11-24T18:59:59.000000Z") + "\n",
     2,
     {"line 2: time 2026-11-24T18:59:59.000000Z is earlier than 2026-11-24T19:00:00.000100Z "
      "of line 1"}},
    {"BadTimeSkipped",
     withTime("2026-13-24T19:00:00.000000Z") + "\n\n" + kGood,
     1,
     {"line 1: \"time\" '2026-13-24T19:00:00.000000Z' is not a time"}},
    {"TimeBeyondTheClockSkipped",
     withTime("4052-11-24T19:00:00.000000Z"),
     0,
     {"line 1: \"time\" '4052-11-24T19:00:00.000000Z' is not a time"}},
    {"MissingAndMistypedMembers",
     R"({"client":1,"kind":"event"})"
     "\n"
     R"({"time":"2026-11-24T19:00:00.000000Z","client":"1","kind":"event"})"
     "\n"
     R"({"time":"2026-11-24T19:00:00.000000Z","client":1,"kind":"shout"})"
     "\n"
     R"({"time":"2026-11-24T19:00:00.000000Z","client":1,"kind":"event","fields":{"a":1}})"
     "\n[1]\n",
     0,
     {"line 1: no \"time\"", "line 2: \"client\" is string, not a number from 0",
      "line 3: \"kind\" 'shout' is none of", "line 4: field 'a' is number, not a string",
      "line 5: not a JSON object"}},
    {"NestingBeyondAnyRecordSkipped",
     R"({"time":"2026-11-24T19:00:00.000000Z","client":1,"kind":"event","id":)" + nested(100000) +
         "}\n" + kGood,
     1,
     {"line 1: nests deeper than 32 levels; skipped"}},
    {"IdNotANumberSkippedWithoutShowingIt",
     R"({"time":"2026-11-24T19:00:00.000000Z","client":1,"kind":"event","id":)" + nested(20) +
         "}\n" + R"({"time":"2026-11-24T19:00:00.000000Z","client":1,"kind":"event","id":-1})",
     0,
     {"line 1: \"id\" is not a frame id (0 to 4294967295); skipped",
      "line 2: \"id\" is not a frame id"}},
    {"HexTextDecoded",
     R"({"time":"2026-11-24T19:00:00.000000Z","client":1,"kind":"event","textHex":"ff00"})"
     "\n"
     R"({"time":"2026-11-24T19:00:00.000000Z","client":1,"kind":"event","textHex":"f"})",
     1,
     {"line 2: \"textHex\" is not an even number of hexadecimal digits"}},
};

TEST(RecordReader, ProblemsAreNamedByLineAndReadingGoesOn) {
    for (const ReaderCase& test : kCases) {
        SCOPED_TRACE(test.name);
        const kit::record::Reading reading = kit::record::read(test.content);
        EXPECT_EQ(reading.entries.size(), test.entries);
        ASSERT_EQ(reading.problems.size(), test.problems.size());
        for (std::size_t i = 0; i < test.problems.size(); ++i)
            EXPECT_NE(reading.problems[i].find(test.problems[i]), std::string::npos)
                << reading.problems[i];
    }
}

TEST(RecordReader, AWrittenLineReadsBackAsItWasWritten) {
    kit::record::Entry entry = kit::record::describeFrame(
        {desktop::wire::FrameKind::Event,
         0,
         {},
         "<Method>CallStateChangeEvent</Method><CallID>5</CallID><GPUCLG>sip:a</GPUCLG>\xff"});
    entry.time = *kit::record::parseIsoTime("2026-11-24T19:00:00.123456Z");
    entry.client = 3;
    const kit::record::Reading reading = kit::record::read(kit::record::toLine(entry));
    ASSERT_EQ(reading.entries.size(), 1u) << reading.problems.front();
    const kit::record::Entry& back = reading.entries.front();
    EXPECT_EQ(back.text, entry.text);
    EXPECT_EQ(back.time, entry.time);
    EXPECT_EQ(back.method, "CallStateChangeEvent");
    EXPECT_EQ(back.fields, (kit::record::Fields{{"callId", "5"}, {"callingParty", "sip:a"}}));
}

} // namespace
