// Every request kind crosses the socket byte for byte, and every answer shape comes back
// mapped the way the proxy maps it.

#include <gtest/gtest.h>

#include <set>

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
    {{"deactivate", "1"},
     "<Method>Deactivate</Method><AllowAutoActivate>1</AllowAutoActivate>",
     "sfiFailure",
     "sfiFailure"},
    {{"callClear", "1001", "12", "48"},
     "<Method>CallClearRequest</Method><Line>1001</Line><CallID>12</CallID><Cause>48</Cause>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"outgoingCallMake", "1001", "12", "2002", "1", "0", "1"},
     "<Method>OutgoingCallMakeRequest</Method><Line>1001</Line><CallID>12</CallID>"
     "<Destination>2002</Destination><DSSDirectCall>1</DSSDirectCall><BridgeCall>0</BridgeCall>"
     "<CallCompletionCall>1</CallCompletionCall>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"acceptCall", "1001", "12", "1"},
     "<Method>AcceptCall</Method><Line>1001</Line><CallID>12</CallID><AutoAnswer>1</AutoAnswer>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"answerCall", "1001", "12"},
     "<Method>AnswerCall</Method><Line>1001</Line><CallID>12</CallID>",
     "sfiSuccess ",
     "sfiFailure"},
    {{"deflectCall", "1001", "12", "2002"},
     "<Method>DeflectCall</Method><Line>1001</Line><CallID>12</CallID>"
     "<Destination>2002</Destination>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"holdCall", "1001", "12", "1", "1"},
     "<Method>HoldCall</Method><Line>1001</Line><CallID>12</CallID>"
     "<HoldCallReason>1</HoldCallReason><Manual>1</Manual>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"retrieveCall", "1001", "12"},
     "<Method>RetrieveCall</Method><Line>1001</Line><CallID>12</CallID>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"attendedTransferCall", "1001", "12", "7"},
     "<Method>AttendedTransfer</Method><Line>1001</Line><activeCall>12</activeCall>"
     "<heldCall>7</heldCall>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"blindTransferCall", "1001", "12", "2002"},
     "<Method>BlindTransfer</Method><Line>1001</Line><CallID>12</CallID>"
     "<Destination>2002</Destination>",
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
    {{"InitializeOrFinalizeServerFeatures", "1001", "1"},
     "<Method>InitializeOrFinalizeServerFeatures</Method><Line>1001</Line>"
     "<initialize>1</initialize>",
     "",
     "sent"},
    {{"activateCallbackRinging", "1001", "12"},
     "<Method>ActivateCallbackRinging</Method><Line>1001</Line><CallID>12</CallID>",
     "sfiFailureCallBackInvalidState",
     "sfiFailureCallBackInvalidState"},
    {{"activateCallbackBusy", "1001", "12"},
     "<Method>ActivateCallbackBusy</Method><Line>1001</Line><CallID>12</CallID>",
     "sfiFailureCallBackNoCallInfo",
     "sfiFailureCallBackNoCallInfo"},
    {{"cancelCallbacks", "1001", "12", "sip:2002", "1", "1"},
     "<Method>CancelCallbacks</Method><Line>1001</Line><CallID>12</CallID><URI>sip:2002</URI>"
     "<CancelCallBackType>1</CancelCallBackType><DisplayOutcomeCallUI>1</DisplayOutcomeCallUI>",
     "sfiFailureCallBackToMany",
     "sfiFailureCallBackToMany"},
    {{"consultationCall", "1001", "12", "2002"},
     "<Method>Consult</Method><Line>1001</Line><CallID>12</CallID><Destination>2002</Destination>",
     "sfiFailureCallBackAllreadyExists",
     "sfiFailureCallBackAllreadyExists"},
    {{"refuseCall", "1001", "12", "1"},
     "<Method>RefuseCall</Method><Line>1001</Line><CallID>12</CallID>"
     "<RefuseCallReason>1</RefuseCallReason>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"subscribe"}, "<Method>Subscribe</Method>", "sfiSuccess", "sfiSuccess"},
    {{"directedPickupCall", "1001", "12", "3003", "1"},
     "<Method>DirectedPickupCall</Method><Line>1001</Line><CallID>12</CallID>"
     "<CallToBePickedUp>3003</CallToBePickedUp><BLFPickup>1</BLFPickup>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"groupPickupCall", "1001", "12"},
     "<Method>GroupPickupCall</Method><Line>1001</Line><CallID>12</CallID>",
     "",
     "sfiFailure"},
    {{"setServiceState", "sfiServiceDoNotDisturb"},
     "<Method>SetServiceState</Method><state>sfiServiceDoNotDisturb</state>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"getServiceState"},
     "<Method>GetServiceState</Method>",
     "sfiServiceOutOfService",
     "sfiSuccess state=sfiServiceOutOfService"},
    {{"setDoNotDisturb", "1001", "0"},
     "<Method>SetDoNotDisturb</Method><Line>1001</Line><doNotDisturbOn>0</doNotDisturbOn>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"getDoNotDisturb", "1001"},
     "<Method>GetDoNotDisturb</Method><deviceID>1001</deviceID>",
     "true",
     "sfiSuccess doNotDisturbOn=true"},
    {{"setAgentState", "1001", "ready"},
     "<Method>SetAgentState</Method><Line>1001</Line><agentState>ready</agentState>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"setMicrophoneMute", "0"},
     "<Method>SetMicrophoneMute</Method><Status>0</Status>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"getMicrophoneMute"},
     "<Method>GetMicrophoneMute</Method>",
     "sfiFailure: true",
     "sfiFailure muted=false"},
    {{"systemStatus", "DEGRADED", "backup"},
     "<Method>SystemStatus</Method><SystemStatus>DEGRADED</SystemStatus>"
     "<SystemStatusInfo>backup</SystemStatusInfo>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"generateDigits", "1001", "12", "12#"},
     "<Method>GenerateDigits</Method><Line>1001</Line><activeCall>12</activeCall>"
     "<digits>12#</digits>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"getDevices"}, "<Method>GetDevices</Method>", "<1001><1002>", "sfiSuccess devices=1001,1002"},
    {{"conferenceCall", "1001", "12", "7", "1"},
     "<Method>ConferenceCall</Method><Line>1001</Line><activeCall>12</activeCall>"
     "<heldCall>7</heldCall><feature>1</feature>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"RemoveConfParticipant", "-1", "2002", "5"},
     "<Method>RemoveConfParticipant</Method><callID>-1</callID>"
     "<remoteParticipant>2002</remoteParticipant><conferenceMemberId>5</conferenceMemberId>",
     "",
     "sent"},
    {{"getManualHoldIndication", "1001", "12"},
     "<Method>getManualHoldIndication</Method><Line>1001</Line><CallID>12</CallID>",
     "true",
     "true"},
    {{"alternateCalls", ""},
     "<Method>AlternateCalls</Method><Line></Line>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"getMessageWaitingIndicator"},
     "<Method>GetMessageWaitingIndicator</Method>",
     kMessageWaiting,
     "sfiSuccess type=1 newMsgs=2 oldMsgs=7 newUrgMsgs=1 oldUrgMsgs=0 returnType=0 "
     "availableInfo=1 messagesWaiting=1 voiceMailNumber=8000"},
    {{"setAssociatedCalls", "1"},
     "<Method>setAssociatedCalls</Method><associated>1</associated>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"setLampMode", "1001", "lamp3", "2"},
     "<Method>setLampMode</Method><Line>1001</Line><lampId>lamp3</lampId><lampMode>2</lampMode>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"makeSecurityChangeReinvite", "1001", "12", "1"},
     "<Method>makeSecurityChangeReinvite</Method><Line>1001</Line><CallID>12</CallID>"
     "<forceFlag>1</forceFlag>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"setIsInServiceInitiatedState", "1001", "0"},
     "<Method>setIsInServiceInitiatedState</Method><Line>1001</Line>"
     "<IsInServiceInitiatedState>FALSE</IsInServiceInitiatedState>",
     "",
     "sent"},
    {{"setForwardingConfiguration", "1001", "1", "1", "sip:2002", "4", "1"},
     "<Method>setForwardingConfiguration</Method><Line>1001</Line><fwType>1</fwType>"
     "<status>1</status><uri>sip:2002</uri><cfnrRingCount>4</cfnrRingCount>"
     "<forceTKVSUpdate>1</forceTKVSUpdate>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"getForwardingConfiguration", "2"},
     "<Method>getForwardingConfiguration</Method><fwType>2</fwType>",
     kForwarding,
     "sfiSuccess status=false uri=sip:1234 cfnrRingCount=3"},
    {{"callbackDOFeatureCallID", "12 ", "3"},
     "<Method>callbackDOFeatureCallID</Method><CallID>12 </CallID><instanceId>3</instanceId>",
     "",
     "sent"},
    {{"isCallHoldPossible", "1001"},
     "<Method>isCallHoldPossible</Method><Line>1001</Line>",
     "true\n",
     "false"},
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
    std::set<std::string> covered;
    for (const RequestCase& row : kRequests) {
        SCOPED_TRACE(row.words.front());
        const console::Operation* operation = console::findOperation(row.words.front());
        ASSERT_NE(operation, nullptr);
        covered.insert(operation->name);
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
    EXPECT_EQ(covered.size() + 2, console::operations().size());
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
