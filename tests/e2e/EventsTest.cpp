// Each kind of event the simulator sends reaches the subscriber's callback through the
// plug-in's invoker, with the arguments the simulated situation calls for. The working-day
// demo, a test of its own, awaits the registration, hold, retrieval, feature, missed-call,
// message-waiting, do-not-disturb and agent events.

#include <gtest/gtest.h>

#include <thread>

#include "Client.h"
#include "SimulatorProcess.h"

namespace {

struct EventCase {
    const char* name;
    std::vector<std::string> lines; // console lines; awaits check the arguments
};

const char* const kCaller = "uri=sip:2005@pbx.example.com name=\"Erik Fischer\" "
                            "fullPai='\"Erik Fischer\" <sip:2005@pbx.example.com>'";

const std::vector<std::string> kConnectedCall = {
    "sim incomingCall 1001 2005",
    "await onIncomingCallEvent callId=1",
    "answerCall 1001 1 => sfiSuccess",
    "await onCallStateChangeEvent callId=1 callState=connected",
};

std::vector<std::string> withConnectedCall(std::vector<std::string> lines) {
    lines.insert(lines.begin(), kConnectedCall.begin(), kConnectedCall.end());
    return lines;
}

const std::vector<EventCase> kEvents = {
    {"IncomingCallAndItsCallState",
     {"sim incomingCall 1001 2005",
      std::string("await onIncomingCallEvent lineId=1001 callId=1 ") + kCaller +
          " alertUri= alertInfoParam= alertAutoAnswer=false callType=0 diversionUri= "
          "diversionName= diversionReason=0 zipAutoAnswer=false resourcePriority=0 "
          "ilCallLevel=0 ilLocalLevel=0 isVideoCall=false",
      std::string("await onCallStateChangeEvent lineId=1001 callId=1 callState=ringing reason=0 "
                  "sendOptions=0 ") +
          kCaller +
          " callingParty=sip:2005@pbx.example.com callingPartyName=\"Erik Fischer\" "
          "calledParty=sip:1001@pbx.example.com calledPartyName=\"Desk 1001\" "
          "resourcePriority=0 preemptionCause=0 preemptionText= "
          "callBackFeatureAvailable=false ilCallLevel=0 ilLocalLevel=0"}},
    {"IncomingPickupCall",
     {"sim colleagueCall 3003 2005",
      std::string("await onIncomingPickupCallEvent lineId=1001 callId=1 ") + kCaller,
      "directedPickupCall 1001 1 3003 1 => sfiSuccess",
      "await onCallStateChangeEvent callId=1 callState=connected reason=11"}},
    {"FeaturesRefusedOnAConnectedCall",
     withConnectedCall({"blindTransferCall 1001 1 2003 => sfiFailure",
                        "await onFeatureFailedEvent lineId=1001 callId=1 feature=4 "
                        "featureFailure=2",
                        "activateCallbackBusy 1001 1 => sfiFailureCallBackInvalidState",
                        "await onCallCompletionFailedEvent lineId=1001 "
                        "uri=sip:2005@pbx.example.com callCompletionFailureType=1"})},
    {"CallForwarded",
     {"setForwardingConfiguration 1001 0 1 2001 0 0 => sfiSuccess", "sim incomingCall 1001 2005",
      "await onCallForwardedEvent lineId=1001 callId=1 callingParty=sip:2005@pbx.example.com "
      "callingPartyName=\"Erik Fischer\" newDestination=sip:2001@pbx.example.com reason=9"}},
    {"IncomingAssociatedCall",
     withConnectedCall({"setAssociatedCalls 1 => sfiSuccess", "sim incomingCall 1001 2001",
                        "await onIncomingAssociatedCallEvent lineId=1001 currentCallId=1 "
                        "newCallId=2"})},
    {"DevicesChanged",
     {"sim addDevice 1003", "await onDevicesChangedEvent",
      "getDevices => sfiSuccess devices=1001,1002,1003"}},
    {"SystemStatus",
     {"systemStatus DEGRADED 'backup link' => sfiSuccess",
      "await onSystemStatusEvent status=DEGRADED statusInfo='backup link'"}},
    {"ServerFeatureStatus",
     {"InitializeOrFinalizeServerFeatures 1002 0",
      "await onServerFeatureStatusEvent lineURI=1002 status=finalized"}},
    {"B2buaCSTAResponse",
     {"SendCSTARequest 1001 '<?xml version=\"1.0\"?><MakeCall xmlns=\"x\"/>' => sfiSuccess",
      "await onB2buaCSTAResponse lineURI=1001 success=true cstaResponse='<MakeCallResponse "
      "xmlns=\"http://www.ecma-international.org/standards/ecma-323/csta/ed4\"/>'",
      "SendCSTARequest 1001 'no document' => sfiSuccess",
      "await onB2buaCSTAResponse lineURI=1001 success=false"}},
    {"B2buaCSTAEventOrRequest",
     {"sim cstaEvent 1001 <DeliveredEvent><connection>5</connection></DeliveredEvent>",
      "await onB2buaCSTAEventOrRequest lineURI=1001 "
      "cstaMessage=<DeliveredEvent><connection>5</connection></DeliveredEvent>"}},
    {"ConferenceStatusAndRemoteEndpointDetails",
     withConnectedCall({"consultationCall 1001 1 2001 => sfiSuccess",
                        "await onCallStateChangeEvent callId=2 callState=connected",
                        "conferenceCall 1001 2 1 0 => sfiSuccess",
                        "await onConferenceStatusEvent lineId=1001 callId=2 xmlContent='"
                        "<conference-info entity=\"sip:conf2@pbx.example.com\" state=\"full\">"
                        "<users><user entity=\"sip:2005@pbx.example.com\" state=\"full\">"
                        "<display-text>Erik Fischer</display-text></user>"
                        "<user entity=\"sip:2001@pbx.example.com\" state=\"full\">"
                        "<display-text>Anna Berg</display-text></user></users>"
                        "</conference-info>'",
                        "await onRemoteEndpointDetailsChangedEvent lineId=1001 callId=2 "
                        "uri=sip:2001@pbx.example.com name=\"Anna Berg\" exitConf=false "
                        "jointCall=true",
                        "RemoveConfParticipant 2 2005 1",
                        "await onRemoteEndpointDetailsChangedEvent callId=1 exitConf=true "
                        "jointCall=false"})},
    {"CallRecordingAndSecurityStatus",
     withConnectedCall(
         {"sim recording 1001 1 on",
          "await onCallRecordingStatusEvent lineId=1001 callId=1 callRecorded=true",
          "makeSecurityChangeReinvite 1001 1 1 => sfiSuccess",
          "await onSecurityStatusChanged lineURI=1001 callId=1 securityStatus=2 "
          "callIdsRecorded=[1] callLineURIsRecorded='[\"sip:1001@pbx.example.com\"]'"})},
    {"ImpactLevelAndPreemption",
     withConnectedCall({"sim impactLevel 1001 1 3 2",
                        "await onImpactLevelChanged lineURI=1001 callId=1 ilCallLevel=3 "
                        "ilLocalLevel=2",
                        "sim preempt 1001 1 6",
                        "await onPreemptionStatusChanged lineURI=1001 callId=1 priority=6 "
                        "cause=1 reason='pre-empted by a call of higher precedence'",
                        "await onCallStateChangeEvent callId=1 callState=idle resourcePriority=6 "
                        "preemptionCause=1"})},
    {"CallCompletion",
     {"outgoingCallMake 1001 7 2003 0 0 0 => sfiSuccess",
      "await onCallStateChangeEvent callId=7 callState=busy reason=3 callBackFeatureAvailable=true",
      "activateCallbackBusy 1001 7 => sfiSuccess",
      "await onCallCompletionEvent lineId=1001 uri=sip:2003@pbx.example.com "
      "callCompletionType=1 callCompletionState=1 displayOutcomeCallUI=true",
      "sim calleeFree 2003",
      "await onCallCompletionEvent uri=sip:2003@pbx.example.com callCompletionState=2"}},
    {"BluetoothAudioStatus",
     {"sim bluetooth 1001 4 1 0 1",
      "await onBluetoothAudioStatusChanged lineId=1001 callId=4 audioEnabled=true "
      "audioGateway=false inBandRinging=true"}},
};

void PrintTo(const EventCase& event, std::ostream* out) { *out << event.name; }

class Events : public ::testing::TestWithParam<EventCase> {};

TEST_P(Events, ReachTheSubscriberWithTheirArguments) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    ASSERT_TRUE(client.run({"subscribe => sfiSuccess", "activate => sfiSuccess",
                            "await onRegistrationStateChangeEvent lineId=1001 registered=true "
                            "registrationResult=200"}));
    EXPECT_TRUE(client.run(GetParam().lines)) << simulator.log();
    // The invoker confirms each event once its callback has returned.
    kit::Stopwatch clock;
    while (client.host->eventsHandled() < client.events.all().size() && clock.elapsedMs() < 5000) {
        std::this_thread::yield();
    }
    EXPECT_EQ(client.host->eventsHandled(), client.events.all().size());
}

INSTANTIATE_TEST_SUITE_P(EachKind, Events, ::testing::ValuesIn(kEvents),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
