// The request text of every operation and the channel operation that carries it.

#include <climits>
#include <functional>
#include <locale>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CommunicationsServiceProxy.h"
#include "support/RecordingChannel.h"

using namespace std::string_literals;
using testsupport::RecordingChannel;
using Op = RecordingChannel::Operation;
using Ifc = CommunicationsServiceIfc;

namespace {

// Every answer is this word, so a mapped result (3) differs from both success and failure.
const std::string kAnswer = "sfiFailureCallBackToMany";
constexpr int kMapped = 3;

struct WireVector {
    const char* name;
    std::function<int(Ifc&)> call;
    std::string wire;
    std::optional<Op> via; // nothing sent when empty
    int result = kMapped;  // not checked for one-way operations
    const char* preset = "";
};

std::ostream& operator<<(std::ostream& out, const WireVector& row) { return out << row.name; }

template <class F> std::function<int(Ifc&)> noResult(F f) {
    return [f](Ifc& p) {
        f(p);
        return 0;
    };
}

const WireVector kWireVectors[] = {
    // Lifecycle and signalling.
    {"Activate", [](Ifc& p) { return p.activate(); }, "<Method>Activate</Method>",
     Op::SendRequestTimed},
    {"DeactivateAllowingAutoActivate", [](Ifc& p) { return p.deactivate(true); },
     "<Method>Deactivate</Method><AllowAutoActivate>1</AllowAutoActivate>", Op::SendRequest},
    {"SignallingEventWithZeroByte",
     noResult([](Ifc& p) { p.processSignallingComponentEvent("ab\0c", 4); }), "SigEvent:ab\0c"s,
     Op::SendOneWay},
    {"SignallingEventOfLengthZero",
     noResult([](Ifc& p) { p.processSignallingComponentEvent("ignored", 0); }),
     "SigEvent:", Op::SendOneWay},
    {"SignallingEventReadsOnlyLengthBytes", noResult([](Ifc& p) {
         static const char unterminated[3] = {'x', '<', 'z'};
         p.processSignallingComponentEvent(unterminated, 2);
     }),
     "SigEvent:x<", Op::SendOneWay},
    {"CsCommunicationsServiceSendsNothing", noResult([](Ifc& p) {
         EXPECT_EQ(p.csCommunicationsService("any"), "");
         EXPECT_EQ(p.csCommunicationsService(nullptr), "");
     }),
     "", std::nullopt},
    {"ActivateStoredFwdSendsNothing", noResult([](Ifc& p) { p.activateStoredFwd(); }), "",
     std::nullopt},

    // Call control.
    {"OutgoingCallMake",
     [](Ifc& p) { return p.outgoingCallMake("1001", 12, "2002", true, false, true); },
     "<Method>OutgoingCallMakeRequest</Method><Line>1001</Line><CallID>12</CallID>"
     "<Destination>2002</Destination><DSSDirectCall>1</DSSDirectCall><BridgeCall>0</BridgeCall>"
     "<CallCompletionCall>1</CallCompletionCall>",
     Op::SendRequest},
    {"AcceptCall", [](Ifc& p) { return p.acceptCall("1001", 12, true); },
     "<Method>AcceptCall</Method><Line>1001</Line><CallID>12</CallID><AutoAnswer>1</AutoAnswer>",
     Op::SendRequest},
    {"AnswerCall", [](Ifc& p) { return p.answerCall("1001", 12); },
     "<Method>AnswerCall</Method><Line>1001</Line><CallID>12</CallID>", Op::SendRequest},
    {"AnswerCallWithTagsAndZeroByteInLine",
     [](Ifc& p) { return p.answerCall("a</Line><x>\0b"s, INT_MIN); },
     "<Method>AnswerCall</Method><Line>a</Line><x>\0b</Line><CallID>-2147483648</CallID>"s,
     Op::SendRequest},
    {"DeflectCall", [](Ifc& p) { return p.deflectCall("1001", 12, "2002"); },
     "<Method>DeflectCall</Method><Line>1001</Line><CallID>12</CallID>"
     "<Destination>2002</Destination>",
     Op::SendRequest},
    {"HoldCall", [](Ifc& p) { return p.holdCall("1001", 12, sfiFeature(1), true); },
     "<Method>HoldCall</Method><Line>1001</Line><CallID>12</CallID>"
     "<HoldCallReason>1</HoldCallReason><Manual>1</Manual>",
     Op::SendRequest},
    {"RetrieveCall", [](Ifc& p) { return p.retrieveCall("1001", 12); },
     "<Method>RetrieveCall</Method><Line>1001</Line><CallID>12</CallID>", Op::SendRequest},
    {"CallClear", [](Ifc& p) { return p.callClear("1001", 12, CSTAEventCause(1)); },
     "<Method>CallClearRequest</Method><Line>1001</Line><CallID>12</CallID><Cause>1</Cause>",
     Op::SendRequest},
    {"ConsultationCall", [](Ifc& p) { return p.consultationCall("1001", 12, "2002"); },
     "<Method>Consult</Method><Line>1001</Line><CallID>12</CallID><Destination>2002</Destination>",
     Op::SendRequest},
    {"AttendedTransferCall", [](Ifc& p) { return p.attendedTransferCall("1001", 12, 7); },
     "<Method>AttendedTransfer</Method><Line>1001</Line><activeCall>12</activeCall>"
     "<heldCall>7</heldCall>",
     Op::SendRequest},
    {"BlindTransferCall", [](Ifc& p) { return p.blindTransferCall("1001", 12, "2002"); },
     "<Method>BlindTransfer</Method><Line>1001</Line><CallID>12</CallID>"
     "<Destination>2002</Destination>",
     Op::SendRequest},
    {"RefuseCall", [](Ifc& p) { return p.refuseCall("1001", 12, sfiRefuseCall(1)); },
     "<Method>RefuseCall</Method><Line>1001</Line><CallID>12</CallID>"
     "<RefuseCallReason>1</RefuseCallReason>",
     Op::SendRequest},
    {"AlternateCalls", [](Ifc& p) { return p.alternateCalls("1001"); },
     "<Method>AlternateCalls</Method><Line>1001</Line>", Op::SendRequest},
    {"ConferenceCall", [](Ifc& p) { return p.conferenceCall("1001", 12, 7, sfiFeature(1)); },
     "<Method>ConferenceCall</Method><Line>1001</Line><activeCall>12</activeCall>"
     "<heldCall>7</heldCall><feature>1</feature>",
     Op::SendRequest},
    {"GenerateDigits", [](Ifc& p) { return p.generateDigits("1001", 12, "12#"); },
     "<Method>GenerateDigits</Method><Line>1001</Line><activeCall>12</activeCall>"
     "<digits>12#</digits>",
     Op::SendRequest},
    {"DirectedPickupCall", [](Ifc& p) { return p.directedPickupCall("1001", 12, "3003", true); },
     "<Method>DirectedPickupCall</Method><Line>1001</Line><CallID>12</CallID>"
     "<CallToBePickedUp>3003</CallToBePickedUp><BLFPickup>1</BLFPickup>",
     Op::SendRequest},
    {"GroupPickupCall", [](Ifc& p) { return p.groupPickupCall("1001", 12); },
     "<Method>GroupPickupCall</Method><Line>1001</Line><CallID>12</CallID>", Op::SendRequest},

    // Features and settings.
    {"ActivateCallbackRinging", [](Ifc& p) { return p.activateCallbackRinging("1001", 12); },
     "<Method>ActivateCallbackRinging</Method><Line>1001</Line><CallID>12</CallID>",
     Op::SendRequest},
    {"ActivateCallbackBusy", [](Ifc& p) { return p.activateCallbackBusy("1001", 12); },
     "<Method>ActivateCallbackBusy</Method><Line>1001</Line><CallID>12</CallID>", Op::SendRequest},
    {"CancelCallbacks",
     [](Ifc& p) {
         return p.cancelCallbacks("1001", 12, "sip:2002", sfiCancelCallBackType(1), true);
     },
     "<Method>CancelCallbacks</Method><Line>1001</Line><CallID>12</CallID><URI>sip:2002</URI>"
     "<CancelCallBackType>1</CancelCallBackType><DisplayOutcomeCallUI>1</DisplayOutcomeCallUI>",
     Op::SendRequest},
    {"SetMicrophoneMute", [](Ifc& p) { return p.setMicrophoneMute(true); },
     "<Method>SetMicrophoneMute</Method><Status>1</Status>", Op::SendRequest},
    {"SetDoNotDisturb", [](Ifc& p) { return p.setDoNotDisturb("1001", true); },
     "<Method>SetDoNotDisturb</Method><Line>1001</Line><doNotDisturbOn>1</doNotDisturbOn>",
     Op::SendRequest},
    {"SetForwardingConfiguration",
     [](Ifc& p) {
         return p.setForwardingConfiguration("1001", sfiForwardingType(1), true, "sip:2002", 4,
                                             true);
     },
     "<Method>setForwardingConfiguration</Method><Line>1001</Line><fwType>1</fwType>"
     "<status>1</status><uri>sip:2002</uri><cfnrRingCount>4</cfnrRingCount>"
     "<forceTKVSUpdate>1</forceTKVSUpdate>",
     Op::SendRequest},
    {"SetAssociatedCalls", [](Ifc& p) { return p.setAssociatedCalls(true); },
     "<Method>setAssociatedCalls</Method><associated>1</associated>", Op::SendRequest},
    {"SetLampMode", [](Ifc& p) { return p.setLampMode("1001", "lamp3", 2); },
     "<Method>setLampMode</Method><Line>1001</Line><lampId>lamp3</lampId><lampMode>2</lampMode>",
     Op::SendRequest},
    {"MakeSecurityChangeReinvite",
     [](Ifc& p) { return p.makeSecurityChangeReinvite("1001", 12, true); },
     "<Method>makeSecurityChangeReinvite</Method><Line>1001</Line><CallID>12</CallID>"
     "<forceFlag>1</forceFlag>",
     Op::SendRequest},
    {"SetIsInServiceInitiatedState",
     noResult([](Ifc& p) { p.setIsInServiceInitiatedState("1001", true); }),
     "<Method>setIsInServiceInitiatedState</Method><Line>1001</Line>"
     "<IsInServiceInitiatedState>TRUE</IsInServiceInitiatedState>",
     Op::SendOneWay},
    {"SetIsInServiceInitiatedStateOff",
     noResult([](Ifc& p) { p.setIsInServiceInitiatedState("1001", false); }),
     "<Method>setIsInServiceInitiatedState</Method><Line>1001</Line>"
     "<IsInServiceInitiatedState>FALSE</IsInServiceInitiatedState>",
     Op::SendOneWay},
    {"SystemStatus", [](Ifc& p) { return p.systemStatus("DEGRADED", "backup"); },
     "<Method>SystemStatus</Method><SystemStatus>DEGRADED</SystemStatus>"
     "<SystemStatusInfo>backup</SystemStatusInfo>",
     Op::SendRequest},
    {"SystemStatusWithNullStatus", [](Ifc& p) { return p.systemStatus(nullptr, "backup"); },
     "<Method>SystemStatus</Method><SystemStatus>", Op::SendRequest},
    {"SetServiceStateInService", [](Ifc& p) { return p.setServiceState(sfiServiceInService); },
     "<Method>SetServiceState</Method><state>sfiServiceInService</state>", Op::SendRequest},
    {"SetServiceStateUnknown", [](Ifc& p) { return p.setServiceState(sfiServiceState(3)); },
     "<Method>SetServiceState</Method><state></state>", Op::SendRequest},
    {"SetServiceStateNegative", [](Ifc& p) { return p.setServiceState(sfiServiceState(-1)); },
     "<Method>SetServiceState</Method><state></state>", Op::SendRequest},

    // Queries; the results on this answer follow each query's own reading.
    {"GetMicrophoneMute",
     [](Ifc& p) {
         bool muted = false;
         return p.getMicrophoneMute(muted);
     },
     "<Method>GetMicrophoneMute</Method>", Op::SendRequest, 0},
    {"GetDoNotDisturb",
     [](Ifc& p) {
         bool on = false;
         return p.getDoNotDisturb("1001", on);
     },
     "<Method>GetDoNotDisturb</Method><deviceID>1001</deviceID>", Op::SendRequest, 0, "false"},
    {"GetServiceState",
     [](Ifc& p) {
         sfiServiceState state = sfiServiceInService;
         return p.getServiceState(state);
     },
     "<Method>GetServiceState</Method>", Op::SendRequest, 0, "false"},
    {"GetForwardingConfiguration",
     [](Ifc& p) {
         bool status = false;
         std::string uri;
         int count = 0;
         return p.getForwardingConfiguration(sfiForwardingType(-2), status, uri, count);
     },
     "<Method>getForwardingConfiguration</Method><fwType>-2</fwType>", Op::SendRequest, 0},
    {"GetMessageWaitingIndicator",
     [](Ifc& p) {
         int i = 0;
         unsigned u = 0;
         std::string s;
         return p.getMessageWaitingIndicator(i, u, u, u, u, i, i, i, s);
     },
     "<Method>GetMessageWaitingIndicator</Method>", Op::SendRequest, 0},
    {"GetDevices",
     [](Ifc& p) {
         std::vector<std::string> devices;
         return p.getDevices(devices);
     },
     "<Method>GetDevices</Method>", Op::SendRequest, 5},
    {"IsCallHoldPossible", [](Ifc& p) { return int{p.isCallHoldPossible("1001")}; },
     "<Method>isCallHoldPossible</Method><Line>1001</Line>", Op::SendRequest, 0},
    {"GetManualHoldIndication", [](Ifc& p) { return int{p.getManualHoldIndication("1001", 12)}; },
     "<Method>getManualHoldIndication</Method><Line>1001</Line><CallID>12</CallID>",
     Op::SendRequest, 0},

    // Server features and CSTA pass-through.
    {"SendCSTARequest", [](Ifc& p) { return p.SendCSTARequest("1001", "PAYLOAD"); },
     "<Method>SendCSTARequest</Method><Line>1001</Line>PAYLOAD", Op::SendRequest},
    {"SendCSTARequestWithEmptyPayload", [](Ifc& p) { return p.SendCSTARequest("1001", ""); },
     "<Method>SendCSTARequest</Method><Line>1001</Line>", Op::SendRequest},
    {"SendCSTARequestWithZeroBytes",
     [](Ifc& p) {
         return p.SendCSTARequest("10\0"s
                                  "1",
                                  "<a>\0</a>"s);
     },
     "<Method>SendCSTARequest</Method><Line>10\0"s
     "1</Line><a>\0</a>"s,
     Op::SendRequest},
    {"SendUACSTAServerMessage", noResult([](Ifc& p) {
         std::string line = "1001", message = "PAYLOAD";
         p.sendUACSTAServerMessage(line, message);
         EXPECT_EQ(line, "1001");
         EXPECT_EQ(message, "PAYLOAD");
     }),
     "<Method>SendUACSTAServerMessage</Method><Line>1001</Line>PAYLOAD", Op::SendOneWay},
    {"InitializeServerFeatures",
     noResult([](Ifc& p) { p.InitializeOrFinalizeServerFeatures("1001", true); }),
     "<Method>InitializeOrFinalizeServerFeatures</Method><Line>1001</Line>"
     "<initialize>1</initialize>",
     Op::SendOneWay},
    {"CallbackDOFeatureCallID", noResult([](Ifc& p) { p.callbackDOFeatureCallID("12", 3); }),
     "<Method>callbackDOFeatureCallID</Method><CallID>12</CallID><instanceId>3</instanceId>",
     Op::SendOneWay},
    {"SetAgentState", [](Ifc& p) { return p.setAgentState("1001", "ready"); },
     "<Method>SetAgentState</Method><Line>1001</Line><agentState>ready</agentState>",
     Op::SendRequest},
    {"RemoveConfParticipant", noResult([](Ifc& p) { p.RemoveConfParticipant(12, "2002", "5"); }),
     "<Method>RemoveConfParticipant</Method><callID>12</callID>"
     "<remoteParticipant>2002</remoteParticipant><conferenceMemberId>5</conferenceMemberId>",
     Op::SendOneWay},
};

class ProxyRequests : public testing::TestWithParam<WireVector> {};

TEST_P(ProxyRequests, AreWrittenByteForByteAndCarriedByTheirChannelOperation) {
    const WireVector& row = GetParam();
    RecordingChannel channel(kAnswer);
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);
    channel.calls.clear();

    const int result = row.call(proxy);

    if (!row.via) {
        EXPECT_TRUE(channel.calls.empty());
        return;
    }
    ASSERT_EQ(channel.calls.size(), 1u);
    const RecordingChannel::Call& call = channel.calls[0];
    EXPECT_EQ(call.operation, *row.via);
    EXPECT_EQ(call.text, row.wire);
    const bool timed =
        call.operation == Op::SendRequestTimed || call.operation == Op::SendSubscribe;
    EXPECT_EQ(call.timeout, timed ? 100000 : -1);
    if (call.operation != Op::SendOneWay) {
        EXPECT_EQ(call.responseOnEntry, row.preset);
        EXPECT_EQ(result, row.result);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryOperation, ProxyRequests, testing::ValuesIn(kWireVectors),
                         [](const testing::TestParamInfo<WireVector>& info) {
                             return std::string(info.param.name);
                         });

TEST(ProxySignalling, NegativeLengthThrowsTheAppendLengthErrorAndSendsNothing) {
    for (const int length : {-1, INT_MIN}) {
        RecordingChannel channel;
        CommunicationsServiceProxy proxy;
        proxy.initProxy(channel);
        channel.calls.clear();
        try {
            proxy.processSignallingComponentEvent("abc", length);
            ADD_FAILURE() << "no exception for length " << length;
        } catch (const std::length_error& error) {
            EXPECT_STREQ(error.what(), "basic_string::append");
        }
        EXPECT_TRUE(channel.calls.empty());
    }
}

// An application may install a global locale that groups digits; requests must not.
TEST(ProxyRequestNumbers, CarryNoDigitGroupingWhateverTheGlobalLocale) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale previous =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    RecordingChannel channel;
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);
    proxy.attendedTransferCall("1001", 1234567, -100000);
    std::locale::global(previous);
    EXPECT_EQ(channel.calls.back().text,
              "<Method>AttendedTransfer</Method><Line>1001</Line>"
              "<activeCall>1234567</activeCall><heldCall>-100000</heldCall>");
}

TEST(ProxyLifecycle, InitProxyBindsTheChannelToTheProtocolAndASecondCallRebinds) {
    CommunicationsServiceProxy proxy;
    EXPECT_EQ(proxy.requestChannel, nullptr);

    RecordingChannel first("sfiSuccess"), second("sfiFailureCallBackNoCallInfo");
    for (auto [channel, result] : {std::pair(&first, 5), std::pair(&second, 2)}) {
        proxy.initProxy(*channel);
        EXPECT_EQ(proxy.requestChannel, channel);
        ASSERT_EQ(channel->calls.size(), 1u);
        EXPECT_EQ(channel->calls[0].operation, Op::SetProtocol);
        EXPECT_EQ(channel->calls[0].text, "CommunicationsServiceProtocol");
        EXPECT_EQ(proxy.answerCall("1001", 12), result);
    }
    EXPECT_EQ(first.calls.size(), 2u);
    EXPECT_EQ(second.calls.size(), 2u);
}

} // namespace
