#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "CommunicationsService/protocol/Events.h"

/// @file
/// The service's events as values: one struct per callback of CommunicationsServiceEventIfc,
/// its members named and ordered as the callback's arguments, owning everything they hold,
/// so that an event can be kept, queued and handed to another thread. `kEntry` is the
/// event's line in protocol/Events.h.

namespace CommunicationsService::app {

/// The four parties of a call-state event, copied out of the CallPartyInfo record (whose
/// reserved fields are always empty and are left out).
struct CallParties {
    std::string calledPartyName;  ///< display name of the called party
    std::string calledParty;      ///< address of the called party
    std::string callingPartyName; ///< display name of the calling party
    std::string callingParty;     ///< address of the calling party

    CallParties() = default; ///< four empty texts
    /// Copies each text up to its NUL or to the end of its array, whichever comes first;
    /// nullptr gives four empty texts.
    explicit CallParties(const CallPartyInfo* record);
};

/// What CommunicationsServiceEventIfc::onCallStateChangeEvent receives.
struct CallStateChange {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::callStateChange;
    /// The call's line.
    std::string lineId;
    /// The call.
    int callId = 0;
    /// The state the call is in now; the desktop simulator's states are 0 idle (cleared), 1
    /// dialing, 2 ringback, 3 ringing, 4 connected, 5 held, 6 busy, 7 failed, 8 conferenced.
    int callState = 0;
    /// Why the state changed.
    int reason = 0;
    /// The service's send options for the call.
    int sendOptions = 0;
    /// The remote party's address.
    std::string uri;
    /// The remote party's display name.
    std::string name;
    /// The remote party's full P-Asserted-Identity.
    std::string fullPai;
    /// The calling and the called party, copied.
    CallParties callPartyInfo;
    /// The call's precedence (resource priority).
    int resourcePriority = 0;
    /// Why the call was pre-empted, if it was.
    int preemptionCause = 0;
    /// The pre-emption's text.
    std::string preemptionText;
    /// Whether a call-back can be requested for the call.
    bool callBackFeatureAvailable = false;
    /// The call's impact level.
    int ilCallLevel = 0;
    /// The phone's own impact level.
    int ilLocalLevel = 0;
};
/// What CommunicationsServiceEventIfc::onRegistrationStateChangeEvent receives.
struct RegistrationStateChange {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::registrationStateChange;
    /// The line.
    std::string lineId;
    /// The call the registration concerns, if any.
    int callId = 0;
    /// Whether the line is registered now.
    bool registered = false;
    /// The registrar's result code, such as 200.
    int registrationResult = 0;
};
/// What CommunicationsServiceEventIfc::onIncomingCallEvent receives.
struct IncomingCall {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::incomingCall;
    /// The line it arrives on.
    std::string lineId;
    /// The new call.
    int callId = 0;
    /// The caller's address.
    std::string uri;
    /// The caller's display name.
    std::string name;
    /// The caller's full P-Asserted-Identity.
    std::string fullPai;
    /// The URI of the call's alert information (its ring tone).
    std::string alertUri;
    /// The parameter of the call's alert information.
    std::string alertInfoParam;
    /// Whether the alert information asks for automatic answer.
    bool alertAutoAnswer = false;
    /// The kind of call.
    int callType = 0;
    /// Who diverted the call to this phone, if anyone did.
    std::string diversionUri;
    /// The display name of who diverted the call.
    std::string diversionName;
    /// Why the call was diverted.
    int diversionReason = 0;
    /// Whether the call asks for automatic answer by AICS zip.
    bool zipAutoAnswer = false;
    /// The call's precedence (resource priority).
    int resourcePriority = 0;
    /// The call's impact level.
    int ilCallLevel = 0;
    /// The phone's own impact level.
    int ilLocalLevel = 0;
    /// Whether the call offers video.
    bool isVideoCall = false;
};
/// What CommunicationsServiceEventIfc::onIncomingPickupCallEvent receives.
struct IncomingPickupCall {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::incomingPickupCall;
    /// The line it is offered on.
    std::string lineId;
    /// The call.
    int callId = 0;
    /// The caller's address.
    std::string uri;
    /// The caller's display name.
    std::string name;
    /// The caller's full P-Asserted-Identity.
    std::string fullPai;
};
/// What CommunicationsServiceEventIfc::onCallHeldEvent receives.
struct CallHeld {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::callHeld;
    /// The line it concerns.
    std::string lineId;
    /// The call it concerns.
    int callId = 0;
};
/// What CommunicationsServiceEventIfc::onCallRetrievedEvent receives.
struct CallRetrieved {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::callRetrieved;
    /// The call's line.
    std::string lineId;
    /// The call.
    int callId = 0;
    /// The remote party's address.
    std::string uri;
    /// The remote party's display name.
    std::string name;
    /// The remote party's full P-Asserted-Identity.
    std::string fullPai;
    /// The call's impact level.
    int ilCallLevel = 0;
    /// The phone's own impact level.
    int ilLocalLevel = 0;
    /// Whether the call is connected to a media server.
    bool connectedToMediaServer = false;
};
/// What CommunicationsServiceEventIfc::onFeatureSuccessEvent receives.
struct FeatureSuccess {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::featureSuccess;
    /// The line it concerns.
    std::string lineId;
    /// The call it concerns.
    int callId = 0;
    /// The feature, numbered as #sfiFeature.
    int feature = 0;
};
/// What CommunicationsServiceEventIfc::onFeatureFailedEvent receives.
struct FeatureFailed {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::featureFailed;
    /// The line.
    std::string lineId;
    /// The call it was used for.
    int callId = 0;
    /// The feature, numbered as #sfiFeature.
    int feature = 0;
    /// Why it failed.
    int featureFailure = 0;
};
/// What CommunicationsServiceEventIfc::onRemoteEndpointDetailsChangedEvent receives.
struct RemoteEndpointDetailsChanged {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::remoteEndpointDetailsChanged;
    /// The call's line.
    std::string lineId;
    /// The call.
    int callId = 0;
    /// The remote party's address.
    std::string uri;
    /// The remote party's display name.
    std::string name;
    /// The remote party's full P-Asserted-Identity.
    std::string fullPai;
    /// Whether the remote party left a conference.
    bool exitConf = false;
    /// Whether the call was joined with another.
    bool jointCall = false;
};
/// What CommunicationsServiceEventIfc::onIncomingCallMissedEvent receives.
struct IncomingCallMissed {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::incomingCallMissed;
    /// The line it arrived on.
    std::string lineId;
    /// The call.
    int callId = 0;
    /// The caller's address.
    std::string uri;
    /// The caller's display name.
    std::string name;
    /// The caller's full P-Asserted-Identity.
    std::string fullPai;
    /// Why the call was missed.
    int reason = 0;
    /// Who diverted the call to this phone, if anyone did.
    std::string diversionUri;
    /// The display name of who diverted the call.
    std::string diversionName;
    /// Why the call was diverted.
    int diversionReason = 0;
};
/// What CommunicationsServiceEventIfc::onCallForwardedEvent receives.
struct CallForwarded {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::callForwarded;
    /// The line it arrived on.
    std::string lineId;
    /// The call.
    int callId = 0;
    /// The caller's address.
    std::string callingParty;
    /// The caller's display name.
    std::string callingPartyName;
    /// The caller's full P-Asserted-Identity.
    std::string callingPartyFullPai;
    /// Where the call was forwarded to.
    std::string newDestination;
    /// Why it was forwarded.
    int reason = 0;
};
/// What CommunicationsServiceEventIfc::onDevicesChangedEvent receives.
struct DevicesChanged {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::devicesChanged;
};
/// What CommunicationsServiceEventIfc::onMessageWaitingEvent receives.
struct MessageWaiting {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::messageWaiting;
    /// The line.
    std::string lineId;
    /// The service's message type code.
    int type = 0;
    /// Number of new messages.
    unsigned int newMessages = 0;
    /// Number of old (heard) messages.
    unsigned int oldMessages = 0;
    /// Number of new urgent messages.
    unsigned int newUrgentMessages = 0;
    /// Number of old urgent messages.
    unsigned int oldUrgentMessages = 0;
    /// The service's return type code.
    int returnType = 0;
    /// The service's code for the information available.
    int availInfo = 0;
    /// The service's messages-waiting indication.
    int messagesWaiting = 0;
    /// The number that reaches the mailbox.
    std::string voiceMailNumber;
};
/// What CommunicationsServiceEventIfc::onDoNotDisturbEvent receives.
struct DoNotDisturb {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::doNotDisturb;
    /// The device it concerns.
    std::string deviceId;
    /// Whether do-not-disturb is on now.
    bool doNotDisturbOn = false;
};
/// What CommunicationsServiceEventIfc::onAgentStateEvent receives.
struct AgentState {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::agentState;
    /// The device it concerns.
    std::string deviceId;
    /// The agent state, a text of the service's vocabulary.
    std::string agentState;
};
/// What CommunicationsServiceEventIfc::onSystemStatusEvent receives.
struct SystemStatus {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::systemStatus;
    /// The status, a text of the service.
    std::string status;
    /// The status's detail.
    std::string statusInfo;
};
/// What CommunicationsServiceEventIfc::onServerFeatureStatusEvent receives.
struct ServerFeatureStatus {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::serverFeatureStatus;
    /// The line it concerns.
    std::string lineURI;
    /// The status, a text of the service.
    std::string status;
};
/// What CommunicationsServiceEventIfc::onIncomingAssociatedCallEvent receives.
struct IncomingAssociatedCall {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::incomingAssociatedCall;
    /// The line it concerns.
    std::string lineId;
    /// The current call.
    int currentCallId = 0;
    /// The new call that belongs with it.
    int newCallId = 0;
};
/// What CommunicationsServiceEventIfc::onB2buaCSTAResponse receives.
struct B2buaCSTAResponse {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::b2buaCSTAResponse;
    /// The line the request was sent for.
    std::string lineURI;
    /// Whether the response reports success.
    bool success = false;
    /// The CSTA response document, unparsed. The payload is the event text itself, shortened to
    /// what follows the leading fields; the subscriber may change or move from it.
    std::string cstaResponse;
};
/// What CommunicationsServiceEventIfc::onB2buaCSTAEventOrRequest receives.
struct B2buaCSTAEventOrRequest {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::b2buaCSTAEventOrRequest;
    /// The line it concerns.
    std::string lineURI;
    /// The CSTA document, unparsed; like the response's payload, the subscriber may change or move
    /// from it.
    std::string cstaMessage;
};
/// What CommunicationsServiceEventIfc::onConferenceStatusEvent receives.
struct ConferenceStatus {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::conferenceStatus;
    /// The line it concerns.
    std::string lineId;
    /// The call it concerns.
    int callId = 0;
    /// The conference document as the service sends it.
    std::string xmlContent;
};
/// What CommunicationsServiceEventIfc::onSecurityStatusChanged receives.
struct SecurityStatusChanged {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::securityStatusChanged;
    /// The call's line.
    std::string lineURI;
    /// The call.
    int callId = 0;
    /// Its security status now.
    int securityStatus = 0;
    /// The calls that are recorded.
    std::vector<int> callIdsRecorded;
    /// The lines of the recorded calls.
    std::vector<std::string> callLineURIsRecorded;
};
/// What CommunicationsServiceEventIfc::onPreemptionStatusChanged receives.
struct PreemptionStatusChanged {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::preemptionStatusChanged;
    /// The call's line.
    std::string lineURI;
    /// The call.
    int callId = 0;
    /// The precedence involved.
    int priority = 0;
    /// The cause of the pre-emption.
    int cause = 0;
    /// The pre-emption's text.
    std::string reason;
};
/// What CommunicationsServiceEventIfc::onImpactLevelChanged receives.
struct ImpactLevelChanged {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::impactLevelChanged;
    /// The line it concerns.
    std::string lineURI;
    /// The call it concerns.
    int callId = 0;
    /// The call's impact level.
    int ilCallLevel = 0;
    /// The phone's own impact level.
    int ilLocalLevel = 0;
};
/// What CommunicationsServiceEventIfc::onCallRecordingStatusEvent receives.
struct CallRecordingStatus {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::callRecordingStatus;
    /// The line it concerns.
    std::string lineId;
    /// The call it concerns.
    int callId = 0;
    /// The service's text for the recording status.
    std::string callRecorded;
};
/// What CommunicationsServiceEventIfc::onCallCompletionEvent receives.
struct CallCompletion {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::callCompletion;
    /// The line that made the request.
    std::string lineId;
    /// The party to be called back.
    std::string uri;
    /// The kind of call-back.
    int callCompletionType = 0;
    /// Its state now.
    int callCompletionState = 0;
    /// Whether the phone is to show the outcome to the user.
    bool displayOutcomeCallUI = false;
};
/// What CommunicationsServiceEventIfc::onCallCompletionFailedEvent receives.
struct CallCompletionFailed {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::callCompletionFailed;
    /// The line it concerns.
    std::string lineId;
    /// The party to be called back.
    std::string uri;
    /// How the call-back request failed.
    int callCompletionFailureType = 0;
};
/// What CommunicationsServiceEventIfc::onBluetoothAudioStatusChanged receives.
struct BluetoothAudioStatusChanged {
    /// Its line in the description.
    static constexpr const auto& kEntry = protocol::events::bluetoothAudioStatusChanged;
    /// The call's line.
    std::string lineId;
    /// The call.
    int callId = 0;
    /// Whether the call's audio goes through Bluetooth.
    bool audioEnabled = false;
    /// Whether the phone acts as the Bluetooth audio gateway.
    bool audioGateway = false;
    /// Whether the ring tone is sent in band.
    bool inBandRinging = false;
};
/// Any one event.
using Event = std::variant<
    CallStateChange, RegistrationStateChange, IncomingCall, IncomingPickupCall, CallHeld,
    CallRetrieved, FeatureSuccess, FeatureFailed, RemoteEndpointDetailsChanged, IncomingCallMissed,
    CallForwarded, DevicesChanged, MessageWaiting, DoNotDisturb, AgentState, SystemStatus,
    ServerFeatureStatus, IncomingAssociatedCall, B2buaCSTAResponse, B2buaCSTAEventOrRequest,
    ConferenceStatus, SecurityStatusChanged, PreemptionStatusChanged, ImpactLevelChanged,
    CallRecordingStatus, CallCompletion, CallCompletionFailed, BluetoothAudioStatusChanged>;

/// The events the application did not receive because its queue was full: `count` of them
/// were dropped at this place in the order.
struct Lost {
    std::uint64_t count = 0; ///< how many events are missing here
};

/// The callback's name of `event`, such as "onIncomingCallEvent".
std::string_view nameOf(const Event& event);

/// @cond INTERNAL
// The structs agree with the description: the variant lists them in the order of
// protocol::events::all, each names its own entry, and each takes exactly the callback's
// arguments, in order, each as the owned type of exactly its parameter's type.
namespace agreement {

template <typename Callback> struct Parameters;
template <typename... Params>
struct Parameters<void (CommunicationsServiceEventIfc::*)(Params...)> {
    using type = std::tuple<Params...>;
};

template <typename Param> struct Kept {
    using type = std::remove_cv_t<std::remove_reference_t<Param>>;
};
template <> struct Kept<CallPartyInfo*> { using type = CallParties; };

// Converts to `Type` and to nothing else, not even by promotion.
template <typename Type> struct Exactly {
    template <typename To, typename = std::enable_if_t<std::is_same_v<To, Type>>>
    operator To() const;
};
struct Anything {
    template <typename To> operator To() const;
};

template <typename T, typename Args, typename = void> struct Braced : std::false_type {};
template <typename T, typename... Args>
struct Braced<T, std::tuple<Args...>, std::void_t<decltype(T{std::declval<Args>()...})>>
    : std::true_type {};

template <typename T, typename Params> struct TakesExactly;
template <typename T, typename... Params> struct TakesExactly<T, std::tuple<Params...>> {
    static constexpr bool value =
        Braced<T, std::tuple<Exactly<typename Kept<Params>::type>...>>::value &&
        !Braced<T, std::tuple<Exactly<typename Kept<Params>::type>..., Anything>>::value;
};

template <std::size_t Row> constexpr bool rowAgrees() {
    using Struct = std::variant_alternative_t<Row, Event>;
    using Callback = decltype(Struct::kEntry.callback);
    return static_cast<const void*>(&Struct::kEntry) ==
               static_cast<const void*>(&std::get<Row>(protocol::events::all)) &&
           TakesExactly<Struct, typename Parameters<Callback>::type>::value;
}

// Instantiated once per row, so that a failure names the row.
template <std::size_t Row> struct RowCheck {
    static_assert(rowAgrees<Row>(),
                  "the struct at this row names its own entry and has the callback's arguments "
                  "as members");
    static constexpr bool value = true;
};

template <std::size_t... Row> constexpr bool allAgree(std::index_sequence<Row...>) {
    return (RowCheck<Row>::value && ...);
}

inline constexpr std::size_t kRows = protocol::rowCount(protocol::events::all);
static_assert(std::variant_size_v<Event> == kRows, "one struct for every event of the description");
static_assert(allAgree(std::make_index_sequence<kRows>()));

} // namespace agreement
/// @endcond

} // namespace CommunicationsService::app
