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
    std::string calledPartyName;
    std::string calledParty;
    std::string callingPartyName;
    std::string callingParty;

    CallParties() = default;
    /// Copies each text up to its NUL or to the end of its array, whichever comes first;
    /// nullptr gives four empty texts.
    explicit CallParties(const CallPartyInfo* record);
};

/// What CommunicationsServiceEventIfc::onCallStateChangeEvent receives.
struct CallStateChange {
    static constexpr const auto& kEntry = protocol::events::callStateChange;
    std::string lineId;
    int callId = 0;
    int callState = 0;
    int reason = 0;
    int sendOptions = 0;
    std::string uri;
    std::string name;
    std::string fullPai;
    CallParties callPartyInfo;
    int resourcePriority = 0;
    int preemptionCause = 0;
    std::string preemptionText;
    bool callBackFeatureAvailable = false;
    int ilCallLevel = 0;
    int ilLocalLevel = 0;
};
/// What CommunicationsServiceEventIfc::onRegistrationStateChangeEvent receives.
struct RegistrationStateChange {
    static constexpr const auto& kEntry = protocol::events::registrationStateChange;
    std::string lineId;
    int callId = 0;
    bool registered = false;
    int registrationResult = 0;
};
/// What CommunicationsServiceEventIfc::onIncomingCallEvent receives.
struct IncomingCall {
    static constexpr const auto& kEntry = protocol::events::incomingCall;
    std::string lineId;
    int callId = 0;
    std::string uri;
    std::string name;
    std::string fullPai;
    std::string alertUri;
    std::string alertInfoParam;
    bool alertAutoAnswer = false;
    int callType = 0;
    std::string diversionUri;
    std::string diversionName;
    int diversionReason = 0;
    bool zipAutoAnswer = false;
    int resourcePriority = 0;
    int ilCallLevel = 0;
    int ilLocalLevel = 0;
    bool isVideoCall = false;
};
/// What CommunicationsServiceEventIfc::onIncomingPickupCallEvent receives.
struct IncomingPickupCall {
    static constexpr const auto& kEntry = protocol::events::incomingPickupCall;
    std::string lineId;
    int callId = 0;
    std::string uri;
    std::string name;
    std::string fullPai;
};
/// What CommunicationsServiceEventIfc::onCallHeldEvent receives.
struct CallHeld {
    static constexpr const auto& kEntry = protocol::events::callHeld;
    std::string lineId;
    int callId = 0;
};
/// What CommunicationsServiceEventIfc::onCallRetrievedEvent receives.
struct CallRetrieved {
    static constexpr const auto& kEntry = protocol::events::callRetrieved;
    std::string lineId;
    int callId = 0;
    std::string uri;
    std::string name;
    std::string fullPai;
    int ilCallLevel = 0;
    int ilLocalLevel = 0;
    bool connectedToMediaServer = false;
};
/// What CommunicationsServiceEventIfc::onFeatureSuccessEvent receives.
struct FeatureSuccess {
    static constexpr const auto& kEntry = protocol::events::featureSuccess;
    std::string lineId;
    int callId = 0;
    int feature = 0;
};
/// What CommunicationsServiceEventIfc::onFeatureFailedEvent receives.
struct FeatureFailed {
    static constexpr const auto& kEntry = protocol::events::featureFailed;
    std::string lineId;
    int callId = 0;
    int feature = 0;
    int featureFailure = 0;
};
/// What CommunicationsServiceEventIfc::onRemoteEndpointDetailsChangedEvent receives.
struct RemoteEndpointDetailsChanged {
    static constexpr const auto& kEntry = protocol::events::remoteEndpointDetailsChanged;
    std::string lineId;
    int callId = 0;
    std::string uri;
    std::string name;
    std::string fullPai;
    bool exitConf = false;
    bool jointCall = false;
};
/// What CommunicationsServiceEventIfc::onIncomingCallMissedEvent receives.
struct IncomingCallMissed {
    static constexpr const auto& kEntry = protocol::events::incomingCallMissed;
    std::string lineId;
    int callId = 0;
    std::string uri;
    std::string name;
    std::string fullPai;
    int reason = 0;
    std::string diversionUri;
    std::string diversionName;
    int diversionReason = 0;
};
/// What CommunicationsServiceEventIfc::onCallForwardedEvent receives.
struct CallForwarded {
    static constexpr const auto& kEntry = protocol::events::callForwarded;
    std::string lineId;
    int callId = 0;
    std::string callingParty;
    std::string callingPartyName;
    std::string callingPartyFullPai;
    std::string newDestination;
    int reason = 0;
};
/// What CommunicationsServiceEventIfc::onDevicesChangedEvent receives.
struct DevicesChanged {
    static constexpr const auto& kEntry = protocol::events::devicesChanged;
};
/// What CommunicationsServiceEventIfc::onMessageWaitingEvent receives.
struct MessageWaiting {
    static constexpr const auto& kEntry = protocol::events::messageWaiting;
    std::string lineId;
    int type = 0;
    unsigned int newMessages = 0;
    unsigned int oldMessages = 0;
    unsigned int newUrgentMessages = 0;
    unsigned int oldUrgentMessages = 0;
    int returnType = 0;
    int availInfo = 0;
    int messagesWaiting = 0;
    std::string voiceMailNumber;
};
/// What CommunicationsServiceEventIfc::onDoNotDisturbEvent receives.
struct DoNotDisturb {
    static constexpr const auto& kEntry = protocol::events::doNotDisturb;
    std::string deviceId;
    bool doNotDisturbOn = false;
};
/// What CommunicationsServiceEventIfc::onAgentStateEvent receives.
struct AgentState {
    static constexpr const auto& kEntry = protocol::events::agentState;
    std::string deviceId;
    std::string agentState;
};
/// What CommunicationsServiceEventIfc::onSystemStatusEvent receives.
struct SystemStatus {
    static constexpr const auto& kEntry = protocol::events::systemStatus;
    std::string status;
    std::string statusInfo;
};
/// What CommunicationsServiceEventIfc::onServerFeatureStatusEvent receives.
struct ServerFeatureStatus {
    static constexpr const auto& kEntry = protocol::events::serverFeatureStatus;
    std::string lineURI;
    std::string status;
};
/// What CommunicationsServiceEventIfc::onIncomingAssociatedCallEvent receives.
struct IncomingAssociatedCall {
    static constexpr const auto& kEntry = protocol::events::incomingAssociatedCall;
    std::string lineId;
    int currentCallId = 0;
    int newCallId = 0;
};
/// What CommunicationsServiceEventIfc::onB2buaCSTAResponse receives.
struct B2buaCSTAResponse {
    static constexpr const auto& kEntry = protocol::events::b2buaCSTAResponse;
    std::string lineURI;
    bool success = false;
    std::string cstaResponse;
};
/// What CommunicationsServiceEventIfc::onB2buaCSTAEventOrRequest receives.
struct B2buaCSTAEventOrRequest {
    static constexpr const auto& kEntry = protocol::events::b2buaCSTAEventOrRequest;
    std::string lineURI;
    std::string cstaMessage;
};
/// What CommunicationsServiceEventIfc::onConferenceStatusEvent receives.
struct ConferenceStatus {
    static constexpr const auto& kEntry = protocol::events::conferenceStatus;
    std::string lineId;
    int callId = 0;
    std::string xmlContent;
};
/// What CommunicationsServiceEventIfc::onSecurityStatusChanged receives.
struct SecurityStatusChanged {
    static constexpr const auto& kEntry = protocol::events::securityStatusChanged;
    std::string lineURI;
    int callId = 0;
    int securityStatus = 0;
    std::vector<int> callIdsRecorded;
    std::vector<std::string> callLineURIsRecorded;
};
/// What CommunicationsServiceEventIfc::onPreemptionStatusChanged receives.
struct PreemptionStatusChanged {
    static constexpr const auto& kEntry = protocol::events::preemptionStatusChanged;
    std::string lineURI;
    int callId = 0;
    int priority = 0;
    int cause = 0;
    std::string reason;
};
/// What CommunicationsServiceEventIfc::onImpactLevelChanged receives.
struct ImpactLevelChanged {
    static constexpr const auto& kEntry = protocol::events::impactLevelChanged;
    std::string lineURI;
    int callId = 0;
    int ilCallLevel = 0;
    int ilLocalLevel = 0;
};
/// What CommunicationsServiceEventIfc::onCallRecordingStatusEvent receives.
struct CallRecordingStatus {
    static constexpr const auto& kEntry = protocol::events::callRecordingStatus;
    std::string lineId;
    int callId = 0;
    std::string callRecorded;
};
/// What CommunicationsServiceEventIfc::onCallCompletionEvent receives.
struct CallCompletion {
    static constexpr const auto& kEntry = protocol::events::callCompletion;
    std::string lineId;
    std::string uri;
    int callCompletionType = 0;
    int callCompletionState = 0;
    bool displayOutcomeCallUI = false;
};
/// What CommunicationsServiceEventIfc::onCallCompletionFailedEvent receives.
struct CallCompletionFailed {
    static constexpr const auto& kEntry = protocol::events::callCompletionFailed;
    std::string lineId;
    std::string uri;
    int callCompletionFailureType = 0;
};
/// What CommunicationsServiceEventIfc::onBluetoothAudioStatusChanged receives.
struct BluetoothAudioStatusChanged {
    static constexpr const auto& kEntry = protocol::events::bluetoothAudioStatusChanged;
    std::string lineId;
    int callId = 0;
    bool audioEnabled = false;
    bool audioGateway = false;
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
    std::uint64_t count = 0;
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
