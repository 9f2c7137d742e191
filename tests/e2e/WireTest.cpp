#include <gtest/gtest.h>

#include "CommunicationsService/desktop/Wire.h"

namespace {

using namespace desktop::wire;

TEST(Wire, FramesSurviveTheRoundTripByteForByte) {
    const Frame original{Kind::Subscribe, 0x01020304, "chan\0nel", std::string("a\0b", 3)};
    const std::string bytes = encode(original);
    ASSERT_EQ(bodySize(reinterpret_cast<const unsigned char*>(bytes.data())),
              bytes.size() - kHeaderSize);
    std::string error;
    const auto decoded = decode(std::string_view(bytes).substr(kHeaderSize), error);
    ASSERT_TRUE(decoded) << error;
    EXPECT_EQ(decoded->kind, Kind::Subscribe);
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

} // namespace
