#pragma once

// The phone's communications service as the simulator plays it: lines, registration,
// calls and their states, features and settings. It answers requests, publishes the
// events that a real service would send for what happened, and carries out control
// commands that make things happen on the far side. No I/O: events go to a sink and
// delayed steps to a scheduler, both given by the caller.

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "CommunicationsService/desktop/SimulatorCodes.h"
#include "ControlCommands.h"
#include "RequestParser.h"

namespace simulator {

class EventSink {
public:
    virtual ~EventSink() = default;
    virtual void publish(const std::string& event) = 0;
};

class Scheduler {
public:
    virtual ~Scheduler() = default;
    virtual void after(std::chrono::milliseconds delay, std::function<void()> step) = 0;
};

struct ServiceSettings {
    std::vector<std::string> lines{"1001", "1002"};
    std::string domain = "pbx.example.com";
    // How long a far end rings before it answers or a missed caller gives up.
    std::chrono::milliseconds ringTime{300};
    // What the tables keyed by a client's text (lamps, devices, feature call identifiers,
    // in-service flags) may hold: entries each, and the longest key.
    std::size_t tableEntries = 10000;
    std::size_t nameBytes = 256;
};

// The simulator's codes, in the kit's one vocabulary of them.
using desktop::simulator::CallState;
using desktop::simulator::Cause;
using desktop::simulator::Feature;
using desktop::simulator::FeatureFailure;
using desktop::simulator::number;

// Everything the service holds about lines, calls and settings; a reset replaces it with
// a fresh one.
class ServiceModel {
public:
    explicit ServiceModel(const ServiceSettings& settings);

protected:
    struct Party {
        std::string number;
        std::string uri;
        std::string name;
        std::string fullPai() const;
    };
    struct Call {
        int id = 0;
        std::string line;
        Party remote;
        CallState state = CallState::idle;
        bool incoming = false;
        bool manualHold = false;
        bool recorded = false;
        int priority = 0;
    };
    struct LineState {
        bool registered = false;
        bool doNotDisturb = false;
        std::string agentState = "loggedOff";
    };
    struct Forwarding {
        bool status = false;
        std::string uri;
        int ringCount = 0;
    };
    struct Callback {
        std::string line;
        Party callee;
        int type = 0;
    };
    struct MessageWaiting {
        std::string line;
        unsigned newMessages = 0, oldMessages = 0, newUrgent = 0, oldUrgent = 0;
    };

    std::map<std::string, LineState> lines;
    std::vector<std::string> devices;
    std::map<int, Call> calls;
    std::map<int, Call> pickupOffers;
    // Per line, per forwarding type (0 unconditional, 1 on busy, 2 on no reply).
    std::map<std::string, std::map<int, Forwarding>> forwarding;
    std::vector<Callback> callbacks;
    MessageWaiting messageWaiting;
    std::map<std::string, int> lampModes;
    std::map<std::string, bool> inServiceInitiated;
    std::map<std::string, int> featureCallIds;
    std::string serviceState{CommunicationsService::protocol::kServiceStateNames[0]};
    std::string systemState = "normal";
    bool microphoneMuted = false;
    bool associatedCalls = false;
    int nextCallId = 1;
};

class PhoneService : private ServiceModel {
public:
    PhoneService(ServiceSettings settings, EventSink& events, Scheduler& scheduler);

    // The answer to a valid request, nothing for a one-way message.
    std::optional<std::string> handle(const ParsedRequest& request);
    // Why the last request was refused; empty when it was not.
    const std::string& refusal() const { return lastRefusal; }

    // Back to the start: lines unregistered, no calls, settings cleared, call identifiers
    // from 1. Steps scheduled before are dropped.
    void reset();

    // Carries out one control command that needs neither a server nor a client; the answer
    // begins with "ok" or "error:".
    std::string control(const Words& words);

    // The phone at a glance, as one JSON object: lines, calls, lamps, settings, mailbox.
    std::string stateJson() const;

private:
    friend const std::vector<ControlCommand>& controlCommands();

    using Handler = std::optional<std::string> (PhoneService::*)(const ParsedRequest&);
    static const std::map<std::string, Handler>& handlers();

    // Requests, one per method.
    std::optional<std::string> activate(const ParsedRequest&);
    std::optional<std::string> deactivate(const ParsedRequest&);
    std::optional<std::string> subscribe(const ParsedRequest&);
    std::optional<std::string> makeCall(const ParsedRequest&);
    std::optional<std::string> acceptCall(const ParsedRequest&);
    std::optional<std::string> answerCall(const ParsedRequest&);
    std::optional<std::string> deflectCall(const ParsedRequest&);
    std::optional<std::string> holdCall(const ParsedRequest&);
    std::optional<std::string> retrieveCall(const ParsedRequest&);
    std::optional<std::string> clearCall(const ParsedRequest&);
    std::optional<std::string> consult(const ParsedRequest&);
    std::optional<std::string> attendedTransfer(const ParsedRequest&);
    std::optional<std::string> blindTransfer(const ParsedRequest&);
    std::optional<std::string> refuseCall(const ParsedRequest&);
    std::optional<std::string> alternateCalls(const ParsedRequest&);
    std::optional<std::string> conferenceCall(const ParsedRequest&);
    std::optional<std::string> generateDigits(const ParsedRequest&);
    std::optional<std::string> directedPickup(const ParsedRequest&);
    std::optional<std::string> groupPickup(const ParsedRequest&);
    // The offered call, taken off the colleague's phone and connected on `line`.
    std::optional<std::string> pickUp(std::map<int, Call>::iterator offer, const std::string& line);
    std::optional<std::string> callbackRinging(const ParsedRequest&);
    std::optional<std::string> callbackBusy(const ParsedRequest&);
    std::optional<std::string> cancelCallbacks(const ParsedRequest&);
    std::optional<std::string> setMute(const ParsedRequest&);
    std::optional<std::string> getMute(const ParsedRequest&);
    std::optional<std::string> setDoNotDisturb(const ParsedRequest&);
    std::optional<std::string> getDoNotDisturb(const ParsedRequest&);
    std::optional<std::string> setForwarding(const ParsedRequest&);
    std::optional<std::string> getForwarding(const ParsedRequest&);
    std::optional<std::string> setAssociatedCalls(const ParsedRequest&);
    std::optional<std::string> setLampMode(const ParsedRequest&);
    std::optional<std::string> securityReinvite(const ParsedRequest&);
    std::optional<std::string> setInServiceInitiated(const ParsedRequest&);
    std::optional<std::string> systemStatus(const ParsedRequest&);
    std::optional<std::string> setServiceState(const ParsedRequest&);
    std::optional<std::string> getServiceState(const ParsedRequest&);
    std::optional<std::string> getMessageWaiting(const ParsedRequest&);
    std::optional<std::string> getDevices(const ParsedRequest&);
    std::optional<std::string> isCallHoldPossible(const ParsedRequest&);
    std::optional<std::string> getManualHold(const ParsedRequest&);
    std::optional<std::string> cstaRequest(const ParsedRequest&);
    std::optional<std::string> serverFeatures(const ParsedRequest&);
    std::optional<std::string> callbackFeatureCallId(const ParsedRequest&);
    std::optional<std::string> setAgentState(const ParsedRequest&);
    std::optional<std::string> removeConferenceParticipant(const ParsedRequest&);
    std::optional<std::string> signalling(const ParsedRequest&);

    // Control commands.
    std::string incomingCall(const std::vector<std::string>& words, bool missed);
    std::string farEndHangUp(const std::vector<std::string>& words);
    std::string farEndAnswer(const std::vector<std::string>& words);
    std::string colleagueCall(const std::vector<std::string>& words);
    std::string voicemail(const std::vector<std::string>& words);
    std::string registration(const std::vector<std::string>& words, bool registered);
    std::string preempt(const std::vector<std::string>& words);
    std::string impactLevel(const std::vector<std::string>& words);
    std::string recording(const std::vector<std::string>& words);
    std::string bluetooth(const std::vector<std::string>& words);
    std::string cstaEvent(const std::vector<std::string>& words);
    std::string systemStatusChange(const std::vector<std::string>& words);
    std::string changeDevices(const std::vector<std::string>& words, bool add);
    std::string calleeFree(const std::vector<std::string>& words);
    std::string show();
    // The call a command names as LINE CALLID in its second and third word, and the error
    // when there is none.
    Call* commandCall(const std::vector<std::string>& words);
    static std::string noCallError(const std::vector<std::string>& words);

    // Notes why the request is refused and gives the failure answer.
    std::string refuse(const std::string& why);
    // Why the table cannot take the key: it is too long, or new to a table that is full.
    std::optional<std::string> tableProblem(const char* table, std::size_t entries, bool present,
                                            const std::string& key) const;
    // Why no call with this identifier exists on the line.
    std::string missingCall(const std::string& line, int id) const;
    std::string lineProblem(const std::string& line) const;

    // Call handling shared by requests and control commands.
    Party partyFor(const std::string& destination) const;
    Party linePartyFor(const std::string& line) const;
    bool knownLine(const std::string& line) const;
    Call* findCall(const std::string& line, int id);
    // The call the request names by its line, the first field, and the identifier in idTag
    // (by default the second field, as most requests have it); when there is none the
    // refusal says why (with the call's role, if given) and the result is null.
    Call* requestedCall(const ParsedRequest& request,
                        std::string_view idTag = tagOf<1>(requests::answerCall),
                        const char* role = "");
    // Why a connected or held call cannot move on to `destination` for `feature` (a
    // consultation or a transfer), as the answer to give; nothing when it can.
    std::optional<std::string> refusalToMoveOn(const Call* call, const std::string& destination,
                                               Feature feature);
    // Why `feature` cannot act on a call that is not in `state` (named `stateName`), as the
    // answer to give after telling the application of the failure; nothing when it can.
    std::optional<std::string> refusalOutsideState(const Call& call, CallState state,
                                                   Feature feature);
    std::string emit(const std::vector<std::string>& words);
    std::string listRequests(const std::vector<std::string>& words);
    // Kept for the requests command, as method and fields.
    void record(const ParsedRequest& request);
    // Runs the step later unless the service has been reset in between.
    void schedule(std::chrono::milliseconds delay, std::function<void()> step);
    int allocateCallId(int wanted);
    void dial(const std::string& line, int id, const Party& remote);
    void farEndAnswers(int id);
    void setState(Call& call, CallState state, Cause reason);
    void clear(int id, Cause reason);
    // The far end ends the call: a ringing one is missed.
    void hangUp(const Call& call);
    void hold(Call& call, bool manual);
    void retrieve(Call& call);
    void publishCallState(const Call& call, Cause reason, const std::string& preemptionText = {});
    void publishFeature(const std::string& line, int callId, Feature feature);
    void publishFeatureFailure(const std::string& line, int callId, Feature feature,
                               FeatureFailure failure);
    void publishConference(const std::string& line, int callId);
    void publishMessageWaiting();
    void publishMissed(const Call& call, Cause reason);
    void ringIncoming(Call& call, bool missed);
    std::optional<std::string> activateCallback(const ParsedRequest& request, CallState needed,
                                                int type);

    ServiceSettings settings;
    EventSink& events;
    Scheduler& scheduler;
    // Counts resets; a step scheduled before the last one is dropped.
    unsigned generation = 0;
    std::string lastRefusal;
    // Every request received, in order; a reset keeps them, so their numbers go on.
    std::vector<std::string> received;
};

} // namespace simulator
