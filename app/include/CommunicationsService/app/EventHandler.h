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

    virtual void on(const CallStateChange&) {}
    virtual void on(const RegistrationStateChange&) {}
    virtual void on(const IncomingCall&) {}
    virtual void on(const IncomingPickupCall&) {}
    virtual void on(const CallHeld&) {}
    virtual void on(const CallRetrieved&) {}
    virtual void on(const FeatureSuccess&) {}
    virtual void on(const FeatureFailed&) {}
    virtual void on(const RemoteEndpointDetailsChanged&) {}
    virtual void on(const IncomingCallMissed&) {}
    virtual void on(const CallForwarded&) {}
    virtual void on(const DevicesChanged&) {}
    virtual void on(const MessageWaiting&) {}
    virtual void on(const DoNotDisturb&) {}
    virtual void on(const AgentState&) {}
    virtual void on(const SystemStatus&) {}
    virtual void on(const ServerFeatureStatus&) {}
    virtual void on(const IncomingAssociatedCall&) {}
    virtual void on(const B2buaCSTAResponse&) {}
    virtual void on(const B2buaCSTAEventOrRequest&) {}
    virtual void on(const ConferenceStatus&) {}
    virtual void on(const SecurityStatusChanged&) {}
    virtual void on(const PreemptionStatusChanged&) {}
    virtual void on(const ImpactLevelChanged&) {}
    virtual void on(const CallRecordingStatus&) {}
    virtual void on(const CallCompletion&) {}
    virtual void on(const CallCompletionFailed&) {}
    virtual void on(const BluetoothAudioStatusChanged&) {}
};

} // namespace CommunicationsService::app
