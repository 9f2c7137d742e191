// The catalogue names every message after its operation or callback, finds it as the plug-in
// does, and lays out its fields in order.

#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "CommunicationsService/protocol/Catalogue.h"

namespace catalogue = CommunicationsService::protocol::catalogue;

namespace {

struct Named {
    std::string_view name;
    std::string_view method;
};

// Each operation beside the method name of its request, in the table's order.
constexpr Named kOperations[] = {
    {"activate", "Activate"},
    {"deactivate", "Deactivate"},
    {"subscribe", "Subscribe"},
    {"callClear", "CallClearRequest"},
    {"outgoingCallMake", "OutgoingCallMakeRequest"},
    {"acceptCall", "AcceptCall"},
    {"answerCall", "AnswerCall"},
    {"deflectCall", "DeflectCall"},
    {"holdCall", "HoldCall"},
    {"retrieveCall", "RetrieveCall"},
    {"consultationCall", "Consult"},
    {"attendedTransferCall", "AttendedTransfer"},
    {"blindTransferCall", "BlindTransfer"},
    {"refuseCall", "RefuseCall"},
    {"alternateCalls", "AlternateCalls"},
    {"conferenceCall", "ConferenceCall"},
    {"generateDigits", "GenerateDigits"},
    {"directedPickupCall", "DirectedPickupCall"},
    {"groupPickupCall", "GroupPickupCall"},
    {"activateCallbackRinging", "ActivateCallbackRinging"},
    {"activateCallbackBusy", "ActivateCallbackBusy"},
    {"cancelCallbacks", "CancelCallbacks"},
    {"setMicrophoneMute", "SetMicrophoneMute"},
    {"setDoNotDisturb", "SetDoNotDisturb"},
    {"setForwardingConfiguration", "setForwardingConfiguration"},
    {"setAssociatedCalls", "setAssociatedCalls"},
    {"setLampMode", "setLampMode"},
    {"makeSecurityChangeReinvite", "makeSecurityChangeReinvite"},
    {"setIsInServiceInitiatedState", "setIsInServiceInitiatedState"},
    {"systemStatus", "SystemStatus"},
    {"setServiceState", "SetServiceState"},
    {"getMicrophoneMute", "GetMicrophoneMute"},
    {"getDoNotDisturb", "GetDoNotDisturb"},
    {"getServiceState", "GetServiceState"},
    {"getForwardingConfiguration", "getForwardingConfiguration"},
    {"getMessageWaitingIndicator", "GetMessageWaitingIndicator"},
    {"getDevices", "GetDevices"},
    {"isCallHoldPossible", "isCallHoldPossible"},
    {"getManualHoldIndication", "getManualHoldIndication"},
    {"SendCSTARequest", "SendCSTARequest"},
    {"sendUACSTAServerMessage", "SendUACSTAServerMessage"},
    {"InitializeOrFinalizeServerFeatures", "InitializeOrFinalizeServerFeatures"},
    {"callbackDOFeatureCallID", "callbackDOFeatureCallID"},
    {"setAgentState", "SetAgentState"},
    {"RemoveConfParticipant", "RemoveConfParticipant"},
};

// Each callback beside its event's method name, in the order the names are tried.
constexpr Named kCallbacks[] = {
    {"onCallStateChangeEvent", "CallStateChangeEvent"},
    {"onRegistrationStateChangeEvent", "RegistrationStateChangeEvent"},
    {"onIncomingCallEvent", "IncomingCallEvent"},
    {"onIncomingPickupCallEvent", "IncomingPickupCallEvent"},
    {"onCallHeldEvent", "CallHeldEvent"},
    {"onCallRetrievedEvent", "CallRetrievedEvent"},
    {"onFeatureSuccessEvent", "FeatureSuccessEvent"},
    {"onFeatureFailedEvent", "FeatureFailedEvent"},
    {"onRemoteEndpointDetailsChangedEvent", "RemoteEndpointDetailsChangedEvent"},
    {"onIncomingCallMissedEvent", "IncomingCallMissedEvent"},
    {"onCallForwardedEvent", "CallForwardedEvent"},
    {"onDevicesChangedEvent", "DevicesChangedEvent"},
    {"onMessageWaitingEvent", "messageWaitingEvent"},
    {"onDoNotDisturbEvent", "DoNotDisturbEvent"},
    {"onAgentStateEvent", "AgentStateEvent"},
    {"onSystemStatusEvent", "systemStatusEvent"},
    {"onServerFeatureStatusEvent", "serverFeatureStatusEvent"},
    {"onIncomingAssociatedCallEvent", "IncomingAssociatedCallEvent"},
    {"onB2buaCSTAResponse", "b2buaCSTAResponse"},
    {"onB2buaCSTAEventOrRequest", "b2buaCSTAEventOrRequest"},
    {"onConferenceStatusEvent", "conferenceStatusEvent"},
    {"onSecurityStatusChanged", "securityStatusChanged"},
    {"onPreemptionStatusChanged", "preemptionStatusChanged"},
    {"onImpactLevelChanged", "impactLevelChanged"},
    {"onCallRecordingStatusEvent", "callRecordingStatusEvent"},
    {"onCallCompletionEvent", "callCompletionEvent"},
    {"onCallCompletionFailedEvent", "callCompletionFailedEvent"},
    {"onBluetoothAudioStatusChanged", "bluetoothAudioStatusChanged"},
};

} // namespace

TEST(Catalogue, NamesEveryRequestAfterItsOperation) {
    ASSERT_EQ(catalogue::kRequests.size(), std::size(kOperations));
    for (std::size_t row = 0; row < std::size(kOperations); ++row) {
        EXPECT_EQ(catalogue::kRequests[row].name, kOperations[row].name);
        EXPECT_EQ(catalogue::kRequests[row].method, kOperations[row].method);
        EXPECT_EQ(catalogue::requestNamed(kOperations[row].name), &catalogue::kRequests[row]);
        EXPECT_EQ(catalogue::requestByMethod(kOperations[row].method), &catalogue::kRequests[row]);
    }
    EXPECT_EQ(catalogue::requestByMethod("answerCall"), nullptr);
    EXPECT_EQ(catalogue::requestByMethod("AnswerCal"), nullptr);
}

TEST(Catalogue, NamesEveryEventAfterItsCallback) {
    ASSERT_EQ(catalogue::kEvents.size(), std::size(kCallbacks));
    for (std::size_t row = 0; row < std::size(kCallbacks); ++row) {
        EXPECT_EQ(catalogue::kEvents[row].name, kCallbacks[row].name);
        EXPECT_EQ(catalogue::kEvents[row].method, kCallbacks[row].method);
        EXPECT_EQ(catalogue::eventNamed(kCallbacks[row].name), &catalogue::kEvents[row]);
    }
}

TEST(Catalogue, SelectsEventsAsTheInvokerDoesTheCallStateNameWholeAndTheOthersAsAPrefix) {
    EXPECT_EQ(catalogue::eventSelectedBy("CallStateChangeEvent")->name, "onCallStateChangeEvent");
    EXPECT_EQ(catalogue::eventSelectedBy("CallStateChangeEventX"), nullptr);
    EXPECT_EQ(catalogue::eventSelectedBy("CallStateChange"), nullptr);
    EXPECT_EQ(catalogue::eventSelectedBy("CallHeldEventAndMore")->name, "onCallHeldEvent");
    EXPECT_EQ(catalogue::eventSelectedBy("callHeldEvent"), nullptr);
    EXPECT_EQ(catalogue::eventSelectedBy("MessageWaitingEvent"), nullptr);
    EXPECT_EQ(catalogue::eventSelectedBy("messageWaitingEvent")->name, "onMessageWaitingEvent");
    EXPECT_EQ(catalogue::eventSelectedBy(""), nullptr);
}

TEST(Catalogue, LaysOutFieldsInOrderWithTheirTagsAndKinds) {
    using CommunicationsService::protocol::Encoding;
    using CommunicationsService::protocol::FieldKind;
    using CommunicationsService::protocol::answers::Reading;
    const catalogue::Request& hold = *catalogue::requestNamed("holdCall");
    ASSERT_EQ(hold.fields.size(), 4u);
    EXPECT_EQ(hold.fields[2].tag, "HoldCallReason");
    EXPECT_EQ(hold.fields[2].argument, "holdCallReason");
    EXPECT_EQ(hold.fields[3].encoding, Encoding::flag);
    EXPECT_EQ(hold.answer, catalogue::AnswerShape::resultWord);

    const catalogue::Request& forwarding = *catalogue::requestNamed("getForwardingConfiguration");
    EXPECT_EQ(forwarding.answer, catalogue::AnswerShape::tagged);
    EXPECT_EQ(forwarding.resultTag, "sfiResult");
    ASSERT_EQ(forwarding.answerFields.size(), 3u);
    EXPECT_EQ(forwarding.answerFields[1].tag, "uri");
    EXPECT_EQ(forwarding.answerFields[2].reading, Reading::number);
    const catalogue::Request& dnd = *catalogue::requestNamed("getDoNotDisturb");
    EXPECT_EQ(dnd.answer, catalogue::AnswerShape::flagWord);
    EXPECT_EQ(dnd.output, "doNotDisturbOn");
    EXPECT_EQ(dnd.preset, "false");
    EXPECT_EQ(catalogue::requestNamed("SendCSTARequest")->fields[1].encoding, Encoding::payload);

    const catalogue::Event& state = *catalogue::eventNamed("onCallStateChangeEvent");
    ASSERT_EQ(state.fields.size(), 15u);
    EXPECT_EQ(state.fields[8].kind, FieldKind::parties);
    EXPECT_EQ(state.fields[12].tag, "CallBackFearureAvailable");
    EXPECT_EQ(state.fields[14].argument, "ilLocalLevel");
    EXPECT_TRUE(catalogue::eventNamed("onDevicesChangedEvent")->fields.empty());
    const catalogue::Event& response = *catalogue::eventNamed("onB2buaCSTAResponse");
    EXPECT_EQ(response.fields[2].kind, FieldKind::payload);
    EXPECT_EQ(response.fields[2].tag, "/success>");
}

TEST(Catalogue, GivesEachFieldOfAMessageItsOwnArgumentName) {
    for (const catalogue::Request& request : catalogue::kRequests) {
        std::set<std::string_view> names;
        for (const auto& field : request.fields)
            EXPECT_TRUE(names.insert(field.argument).second) << request.name;
        for (const auto& field : request.answerFields)
            EXPECT_TRUE(names.insert(field.output).second) << request.name;
    }
    for (const catalogue::Event& event : catalogue::kEvents) {
        std::set<std::string_view> names;
        for (const auto& field : event.fields)
            EXPECT_TRUE(names.insert(field.argument).second) << event.name;
    }
}
