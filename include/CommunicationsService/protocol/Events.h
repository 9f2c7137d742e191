#pragma once

#include <tuple>

#include "CommunicationsService/protocol/Description.h"

/// @file
/// Every event of CommunicationsServiceEventIfc on the wire, one line each, in the order in
/// which an event's method name is tried against them (every entry is tried, so a name that
/// begins with two of them would run both). An event is `<Method>` name `</Method>` followed
/// by its fields as `<tag>` value `</tag>` in any order; each field is looked up from the
/// start of the text, the first occurrence counts, and a missing one reads as its kind's
/// default. For example `<Method>CallHeldEvent</Method><LineID>1001</LineID><CallID>12</CallID>`
/// calls onCallHeldEvent("1001", 12).

namespace CommunicationsService::protocol::events {

// The entries are read in this file, one line each.
/// @cond ENTRIES

using namespace event_fields;
using Ifc = CommunicationsServiceEventIfc;

constexpr Match exact = Match::exact;
constexpr Match prefix = Match::prefix;

// clang-format off
inline constexpr Event callStateChange{&Ifc::onCallStateChangeEvent, "onCallStateChangeEvent", "CallStateChangeEvent", exact, text("LineID", "lineId"), number("CallID", "callId"), number("CallState", "callState"), number("Reason", "reason"), number("SendOptions", "sendOptions"), text("URI", "uri"), text("Name", "name"), text("FullPAI", "fullPai"), parties("callPartyInfo"), number("ResourcePriority", "resourcePriority"), number("PreemptionCause", "preemptionCause"), text("PreemptionText", "preemptionText"), flag("CallBackFearureAvailable", "callBackFeatureAvailable"), number("ILCallLevel", "ilCallLevel"), number("ILLocalLevel", "ilLocalLevel")};
inline constexpr Event registrationStateChange{&Ifc::onRegistrationStateChangeEvent, "onRegistrationStateChangeEvent", "RegistrationStateChangeEvent", prefix, text("LineID", "lineId"), number("CallID", "callId"), flag("Registered", "registered"), number("RegistrationResult", "registrationResult")};
inline constexpr Event incomingCall{&Ifc::onIncomingCallEvent, "onIncomingCallEvent", "IncomingCallEvent", prefix, text("LineID", "lineId"), number("CallID", "callId"), text("URI", "uri"), text("Name", "name"), text("FullPAI", "fullPai"), text("AlertInformation_AlertURI", "alertUri"), text("AlertInformation_InfoParam", "alertInfoParam"), flag("AlertInformation_AutoAnswer", "alertAutoAnswer"), number("CallType", "callType"), text("DiversionURI", "diversionUri"), text("DiversionName", "diversionName"), number("DiversionReason", "diversionReason"), flag("AICSZIPAutoAnswer", "zipAutoAnswer"), number("ResourcePriority", "resourcePriority"), number("ILCallLevel", "ilCallLevel"), number("ILLocalLevel", "ilLocalLevel"), flag("IsVideoCall", "isVideoCall")};
inline constexpr Event incomingPickupCall{&Ifc::onIncomingPickupCallEvent, "onIncomingPickupCallEvent", "IncomingPickupCallEvent", prefix, text("LineID", "lineId"), number("CallID", "callId"), text("URI", "uri"), text("Name", "name"), text("FullPAI", "fullPai")};
inline constexpr Event callHeld{&Ifc::onCallHeldEvent, "onCallHeldEvent", "CallHeldEvent", prefix, text("LineID", "lineId"), number("CallID", "callId")};
inline constexpr Event callRetrieved{&Ifc::onCallRetrievedEvent, "onCallRetrievedEvent", "CallRetrievedEvent", prefix, text("LineID", "lineId"), number("CallID", "callId"), text("URI", "uri"), text("Name", "name"), text("FullPAI", "fullPai"), number("ILCallLevel", "ilCallLevel"), number("ILLocalLevel", "ilLocalLevel"), flag("ConnectedToMediaServer", "connectedToMediaServer")};
inline constexpr Event featureSuccess{&Ifc::onFeatureSuccessEvent, "onFeatureSuccessEvent", "FeatureSuccessEvent", prefix, text("LineID", "lineId"), number("CallID", "callId"), number("Feature", "feature")};
inline constexpr Event featureFailed{&Ifc::onFeatureFailedEvent, "onFeatureFailedEvent", "FeatureFailedEvent", prefix, text("LineID", "lineId"), number("CallID", "callId"), number("Feature", "feature"), number("FeatureFailure", "featureFailure")};
inline constexpr Event remoteEndpointDetailsChanged{&Ifc::onRemoteEndpointDetailsChangedEvent, "onRemoteEndpointDetailsChangedEvent", "RemoteEndpointDetailsChangedEvent", prefix, text("LineID", "lineId"), number("CallID", "callId"), text("URI", "uri"), text("Name", "name"), text("FullPAI", "fullPai"), flag("exitConf", "exitConf"), flag("jointCall", "jointCall")};
inline constexpr Event incomingCallMissed{&Ifc::onIncomingCallMissedEvent, "onIncomingCallMissedEvent", "IncomingCallMissedEvent", prefix, text("LineID", "lineId"), number("CallID", "callId"), text("URI", "uri"), text("Name", "name"), text("FullPAI", "fullPai"), number("Reason", "reason"), text("DiversionURI", "diversionUri"), text("DiversionName", "diversionName"), number("DiversionReason", "diversionReason")};
inline constexpr Event callForwarded{&Ifc::onCallForwardedEvent, "onCallForwardedEvent", "CallForwardedEvent", prefix, text("LineID", "lineId"), number("CallID", "callId"), text("CallingParty", "callingParty"), text("CallingPartyName", "callingPartyName"), text("CallingPartyFullPAI", "callingPartyFullPai"), text("NewDestination", "newDestination"), number("Reason", "reason")};
inline constexpr Event devicesChanged{&Ifc::onDevicesChangedEvent, "onDevicesChangedEvent", "DevicesChangedEvent", prefix};
inline constexpr Event messageWaiting{&Ifc::onMessageWaitingEvent, "onMessageWaitingEvent", "messageWaitingEvent", prefix, text("LineID", "lineId"), number("type", "type"), counter("new_messages", "newMessages"), counter("old_messages", "oldMessages"), counter("new_urgent_messages", "newUrgentMessages"), counter("old_urgent_messages", "oldUrgentMessages"), number("return_type", "returnType"), number("avail_info", "availInfo"), number("messages_waiting", "messagesWaiting"), text("voiceMailNumber", "voiceMailNumber")};
inline constexpr Event doNotDisturb{&Ifc::onDoNotDisturbEvent, "onDoNotDisturbEvent", "DoNotDisturbEvent", prefix, text("deviceId", "deviceId"), flag("doNotDisturbOn", "doNotDisturbOn")};
inline constexpr Event agentState{&Ifc::onAgentStateEvent, "onAgentStateEvent", "AgentStateEvent", prefix, text("deviceId", "deviceId"), text("agentState", "agentState")};
inline constexpr Event systemStatus{&Ifc::onSystemStatusEvent, "onSystemStatusEvent", "systemStatusEvent", prefix, text("status", "status"), text("statusInfo", "statusInfo")};
inline constexpr Event serverFeatureStatus{&Ifc::onServerFeatureStatusEvent, "onServerFeatureStatusEvent", "serverFeatureStatusEvent", prefix, text("lineURI", "lineURI"), text("status", "status")};
inline constexpr Event incomingAssociatedCall{&Ifc::onIncomingAssociatedCallEvent, "onIncomingAssociatedCallEvent", "IncomingAssociatedCallEvent", prefix, text("LineID", "lineId"), number("CurrentCallID", "currentCallId"), number("NewCallID", "newCallId")};
inline constexpr Event b2buaCSTAResponse{&Ifc::onB2buaCSTAResponse, "onB2buaCSTAResponse", "b2buaCSTAResponse", prefix, text("lineURI", "lineURI"), flag("success", "success"), payloadAfter("/success>", "cstaResponse")};
inline constexpr Event b2buaCSTAEventOrRequest{&Ifc::onB2buaCSTAEventOrRequest, "onB2buaCSTAEventOrRequest", "b2buaCSTAEventOrRequest", prefix, text("lineURI", "lineURI"), payloadAfter("/lineURI>", "cstaMessage")};
inline constexpr Event conferenceStatus{&Ifc::onConferenceStatusEvent, "onConferenceStatusEvent", "conferenceStatusEvent", prefix, text("LineID", "lineId"), number("CallID", "callId"), text("XMLContent", "xmlContent")};
inline constexpr Event securityStatusChanged{&Ifc::onSecurityStatusChanged, "onSecurityStatusChanged", "securityStatusChanged", prefix, text("lineURI", "lineURI"), number("callId", "callId"), number("securityStatus", "securityStatus"), numberList("CallIDsRecorded", "callIdsRecorded"), textList("CallLineURIsRecorded", "callLineURIsRecorded")};
inline constexpr Event preemptionStatusChanged{&Ifc::onPreemptionStatusChanged, "onPreemptionStatusChanged", "preemptionStatusChanged", prefix, text("lineURI", "lineURI"), number("callId", "callId"), number("priority", "priority"), number("cause", "cause"), text("reason", "reason")};
inline constexpr Event impactLevelChanged{&Ifc::onImpactLevelChanged, "onImpactLevelChanged", "impactLevelChanged", prefix, text("lineURI", "lineURI"), number("callId", "callId"), number("ILCallLevel", "ilCallLevel"), number("ILLocalLevel", "ilLocalLevel")};
inline constexpr Event callRecordingStatus{&Ifc::onCallRecordingStatusEvent, "onCallRecordingStatusEvent", "callRecordingStatusEvent", prefix, text("LineID", "lineId"), number("callId", "callId"), text("callRecorded", "callRecorded")};
inline constexpr Event callCompletion{&Ifc::onCallCompletionEvent, "onCallCompletionEvent", "callCompletionEvent", prefix, text("LineID", "lineId"), text("URI", "uri"), number("CallCompletionType", "callCompletionType"), number("CallCompletionState", "callCompletionState"), flag("DisplayOutcomeCallUI", "displayOutcomeCallUI")};
inline constexpr Event callCompletionFailed{&Ifc::onCallCompletionFailedEvent, "onCallCompletionFailedEvent", "callCompletionFailedEvent", prefix, text("LineID", "lineId"), text("URI", "uri"), number("CallCompletionFailureType", "callCompletionFailureType")};
inline constexpr Event bluetoothAudioStatusChanged{&Ifc::onBluetoothAudioStatusChanged, "onBluetoothAudioStatusChanged", "bluetoothAudioStatusChanged", prefix, text("LineID", "lineId"), number("CallID", "callId"), flag("AudioEnabled", "audioEnabled"), flag("AudioGateway", "audioGateway"), flag("InBandRinging", "inBandRinging")};
// clang-format on

// Every event above, in the order the names are tried.
inline constexpr auto all = std::tie(
    callStateChange, registrationStateChange, incomingCall, incomingPickupCall, callHeld,
    callRetrieved, featureSuccess, featureFailed, remoteEndpointDetailsChanged, incomingCallMissed,
    callForwarded, devicesChanged, messageWaiting, doNotDisturb, agentState, systemStatus,
    serverFeatureStatus, incomingAssociatedCall, b2buaCSTAResponse, b2buaCSTAEventOrRequest,
    conferenceStatus, securityStatusChanged, preemptionStatusChanged, impactLevelChanged,
    callRecordingStatus, callCompletion, callCompletionFailed, bluetoothAudioStatusChanged);

/// @endcond

} // namespace CommunicationsService::protocol::events
