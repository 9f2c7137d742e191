#pragma once

#include "CommunicationsService/app/Events.h"

/// @file
/// An application's handling of typed events: one overload per event, each empty until
/// overridden.

namespace CommunicationsService::app {

/// Receives events one at a time, on whatever thread hands them over (with EventQueue, the
/// application's own). Override the on() of the events of interest, or handle() to visit the
/// variant instead:
///
/// @code
/// class Ringer : public app::EventHandler {
///     void on(const app::IncomingCall& call) override { ring(call.lineId, call.callId); }
/// };
/// @endcode
class EventHandler {
public:
    virtual ~EventHandler() = default;

    /// Every event comes here first; this one calls the on() of the event's type.
    virtual void handle(const Event& event);

    /// Events were dropped here because the queue was full: what they would have told has
    /// to be read again (the state of calls, lines, message waiting).
    virtual void on(const Lost&) {}

    /// A call changed its state.
    virtual void on(const CallStateChange&) {}
    /// A line's registration with its server changed.
    virtual void on(const RegistrationStateChange&) {}
    /// A call arrives and rings.
    virtual void on(const IncomingCall&) {}
    /// A call that rings elsewhere is offered to this phone for pickup.
    virtual void on(const IncomingPickupCall&) {}
    /// Call `callId` on line `lineId` was put on hold.
    virtual void on(const CallHeld&) {}
    /// A held call was taken back.
    virtual void on(const CallRetrieved&) {}
    /// The feature `feature` (numbered as #sfiFeature) succeeded for call `callId` on line
    /// `lineId`.
    virtual void on(const FeatureSuccess&) {}
    /// A feature failed.
    virtual void on(const FeatureFailed&) {}
    /// The remote party of a call changed: a new identity, or it left or joined a conference.
    virtual void on(const RemoteEndpointDetailsChanged&) {}
    /// A call that rang on this phone was not answered here.
    virtual void on(const IncomingCallMissed&) {}
    /// A call was forwarded.
    virtual void on(const CallForwarded&) {}
    /// The service's devices changed; CommunicationsServiceIfc::getDevices reads them.
    virtual void on(const DevicesChanged&) {}
    /// The message-waiting indication of the phone's mailbox changed.
    virtual void on(const MessageWaiting&) {}
    /// Do-not-disturb was switched on (`doNotDisturbOn` set) or off for device `deviceId`.
    virtual void on(const DoNotDisturb&) {}
    /// The call-centre agent state of device `deviceId` is now `agentState`, a text of the
    /// service's vocabulary.
    virtual void on(const AgentState&) {}
    /// The system status changed to `status`, with `statusInfo` as detail.
    virtual void on(const SystemStatus&) {}
    /// The status of the server-side features of line `lineURI` is now `status`, a text of the
    /// service.
    virtual void on(const ServerFeatureStatus&) {}
    /// A new call `newCallId` that belongs with the current call `currentCallId` arrived on line
    /// `lineId`.
    virtual void on(const IncomingAssociatedCall&) {}
    /// The answer to a CSTA request passed through with CommunicationsServiceIfc::SendCSTARequest
    /// or CommunicationsServiceIfc::sendUACSTAServerMessage.
    virtual void on(const B2buaCSTAResponse&) {}
    /// A CSTA event, or a request, that the CSTA peer sent unprompted.
    virtual void on(const B2buaCSTAEventOrRequest&) {}
    /// The status of conference call `callId` on line `lineId` changed; `xmlContent` is the
    /// conference document as the service sends it.
    virtual void on(const ConferenceStatus&) {}
    /// The security status of a call changed.
    virtual void on(const SecurityStatusChanged&) {}
    /// A call was pre-empted by one of higher precedence.
    virtual void on(const PreemptionStatusChanged&) {}
    /// The impact levels of call `callId` on line `lineURI` changed: `ilCallLevel` is the call's,
    /// `ilLocalLevel` the phone's own.
    virtual void on(const ImpactLevelChanged&) {}
    /// The recording of call `callId` on line `lineId` changed; `callRecorded` is the service's
    /// text for the recording status.
    virtual void on(const CallRecordingStatus&) {}
    /// A call-back request (call completion) changed.
    virtual void on(const CallCompletion&) {}
    /// A call-back request of line `lineId` for party `uri` failed; `callCompletionFailureType`
    /// tells how.
    virtual void on(const CallCompletionFailed&) {}
    /// The Bluetooth audio of a call changed.
    virtual void on(const BluetoothAudioStatusChanged&) {}
};

} // namespace CommunicationsService::app
