// The back-to-back CSTA events: their leading fields and the raw payload behind them,
// which is the event text itself with its front cut off.

#include <gtest/gtest.h>

#include "CommunicationsService/testing/RecordingSubscriber.h"
#include "CommunicationsServiceEventInvoker.h"

namespace {

using communications::testing::RecordedCall;
using communications::testing::RecordingSubscriber;

const std::string kResponse = "<Method>b2buaCSTAResponse</Method>";
const std::string kEvent = "<Method>b2buaCSTAEventOrRequest</Method>";
// Bytes a CSTA peer may send: a declaration, line breaks, tags, bytes above 0x7F, and a
// second closing text of each kind that must not move the cut.
const std::string kRawPayload = " <?xml version=\"1.0\"?>\r\n<CSTA>\t\xC3\xA9\x7F\x01"
                                "</success></lineURI>&amp;%3B</CSTA> ";

struct PassThroughRow {
    std::string message;
    RecordedCall expected;
};

const PassThroughRow kRows[] = {
    {kResponse + "<lineURI>1001</lineURI><success>0</success>",
     {"onB2buaCSTAResponse", {"1001", "false", ""}}},
    {kResponse + "<lineURI>1001</lineURI><success>1</success>" + kRawPayload,
     {"onB2buaCSTAResponse", {"1001", "true", kRawPayload}}},
    // Without its closing text the cut is 8 characters long, whatever the message holds.
    {kResponse + "<lineURI>1001</lineURI><success>0PAYLOAD",
     {"onB2buaCSTAResponse",
      {"1001", "true", "b2buaCSTAResponse</Method><lineURI>1001</lineURI><success>0PAYLOAD"}}},
    // The first closing text anywhere decides, also one inside the line.
    {kResponse + "<lineURI>a/success>b</lineURI><success>0</success>P",
     {"onB2buaCSTAResponse", {"a/success>b", "false", "b</lineURI><success>0</success>P"}}},
    {kResponse + "<success>1</success><lineURI>1001</lineURI>PAYLOAD",
     {"onB2buaCSTAResponse", {"1001", "true", "<lineURI>1001</lineURI>PAYLOAD"}}},
    {kEvent + "<lineURI>1001</lineURI>" + kRawPayload,
     {"onB2buaCSTAEventOrRequest", {"1001", kRawPayload}}},
    {kEvent + "<lineURI>a/lineURI>b</lineURI>P",
     {"onB2buaCSTAEventOrRequest", {"a/lineURI>b", "b</lineURI>P"}}},
};

TEST(InvokerPassThrough, CutsThePayloadBehindTheFirstClosingTextOrElseEightCharacters) {
    for (const PassThroughRow& row : kRows) {
        SCOPED_TRACE(row.message);
        RecordingSubscriber subscriber;
        CommunicationsServiceEventInvoker().handleMessage(&subscriber, row.message.c_str(), 0,
                                                          nullptr);
        EXPECT_EQ(subscriber.calls(), std::vector<RecordedCall>{row.expected});
    }
}

TEST(InvokerPassThrough, LeavesAnEmptyPayloadOfAShortTextWithoutClosingText) {
    CommunicationsServiceEventInvoker invoker;
    RecordingSubscriber subscriber;
    for (const char* shortText : {"", "1234567", "12345678"}) {
        std::string text = shortText;
        invoker.b2buaCSTAEventOrRequest(&subscriber, text);
        EXPECT_EQ(text, "");
    }
    std::string text = "123456789";
    invoker.b2buaCSTAResponse(&subscriber, text);
    EXPECT_EQ(text, "9");
}

// Changes the payload it is given and remembers which string that was.
struct PayloadEditor : RecordingSubscriber {
    const std::string* seen = nullptr;
    void onB2buaCSTAResponse(const std::string&, bool, std::string& payload) override {
        seen = &payload;
        payload += "+response";
    }
    void onB2buaCSTAEventOrRequest(const std::string&, std::string& payload) override {
        seen = &payload;
        std::string taken = std::move(payload);
        payload = "moved:" + taken;
    }
};

TEST(InvokerPassThrough, HandsTheSubscriberTheCallersOwnStringToChange) {
    CommunicationsServiceEventInvoker invoker;
    PayloadEditor subscriber;
    std::string response = kResponse + "<lineURI>1</lineURI><success>1</success><ok/>";
    invoker.b2buaCSTAResponse(&subscriber, response);
    EXPECT_EQ(subscriber.seen, &response);
    EXPECT_EQ(response, "<ok/>+response");

    std::string event = kEvent + "<lineURI>1</lineURI><ev/>";
    invoker.b2buaCSTAEventOrRequest(&subscriber, event);
    EXPECT_EQ(subscriber.seen, &event);
    EXPECT_EQ(event, "moved:<ev/>");
}

} // namespace
