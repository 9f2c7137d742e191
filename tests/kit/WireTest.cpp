#include <gtest/gtest.h>

#include "CommunicationsService/desktop/Printable.h"
#include "CommunicationsService/desktop/Wire.h"

namespace {

using namespace desktop::wire;

TEST(Wire, FramesSurviveTheRoundTripByteForByte) {
    const Frame original{FrameKind::Subscribe, 0x01020304, "chan\0nel", std::string("a\0b", 3)};
    const std::string bytes = encode(original);
    ASSERT_EQ(bodySize(reinterpret_cast<const unsigned char*>(bytes.data())),
              bytes.size() - kHeaderSize);
    std::string error;
    const auto decoded = decode(std::string_view(bytes).substr(kHeaderSize), error);
    ASSERT_TRUE(decoded) << error;
    EXPECT_EQ(decoded->kind, FrameKind::Subscribe);
    EXPECT_EQ(decoded->id, 0x01020304u);
    EXPECT_EQ(decoded->channel, original.channel);
    EXPECT_EQ(decoded->text, original.text);
}

TEST(Wire, RejectsBodiesThatAreNotFrames) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"R123", "frame body of 4 bytes is shorter than the 9 bytes of its fixed part"},
        {std::string("E\0\0\0\1\0\0\0\5abc", 12), "channel name of 5 bytes overruns the frame"},
    };
    for (const auto& [body, expected] : cases) {
        std::string error;
        EXPECT_FALSE(decode(body, error));
        EXPECT_EQ(error, expected);
    }
}

TEST(Wire, AFrameOverTheLimitIsRefusedByItsSizeOnly) {
    const std::size_t fixed = 9;
    Frame frame{FrameKind::Answer, 1, "why", std::string(kMaxBodySize - fixed - 3, 'a')};
    EXPECT_EQ(sizeProblem(frame), "");
    frame.text.push_back('a');
    EXPECT_EQ(sizeProblem(frame),
              "answer of 4194305 bytes is over the frame limit of 4194304 bytes");
}

struct Shown {
    std::string text;
    std::size_t limit;
    std::string printable;
};

TEST(Printable, EscapesWhatCouldSteerATerminalAndCutsWithTheLength) {
    const std::vector<Shown> cases = {
        {"plain text, caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80", 100,
         "plain text, caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80"},
        {"a\nb\tc\rd\\e", 100, "a\\nb\\tc\\rd\\\\e"},
        {std::string("\0\x1b[2J\x7f", 6), 100, "\\x00\\x1b[2J\\x7f"},
        // C1 controls, a lone continuation byte, bytes never in UTF-8, an overlong slash, a
        // surrogate, past U+10FFFF, a sequence cut short.
        {"\xc2\x9b\xc2\x85", 100, "\\u009b\\u0085"},
        {"\x80\xff\xc0\xaf", 100, "\\x80\\xff\\xc0\\xaf"},
        {"\xed\xa0\x80\xf4\x90\x80\x80\xe2\x82", 100,
         "\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80\\xe2\\x82"},
        {"abcdef", 6, "abcdef"},
        {"abcdefg", 6, "abcdef... (7 bytes)"},
        // Not in the middle of a character.
        {"abcde\xc3\xa9", 6, "abcde... (7 bytes)"},
    };
    for (const Shown& shown : cases)
        EXPECT_EQ(desktop::printable(shown.text, shown.limit), shown.printable) << shown.text;
    EXPECT_EQ(desktop::terminalSafe("line\n\ttab \\ \x1b]0;t\x07"),
              "line\n\ttab \\ \\x1b]0;t\\x07");
}

} // namespace
