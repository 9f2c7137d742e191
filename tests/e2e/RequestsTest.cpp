// Each kind of request field and every answer shape crosses the socket byte for byte from
// the console's words, and comes back mapped the way the proxy maps it. The unit tests pin
// every request's text; these rows cover each way the console and the host carry one.

#include <gtest/gtest.h>

#include "Client.h"
#include "Operations.h"
#include "SimulatorProcess.h"

namespace {

struct RequestCase {
    std::vector<std::string> words; // console operation and its arguments
    std::string request;            // what the simulator must receive
    std::string answer;             // what it answers ("" for one-way messages)
    std::string outcome;            // the result in words, with its outputs
};

const char* const kForwarding =
    "<sfiResult>sfiSuccess</sfiResult><status>0</status><uri>sip:1234</uri>"
    "<cfnrRingCount>3</cfnrRingCount>";
const char* const kMessageWaiting =
    "<func_return_val>sfiSuccess</func_return_val><Type>1</Type><newMsgs>2</newMsgs>"
    "<oldMsgs>7</oldMsgs><newUrgMsgs>1</newUrgMsgs><oldUrgMsgs>0</oldUrgMsgs>"
    "<return_type>0</return_type><available_info>1</available_info>"
    "<messages_waiting>1</messages_waiting><voiceMailNumber>8000</voiceMailNumber>";

const std::vector<RequestCase> kRequests = {
    {{"activate"}, "<Method>Activate</Method>", "sfiSuccess", "sfiSuccess"},
    {{"outgoingCallMake", "1001", "12", "2002", "1", "0", "1"},
     "<Method>OutgoingCallMakeRequest</Method><Line>1001</Line><CallID>12</CallID>"
     "<Destination>2002</Destination><DSSDirectCall>1</DSSDirectCall><BridgeCall>0</BridgeCall>"
     "<CallCompletionCall>1</CallCompletionCall>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"answerCall", "1001", "12"},
     "<Method>AnswerCall</Method><Line>1001</Line><CallID>12</CallID>",
     "sfiSuccess ",
     "sfiFailure"},
    {{"holdCall", "1001", "12", "1", "1"},
     "<Method>HoldCall</Method><Line>1001</Line><CallID>12</CallID>"
     "<HoldCallReason>1</HoldCallReason><Manual>1</Manual>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"SendCSTARequest", "1001", "<MakeCall a=\"b\"/>"},
     "<Method>SendCSTARequest</Method><Line>1001</Line><MakeCall a=\"b\"/>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"sendUACSTAServerMessage", "1001", "PAYLOAD"},
     "<Method>SendUACSTAServerMessage</Method><Line>1001</Line>PAYLOAD",
     "",
     "sent"},
    {{"subscribe"}, "<Method>Subscribe</Method>", "sfiSuccess", "sfiSuccess"},
    {{"setServiceState", "sfiServiceDoNotDisturb"},
     "<Method>SetServiceState</Method><state>sfiServiceDoNotDisturb</state>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"getServiceState"},
     "<Method>GetServiceState</Method>",
     "sfiServiceOutOfService",
     "sfiSuccess state=sfiServiceOutOfService"},
    {{"getDoNotDisturb", "1001"},
     "<Method>GetDoNotDisturb</Method><deviceID>1001</deviceID>",
     "true",
     "sfiSuccess doNotDisturbOn=true"},
    {{"getDevices"}, "<Method>GetDevices</Method>", "<1001><1002>", "sfiSuccess devices=1001,1002"},
    {{"RemoveConfParticipant", "-1", "2002", "5"},
     "<Method>RemoveConfParticipant</Method><callID>-1</callID>"
     "<remoteParticipant>2002</remoteParticipant><conferenceMemberId>5</conferenceMemberId>",
     "",
     "sent"},
    {{"getManualHoldIndication", "1001", "12"},
     "<Method>getManualHoldIndication</Method><Line>1001</Line><CallID>12</CallID>",
     "true",
     "true"},
    {{"getMessageWaitingIndicator"},
     "<Method>GetMessageWaitingIndicator</Method>",
     kMessageWaiting,
     "sfiSuccess type=1 newMsgs=2 oldMsgs=7 newUrgMsgs=1 oldUrgMsgs=0 returnType=0 "
     "availableInfo=1 messagesWaiting=1 voiceMailNumber=8000"},
    {{"setIsInServiceInitiatedState", "1001", "0"},
     "<Method>setIsInServiceInitiatedState</Method><Line>1001</Line>"
     "<IsInServiceInitiatedState>FALSE</IsInServiceInitiatedState>",
     "",
     "sent"},
    {{"getForwardingConfiguration", "2"},
     "<Method>getForwardingConfiguration</Method><fwType>2</fwType>",
     kForwarding,
     "sfiSuccess status=false uri=sip:1234 cfnrRingCount=3"},
    {{"callbackDOFeatureCallID", "12 ", "3"},
     "<Method>callbackDOFeatureCallID</Method><CallID>12 </CallID><instanceId>3</instanceId>",
     "",
     "sent"},
    {{"processSignallingComponentEvent", "ab\tc"}, "SigEvent:ab\tc", "", "sent"},
};

std::string describe(const console::Outcome& outcome) {
    std::string text = outcome.result;
    for (const console::NamedValue& output : outcome.outputs) {
        text += " " + output.name + "=" + output.value;
    }
    return text;
}

std::string lastRequest(kit::Client& client) {
    const std::string reply = client.control("lastRequest");
    EXPECT_EQ(reply.compare(0, 3, "ok\n"), 0) << reply;
    return reply.substr(std::min<std::size_t>(3, reply.size()));
}

TEST(Requests, EveryRequestArrivesByteExactAndItsAnswerMapsAsTheProxyMapsIt) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    for (const RequestCase& row : kRequests) {
        SCOPED_TRACE(row.words.front());
        const console::Operation* operation = console::findOperation(row.words.front());
        ASSERT_NE(operation, nullptr);
        if (!row.answer.empty()) {
            ASSERT_EQ(client.control("nextAnswer " + row.answer), "ok");
        }
        const std::vector<std::string> arguments(row.words.begin() + 1, row.words.end());
        const console::Outcome outcome = operation->run(
            client.service(), client.recorder, console::bindArguments(*operation, arguments));
        EXPECT_EQ(lastRequest(client), row.request);
        EXPECT_EQ(describe(outcome), row.outcome);
    }
    // csCommunicationsService and activateStoredFwd never reach the service.
    EXPECT_EQ(client.service().csCommunicationsService("any"), "");
    client.service().activateStoredFwd();
    EXPECT_EQ(lastRequest(client), kRequests.back().request);
}

TEST(Requests, SignallingDataKeepsItsZeroBytes) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    client.service().processSignallingComponentEvent("ab\0c", 4);
    EXPECT_EQ(lastRequest(client), std::string("SigEvent:ab\0c", 13));
}

TEST(Requests, TruncatedRequestGetsFailureAndOneClearLogLine) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    EXPECT_EQ(client.service().deflectCall("1001", 12, nullptr), sfiFailure);
    EXPECT_TRUE(simulator.waitForLog("malformed request: DeflectCall: <Destination> is not closed"))
        << simulator.log();
}

} // namespace
