#pragma once

#include <tuple>

#include "CommunicationsService/protocol/Description.h"

/// @file
/// Every request of CommunicationsServiceIfc on the wire, one line each. A request is
/// written as `<Method>` method `</Method>` followed by its fields in the order listed, each
/// as `<tag>` value `</tag>`, then its payload if it has one. For example answerCall("1001",
/// 12) sends `<Method>AnswerCall</Method><Line>1001</Line><CallID>12</CallID>`.
///
/// Three operations send no envelope: processSignallingComponentEvent posts kSignalling
/// followed by its raw bytes; csCommunicationsService and activateStoredFwd send nothing.

namespace CommunicationsService::protocol::requests {

/// Prefix of the signalling pass-through, which has no envelope.
inline constexpr std::string_view kSignalling = "SigEvent:";

// The entries are read in this file, one line each.
/// @cond ENTRIES

using namespace request_fields;
using answers::Reading;
using Ifc = CommunicationsServiceIfc;

constexpr Carrier ask = Carrier::sendRequest;
constexpr Carrier post = Carrier::sendOneWay;
constexpr answers::ResultWord result{};
constexpr answers::None none{};

// clang-format off
// Lifecycle.
inline constexpr Request activate{&Ifc::activate, "activate", "Activate", Carrier::sendRequestTimed, result};
inline constexpr Request deactivate{&Ifc::deactivate, "deactivate", "Deactivate", ask, result, flag("AllowAutoActivate", "allowAutoActivate")};
inline constexpr Request subscribe{nullptr, "subscribe", "Subscribe", Carrier::sendSubscribe, result};

// Calls.
inline constexpr Request callClear{&Ifc::callClear, "callClear", "CallClearRequest", ask, result, text("Line", "line"), decimal("CallID", "callId"), decimal("Cause", "cause")};
inline constexpr Request outgoingCallMake{&Ifc::outgoingCallMake, "outgoingCallMake", "OutgoingCallMakeRequest", ask, result, text("Line", "line"), decimal("CallID", "callId"), text("Destination", "destination"), flag("DSSDirectCall", "dssDirectCall"), flag("BridgeCall", "bridgeCall"), flag("CallCompletionCall", "callCompletionCall")};
inline constexpr Request acceptCall{&Ifc::acceptCall, "acceptCall", "AcceptCall", ask, result, text("Line", "line"), decimal("CallID", "callId"), flag("AutoAnswer", "autoAnswer")};
inline constexpr Request answerCall{&Ifc::answerCall, "answerCall", "AnswerCall", ask, result, text("Line", "line"), decimal("CallID", "callId")};
inline constexpr Request deflectCall{&Ifc::deflectCall, "deflectCall", "DeflectCall", ask, result, text("Line", "line"), decimal("CallID", "callId"), text("Destination", "destination")};
inline constexpr Request holdCall{&Ifc::holdCall, "holdCall", "HoldCall", ask, result, text("Line", "line"), decimal("CallID", "callId"), decimal("HoldCallReason", "holdCallReason"), flag("Manual", "manual")};
inline constexpr Request retrieveCall{&Ifc::retrieveCall, "retrieveCall", "RetrieveCall", ask, result, text("Line", "line"), decimal("CallID", "callId")};
inline constexpr Request consultationCall{&Ifc::consultationCall, "consultationCall", "Consult", ask, result, text("Line", "line"), decimal("CallID", "callId"), text("Destination", "destination")};
inline constexpr Request attendedTransferCall{&Ifc::attendedTransferCall, "attendedTransferCall", "AttendedTransfer", ask, result, text("Line", "line"), decimal("activeCall", "activeCall"), decimal("heldCall", "heldCall")};
inline constexpr Request blindTransferCall{&Ifc::blindTransferCall, "blindTransferCall", "BlindTransfer", ask, result, text("Line", "line"), decimal("CallID", "callId"), text("Destination", "destination")};
inline constexpr Request refuseCall{&Ifc::refuseCall, "refuseCall", "RefuseCall", ask, result, text("Line", "line"), decimal("CallID", "callId"), decimal("RefuseCallReason", "refuseCallReason")};
inline constexpr Request alternateCalls{&Ifc::alternateCalls, "alternateCalls", "AlternateCalls", ask, result, text("Line", "line")};
inline constexpr Request conferenceCall{&Ifc::conferenceCall, "conferenceCall", "ConferenceCall", ask, result, text("Line", "line"), decimal("activeCall", "activeCall"), decimal("heldCall", "heldCall"), decimal("feature", "feature")};
inline constexpr Request generateDigits{&Ifc::generateDigits, "generateDigits", "GenerateDigits", ask, result, text("Line", "line"), decimal("activeCall", "activeCall"), text("digits", "digits")};
inline constexpr Request directedPickupCall{&Ifc::directedPickupCall, "directedPickupCall", "DirectedPickupCall", ask, result, text("Line", "line"), decimal("CallID", "callId"), text("CallToBePickedUp", "callToBePickedUp"), decimal("BLFPickup", "blfPickup")};
inline constexpr Request groupPickupCall{&Ifc::groupPickupCall, "groupPickupCall", "GroupPickupCall", ask, result, text("Line", "line"), decimal("CallID", "callId")};

// Features and settings.
inline constexpr Request activateCallbackRinging{&Ifc::activateCallbackRinging, "activateCallbackRinging", "ActivateCallbackRinging", ask, result, text("Line", "line"), decimal("CallID", "callId")};
inline constexpr Request activateCallbackBusy{&Ifc::activateCallbackBusy, "activateCallbackBusy", "ActivateCallbackBusy", ask, result, text("Line", "line"), decimal("CallID", "callId")};
inline constexpr Request cancelCallbacks{&Ifc::cancelCallbacks, "cancelCallbacks", "CancelCallbacks", ask, result, text("Line", "line"), decimal("CallID", "callId"), text("URI", "uri"), decimal("CancelCallBackType", "cancelCallBackType"), flag("DisplayOutcomeCallUI", "displayOutcomeCallUI")};
inline constexpr Request setMicrophoneMute{&Ifc::setMicrophoneMute, "setMicrophoneMute", "SetMicrophoneMute", ask, result, flag("Status", "status")};
inline constexpr Request setDoNotDisturb{&Ifc::setDoNotDisturb, "setDoNotDisturb", "SetDoNotDisturb", ask, result, text("Line", "line"), flag("doNotDisturbOn", "doNotDisturbOn")};
inline constexpr Request setForwardingConfiguration{&Ifc::setForwardingConfiguration, "setForwardingConfiguration", "setForwardingConfiguration", ask, result, text("Line", "line"), decimal("fwType", "fwType"), flag("status", "status"), text("uri", "uri"), decimal("cfnrRingCount", "cfnrRingCount"), flag("forceTKVSUpdate", "forceTKVSUpdate")};
inline constexpr Request setAssociatedCalls{&Ifc::setAssociatedCalls, "setAssociatedCalls", "setAssociatedCalls", ask, result, flag("associated", "associated")};
inline constexpr Request setLampMode{&Ifc::setLampMode, "setLampMode", "setLampMode", ask, result, text("Line", "line"), text("lampId", "lampId"), decimal("lampMode", "lampMode")};
inline constexpr Request makeSecurityChangeReinvite{&Ifc::makeSecurityChangeReinvite, "makeSecurityChangeReinvite", "makeSecurityChangeReinvite", ask, result, text("Line", "line"), decimal("CallID", "callId"), flag("forceFlag", "forceFlag")};
inline constexpr Request setIsInServiceInitiatedState{&Ifc::setIsInServiceInitiatedState, "setIsInServiceInitiatedState", "setIsInServiceInitiatedState", post, none, text("Line", "line"), word("IsInServiceInitiatedState", "isInServiceInitiatedState")};
inline constexpr Request systemStatus{&Ifc::systemStatus, "systemStatus", "SystemStatus", ask, result, text("SystemStatus", "systemStatus"), text("SystemStatusInfo", "systemStatusInfo")};
inline constexpr Request setServiceState{&Ifc::setServiceState, "setServiceState", "SetServiceState", ask, result, stateName("state", "state")};

// Queries.
inline constexpr Request getMicrophoneMute{&Ifc::getMicrophoneMute, "getMicrophoneMute", "GetMicrophoneMute", ask, answers::FlagWord{"", "muted"}};
inline constexpr Request getDoNotDisturb{&Ifc::getDoNotDisturb, "getDoNotDisturb", "GetDoNotDisturb", ask, answers::FlagWord{kFalseWord, "doNotDisturbOn"}, text("deviceID", "deviceId")};
inline constexpr Request getServiceState{&Ifc::getServiceState, "getServiceState", "GetServiceState", ask, answers::StateWord{kFalseWord, "state"}};
inline constexpr Request getForwardingConfiguration{&Ifc::getForwardingConfiguration, "getForwardingConfiguration", "getForwardingConfiguration", ask, answers::Tagged{"sfiResult", answer<Reading::flag>("status", "status"), answer<Reading::text>("uri", "uri"), answer<Reading::number>("cfnrRingCount", "cfnrRingCount")}, decimal("fwType", "fwType")};
inline constexpr Request getMessageWaitingIndicator{&Ifc::getMessageWaitingIndicator, "getMessageWaitingIndicator", "GetMessageWaitingIndicator", ask, answers::Tagged{"func_return_val", answer<Reading::textNumber>("Type", "type"), answer<Reading::textCounter>("newMsgs", "newMsgs"), answer<Reading::textCounter>("oldMsgs", "oldMsgs"), answer<Reading::textCounter>("newUrgMsgs", "newUrgMsgs"), answer<Reading::textCounter>("oldUrgMsgs", "oldUrgMsgs"), answer<Reading::textNumber>("return_type", "returnType"), answer<Reading::textNumber>("available_info", "availableInfo"), answer<Reading::textNumber>("messages_waiting", "messagesWaiting"), answer<Reading::text>("voiceMailNumber", "voiceMailNumber")}};
inline constexpr Request getDevices{&Ifc::getDevices, "getDevices", "GetDevices", ask, answers::ItemList{"devices"}};
inline constexpr Request isCallHoldPossible{&Ifc::isCallHoldPossible, "isCallHoldPossible", "isCallHoldPossible", ask, answers::TrueWord{}, text("Line", "line")};
inline constexpr Request getManualHoldIndication{&Ifc::getManualHoldIndication, "getManualHoldIndication", "getManualHoldIndication", ask, answers::TrueWord{}, text("Line", "line"), decimal("CallID", "callId")};

// Server features and CSTA pass-through.
inline constexpr Request SendCSTARequest{&Ifc::SendCSTARequest, "SendCSTARequest", "SendCSTARequest", ask, result, text("Line", "line"), payload("cstaRequest")};
inline constexpr Request sendUACSTAServerMessage{&Ifc::sendUACSTAServerMessage, "sendUACSTAServerMessage", "SendUACSTAServerMessage", post, none, text("Line", "line"), payload("serverMessage")};
inline constexpr Request InitializeOrFinalizeServerFeatures{&Ifc::InitializeOrFinalizeServerFeatures, "InitializeOrFinalizeServerFeatures", "InitializeOrFinalizeServerFeatures", post, none, text("Line", "line"), flag("initialize", "initialize")};
inline constexpr Request callbackDOFeatureCallID{&Ifc::callbackDOFeatureCallID, "callbackDOFeatureCallID", "callbackDOFeatureCallID", post, none, text("CallID", "callId"), number("instanceId", "instanceId")};
inline constexpr Request setAgentState{&Ifc::setAgentState, "setAgentState", "SetAgentState", ask, result, text("Line", "line"), text("agentState", "agentState")};
inline constexpr Request RemoveConfParticipant{&Ifc::RemoveConfParticipant, "RemoveConfParticipant", "RemoveConfParticipant", post, none, number("callID", "callId"), text("remoteParticipant", "remoteParticipant"), text("conferenceMemberId", "conferenceMemberId")};
// clang-format on

// Every request above, for tools that go through them all.
inline constexpr auto all = std::tie(
    activate, deactivate, subscribe, callClear, outgoingCallMake, acceptCall, answerCall,
    deflectCall, holdCall, retrieveCall, consultationCall, attendedTransferCall, blindTransferCall,
    refuseCall, alternateCalls, conferenceCall, generateDigits, directedPickupCall, groupPickupCall,
    activateCallbackRinging, activateCallbackBusy, cancelCallbacks, setMicrophoneMute,
    setDoNotDisturb, setForwardingConfiguration, setAssociatedCalls, setLampMode,
    makeSecurityChangeReinvite, setIsInServiceInitiatedState, systemStatus, setServiceState,
    getMicrophoneMute, getDoNotDisturb, getServiceState, getForwardingConfiguration,
    getMessageWaitingIndicator, getDevices, isCallHoldPossible, getManualHoldIndication,
    SendCSTARequest, sendUACSTAServerMessage, InitializeOrFinalizeServerFeatures,
    callbackDOFeatureCallID, setAgentState, RemoveConfParticipant);

/// @endcond

} // namespace CommunicationsService::protocol::requests
