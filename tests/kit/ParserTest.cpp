#include <gtest/gtest.h>

#include "RequestParser.h"

namespace {

using simulator::parseRequest;

TEST(RequestParser, ReadsFieldsInOrderWithTheirValues) {
    const auto request = parseRequest("<Method>setForwardingConfiguration</Method><Line>1001</Line>"
                                      "<fwType>2</fwType><status>1</status><uri>sip:a<b</uri>"
                                      "<cfnrRingCount>-4</cfnrRingCount><forceTKVSUpdate>0"
                                      "</forceTKVSUpdate>");
    ASSERT_TRUE(request.valid()) << request.error;
    EXPECT_EQ(request.method, "setForwardingConfiguration");
    EXPECT_EQ(request.fields.size(), 6u);
    EXPECT_EQ(request.text("uri"), "sip:a<b");
    EXPECT_EQ(request.number("cfnrRingCount"), -4);
    EXPECT_TRUE(request.flag("status"));
    EXPECT_FALSE(request.flag("forceTKVSUpdate"));
    EXPECT_FALSE(request.oneWay);
}

TEST(RequestParser, KeepsPayloadsAndSignallingBytesWhole) {
    const auto csta = parseRequest("<Method>SendUACSTAServerMessage</Method><Line>1001</Line>"
                                   "<X>y</X>tail");
    ASSERT_TRUE(csta.valid()) << csta.error;
    EXPECT_EQ(csta.payload, "<X>y</X>tail");
    EXPECT_TRUE(csta.oneWay);

    const auto signalling = parseRequest(std::string("SigEvent:a\0b", 12));
    ASSERT_TRUE(signalling.valid());
    EXPECT_EQ(signalling.method, "SigEvent");
    EXPECT_EQ(signalling.payload, std::string("a\0b", 3));
}

TEST(RequestParser, NamesWhatIsWrongWithABadRequest) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "empty request"},
        {"Activate", "the request does not start with <Method>: 'Activate'"},
        {"<Method>Activate", "the <Method> element is not closed"},
        {"<Method>activate</Method>", "unknown method 'activate'"},
        {"<Method>Activate</Method>x", "Activate: unexpected text after the last field: 'x'"},
        {"<Method>AnswerCall</Method><Line>1</Line>",
         "AnswerCall: expected <CallID> but found the end"},
        {"<Method>AnswerCall</Method><CallID>1</CallID><Line>1</Line>",
         "AnswerCall: expected <Line> but found '<CallID>1</CallID><Line>1</Line>'"},
        {"<Method>AnswerCall</Method><Line>1</Line><CallID>x1</CallID>",
         "AnswerCall: <CallID> must be a decimal number, not 'x1'"},
        {"<Method>AnswerCall</Method><Line>1</Line><CallID>99999999999</CallID>",
         "AnswerCall: <CallID> must be a decimal number, not '99999999999'"},
        {"<Method>SetMicrophoneMute</Method><Status>true</Status>",
         "SetMicrophoneMute: <Status> must be 0 or 1, not 'true'"},
        {"<Method>setIsInServiceInitiatedState</Method><Line>1</Line>"
         "<IsInServiceInitiatedState>1</IsInServiceInitiatedState>",
         "setIsInServiceInitiatedState: <IsInServiceInitiatedState> must be TRUE or FALSE, not "
         "'1'"},
        {"<Method>SetServiceState</Method><state></state>",
         "SetServiceState: <state> must name a service state, not ''"},
        {"<Method>DeflectCall</Method><Line>1</Line><CallID>1</CallID><Destination>",
         "DeflectCall: <Destination> is not closed"},
    };
    for (const auto& [text, error] : cases) {
        EXPECT_EQ(parseRequest(text).error, error) << text;
    }
}

} // namespace
