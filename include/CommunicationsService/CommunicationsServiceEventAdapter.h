#pragma once

#include "CommunicationsService/CommunicationsServiceEventIfc.h"

/// @file
/// Callbacks with empty default bodies.

/// Implements every callback of CommunicationsServiceEventIfc with an empty body, so that
/// an application's subscriber overrides only the events it handles:
///
/// @code
/// class Ringer : public Executable, public CommunicationsServiceEventAdapter {
///     void onIncomingCallEvent(const std::string& lineId, int callId, ...) override;
/// };
/// @endcode
///
/// The callbacks' table is the one of CommunicationsServiceEventIfc, unchanged.
class CommunicationsServiceEventAdapter : public CommunicationsServiceEventIfc {
public:
    void onCallStateChangeEvent(const std::string&, int, int, int, int, const std::string&,
                                const std::string&, const std::string&, CallPartyInfo*, int, int,
                                const std::string&, bool, int, int) override {}
    void onRegistrationStateChangeEvent(const std::string&, int, bool, int) override {}
    void onIncomingCallEvent(const std::string&, int, const std::string&, const std::string&,
                             const std::string&, const std::string&, const std::string&, bool, int,
                             const std::string&, const std::string&, int, bool, int, int, int,
                             bool) override {}
    void onIncomingPickupCallEvent(const std::string&, int, const std::string&, const std::string&,
                                   const std::string&) override {}
    void onCallHeldEvent(const std::string&, int) override {}
    void onCallRetrievedEvent(const std::string&, int, const std::string&, const std::string&,
                              const std::string&, int, int, bool) override {}
    void onFeatureSuccessEvent(const std::string&, int, int) override {}
    void onFeatureFailedEvent(const std::string&, int, int, int) override {}
    void onRemoteEndpointDetailsChangedEvent(const std::string&, int, const std::string&,
                                             const std::string&, const std::string&, bool,
                                             bool) override {}
    void onIncomingCallMissedEvent(const std::string&, int, const std::string&, const std::string&,
                                   const std::string&, int, const std::string&, const std::string&,
                                   int) override {}
    void onCallForwardedEvent(const std::string&, int, const std::string&, const std::string&,
                              const std::string&, const std::string&, int) override {}
    void onIncomingAssociatedCallEvent(const std::string&, int, int) override {}
    void onDevicesChangedEvent() override {}
    void onMessageWaitingEvent(const std::string&, int, unsigned int, unsigned int, unsigned int,
                               unsigned int, int, int, int, const std::string&) override {}
    void onDoNotDisturbEvent(const std::string&, bool) override {}
    void onAgentStateEvent(const std::string&, const std::string&) override {}
    void onSecurityStatusChanged(const std::string&, int, int, std::vector<int>&,
                                 std::vector<std::string>&) override {}
    void onCallRecordingStatusEvent(const std::string&, int, const std::string&) override {}
    void onPreemptionStatusChanged(const std::string&, int, int, int, const std::string&) override {
    }
    void onImpactLevelChanged(const std::string&, int, int, int) override {}
    void onSystemStatusEvent(const std::string&, const std::string&) override {}
    void onServerFeatureStatusEvent(const std::string&, const std::string&) override {}
    void onB2buaCSTAResponse(const std::string&, bool, std::string&) override {}
    void onB2buaCSTAEventOrRequest(const std::string&, std::string&) override {}
    void onConferenceStatusEvent(const std::string&, int, const std::string&) override {}
    void onCallCompletionEvent(const std::string&, const std::string&, int, int, bool) override {}
    void onCallCompletionFailedEvent(const std::string&, const std::string&, int) override {}
    void onBluetoothAudioStatusChanged(const std::string&, int, bool, bool, bool) override {}

protected:
    // Subscribers are owned and deleted as Executables, as with the interface itself.
    ~CommunicationsServiceEventAdapter() = default;
};
