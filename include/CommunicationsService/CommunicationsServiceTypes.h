#pragma once

#include <cstdint>

/// @file
/// The result codes and the enumerations that cross CommunicationsServiceIfc.

/// Result codes of the request operations. Success is the highest value, not zero.
/// The operations return them as `int`; the service's answer decides the value.
enum sfiResult : std::int32_t {
    /// The request failed, or the service gave any answer not listed here.
    sfiFailure = 0,
    /// A call-back was refused: the call is in the wrong state for it.
    sfiFailureCallBackInvalidState = 1,
    /// A call-back was refused: the service has no information about the call.
    sfiFailureCallBackNoCallInfo = 2,
    /// A call-back was refused: too many call-backs are requested already.
    sfiFailureCallBackToMany = 3,
    /// A call-back was refused: the same call-back is requested already.
    sfiFailureCallBackAllreadyExists = 4,
    /// The service carried the request out.
    sfiSuccess = 5,
};

/// The service state of the phone. Travels by name ("sfiServiceInService", ...), not by
/// number.
enum sfiServiceState : std::int32_t {
    /// In service: calls are made and received.
    sfiServiceInService = 0,
    /// Out of service.
    sfiServiceOutOfService = 1,
    /// In service, with do-not-disturb on.
    sfiServiceDoNotDisturb = 2,
};

// The numbering of the following enumerations is agreed with the service; the library
// carries any 32-bit value through unchanged. The named values are the common ones.

/// A call feature, as CommunicationsServiceIfc::holdCall and
/// CommunicationsServiceIfc::conferenceCall name it. The numbering is agreed with the
/// service; any value is passed on unchanged.
enum sfiFeature : std::int32_t {
    /// No particular feature.
    sfiFeatureNone = 0,
    /// Asked for by the user.
    sfiFeatureManual = 1,
};

/// Why CommunicationsServiceIfc::refuseCall rejects a call. The numbering is agreed with
/// the service; any value is passed on unchanged.
enum sfiRefuseCall : std::int32_t {
    /// The phone is busy.
    sfiRefuseCallBusy = 0,
    /// The user declined the call.
    sfiRefuseCallDecline = 1,
};

/// Which call-backs CommunicationsServiceIfc::cancelCallbacks cancels. The numbering is
/// agreed with the service; any value is passed on unchanged.
enum sfiCancelCallBackType : std::int32_t {
    /// Every call-back of the line.
    sfiCancelCallBackAll = 0,
    /// The call-back to the one party named.
    sfiCancelCallBackSingle = 1,
};

/// A kind of call forwarding. The numbering is agreed with the service; any value is
/// passed on unchanged.
enum sfiForwardingType : std::int32_t {
    /// Every call is forwarded.
    sfiForwardingUnconditional = 0,
    /// Calls are forwarded while the line is busy.
    sfiForwardingBusy = 1,
    /// Calls are forwarded when they are not answered in time.
    sfiForwardingNoReply = 2,
};

/// An event cause number of ECMA-269 CSTA, as CommunicationsServiceIfc::callClear gives
/// it. Any number of the standard's numbering is passed on unchanged.
enum CSTAEventCause : std::int32_t {
    /// The call ends normally.
    CSTAEventCauseNormalClearing = 48,
};
