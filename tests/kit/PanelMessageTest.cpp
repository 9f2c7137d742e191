// A page's message to the panel, as any page may write it: a command is run and replied to
// with the page's id; anything else, however deeply it nests, gets an error and runs nothing.

#include <gtest/gtest.h>

#include "PanelMessage.h"

namespace {

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

struct MessageCase {
    const char* name;
    std::string message;
    std::string reply;
};

const std::string kRefused = R"({"error":"malformed message: the panel takes {\"control\": )"
                             R"(\"COMMAND\"} with its arguments as texts in \"arguments\" )"
                             R"(and an optional \"id\", a number or a text, not )";

const std::vector<MessageCase> kMessages = {
    {"CommandWithNumberId", R"({"control":"help","id":7})",
     R"({"reply":{"command":"help","text":"said help","id":7}})"},
    {"CommandWithTextId", R"({"control":"help","id":"x"})",
     R"({"reply":{"command":"help","text":"said help","id":"x"}})"},
    {"CommandWithoutId", R"({"control":"help"})",
     R"({"reply":{"command":"help","text":"said help"}})"},
    {"IdThatIsAnArray", R"({"control":"help","id":[1]})",
     kRefused + R"({\"control\":\"help\",\"id\":[1]}"})"},
    {"IdNestedTooDeepToPrint", R"({"control":"help","id":)" + nested(100000) + "}",
     kRefused + R"({\"control\":\"help\",\"id\":)" + std::string(57, '[') + "\"}"},
    {"NoCommand", R"({"shout":1})", kRefused + R"({\"shout\":1}"})"},
    {"ArgumentWithABlank", R"({"control":"help","arguments":["Erik Fischer"]})",
     R"({"reply":{"command":"help \"Erik Fischer\"","text":"said help \"Erik Fischer\""}})"},
    {"ArgumentThatIsNoText", R"({"control":"help","arguments":[1]})",
     kRefused + R"({\"control\":\"help\",\"arguments\":[1]}"})"},
};

TEST(PanelMessage,
     RunsOnlyACommandWithTextArgumentsAndAScalarIdAndRefusesEverythingElseWithoutRecursing) {
    for (const MessageCase& test : kMessages) {
        SCOPED_TRACE(test.name);
        std::string ran;
        EXPECT_EQ(simulator::panelReply(test.message,
                                        [&](const std::string& command) {
                                            ran += command;
                                            return "said " + command;
                                        }),
                  test.reply);
        EXPECT_EQ(ran.substr(0, 4), test.reply.find("error") == std::string::npos ? "help" : "");
    }
}

} // namespace
