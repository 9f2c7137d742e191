// A frame described as the plug-in reads it: the operation or callback, each value named,
// typed, present or missing, the event chosen exactly as the invoker chooses it, and the
// host's trace lines written from that description.

#include <gtest/gtest.h>

#include <string>

#include "CommunicationsService/desktop/MessageText.h"
#include "CommunicationsService/desktop/Trace.h"
#include "CommunicationsService/protocol/Catalogue.h"

namespace {

namespace message = desktop::message;
namespace catalogue = CommunicationsService::protocol::catalogue;

std::string kindLetter(message::Kind kind) {
    switch (kind) {
    case message::Kind::text:
        return "t";
    case message::Kind::number:
        return "n";
    case message::Kind::flag:
        return "f";
    case message::Kind::list:
        return "l";
    case message::Kind::payload:
        return "p";
    case message::Kind::party:
        break;
    }
    return "party";
}

// "name[method] value:kind=text value:kind-" with '-' for a missing value.
std::string summary(const message::Description& described) {
    std::string shown = std::string(described.name) + "[" + std::string(described.method) + "]";
    for (const message::Value& value : described.values) {
        shown += " " + std::string(value.name) + ":" + kindLetter(value.kind) +
                 (value.text ? "=" + std::string(*value.text) : "-");
    }
    return shown;
}

struct Described {
    const char* what;
    std::string text;
    std::string request;
    std::string event;
};

const Described kTexts[] = {
    {"a request and no event", "<Method>HoldCall</Method><Line>1001</Line><Manual>1</Manual>",
     "holdCall[HoldCall] line:t=1001 callId:n- holdCallReason:n- manual:f=1", "[HoldCall]"},
    {"the payload behind the last field",
     "<Method>SendCSTARequest</Method><Line>1</Line><csta>x</csta>",
     "SendCSTARequest[SendCSTARequest] line:t=1 cstaRequest:p=<csta>x</csta>", "[SendCSTARequest]"},
    {"the signalling pass-through", "SigEvent:INVITE",
     "processSignallingComponentEvent[SigEvent] message:p=INVITE", "[]"},
    {"the first element counts, from the text's start",
     "<Method>CallHeldEvent</Method><LineID>a<CallID>9</CallID></LineID><CallID>4</CallID>",
     "[CallHeldEvent]", "onCallHeldEvent[CallHeldEvent] lineId:t=a<CallID>9</CallID> callId:n=9"},
    {"a prefix selects a prefix-matched event",
     "<Method>CallHeldEventLater</Method><CallID>2</CallID>", "[CallHeldEventLater]",
     "onCallHeldEvent[CallHeldEventLater] lineId:t- callId:n=2"},
    {"the call-state name matches only whole", "<Method>CallStateChangeEventX</Method>",
     "[CallStateChangeEventX]", "[CallStateChangeEventX]"},
    {"a payload behind its closing text",
     "<Method>b2buaCSTAResponse</Method><success>0</success><r/>", "[b2buaCSTAResponse]",
     "onB2buaCSTAResponse[b2buaCSTAResponse] lineURI:t- success:f=0 cstaResponse:p=<r/>"},
    {"lists", "<Method>securityStatusChanged</Method><CallIDsRecorded>1;2;</CallIDsRecorded>",
     "[securityStatusChanged]",
     "onSecurityStatusChanged[securityStatusChanged] lineURI:t- callId:n- securityStatus:n- "
     "callIdsRecorded:l=1;2; callLineURIsRecorded:l-"},
    {"nothing after a NUL is read",
     std::string("<Method>CallHeldEvent</Method>\0<CallID>4</CallID>", 49), "[CallHeldEvent]",
     "onCallHeldEvent[CallHeldEvent] lineId:t- callId:n-"},
    {"no method", "<LineID>1</LineID>", "[]", "[]"},
};

TEST(DescribingAFrame, NamesTheOperationOrCallbackWithEachValueTypedAndPresentOrMissing) {
    for (const Described& test : kTexts) {
        SCOPED_TRACE(test.what);
        EXPECT_EQ(summary(message::describeRequest(test.text)), test.request);
        EXPECT_EQ(summary(message::describeEvent(test.text)), test.event);
    }
}

TEST(DescribingAFrame, GivesEveryPartyUnderItsNameAndATaggedAnswerItsOutputs) {
    const std::string parties = summary(message::describeEvent(
        "<Method>CallStateChangeEvent</Method><GPUCLG>sip:a</GPUCLG><GPUCLDName>B</GPUCLDName>"));
    EXPECT_NE(parties.find("fullPai:t- callingParty:party=sip:a callingPartyName:party- "
                           "calledParty:party- calledPartyName:party=B resourcePriority:n-"),
              std::string::npos)
        << parties;
    EXPECT_EQ(summary(message::describeAnswer(
                  catalogue::requestNamed("getForwardingConfiguration"),
                  "<sfiResult>sfiSuccess</sfiResult><status>1</status><uri>sip:x</uri>")),
              "getForwardingConfiguration[getForwardingConfiguration] result:t=sfiSuccess "
              "status:f=1 uri:t=sip:x cfnrRingCount:n-");
    EXPECT_EQ(summary(message::describeAnswer(catalogue::requestNamed("answerCall"), "sfiSuccess")),
              "answerCall[AnswerCall]");
    EXPECT_EQ(summary(message::describeAnswer(nullptr, "ok")), "[]");
}

TEST(TracingAFrame, ShowsTheCallThePlugInMakesAndTheTextOfOneItMakesNone) {
    const struct {
        std::string line;
        std::string traced;
    } cases[] = {
        {desktop::trace::request("<Method>Consult</Method><Line>1001</Line><CallID>3</CallID>"),
         "consultationCall(line=\"1001\", callId=3)"},
        {desktop::trace::event("<Method>CallStateChangeEvent</Method><LineID>1</LineID>"
                               "<GPUCLG>a</GPUCLG><CallState>4</CallState>"),
         "onCallStateChangeEvent(lineId=\"1\", callState=4)"},
        {desktop::trace::event("<Method>CallStateChangeEventX</Method><LineID>1</LineID>"),
         "'<Method>CallStateChangeEventX</Method><LineID>1</LineID>'"},
        {desktop::trace::event("<Method>CallHeldEventLater</Method><CallID>2</CallID>"),
         "onCallHeldEvent(callId=2)"},
        {desktop::trace::answer("sfiSuccess"), "sfiSuccess (5)"},
    };
    for (const auto& [line, traced] : cases)
        EXPECT_EQ(line, traced);
}

} // namespace
