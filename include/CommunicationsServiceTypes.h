#pragma once

#include <cstdint>

// Result codes of the request operations. Success is the highest value, not zero.
enum sfiResult : std::int32_t {
    sfiFailure = 0,
    sfiFailureCallBackInvalidState = 1,
    sfiFailureCallBackNoCallInfo = 2,
    sfiFailureCallBackToMany = 3,
    sfiFailureCallBackAllreadyExists = 4,
    sfiSuccess = 5,
};

// Travels by name ("sfiServiceInService", ...), not by number.
enum sfiServiceState : std::int32_t {
    sfiServiceInService = 0,
    sfiServiceOutOfService = 1,
    sfiServiceDoNotDisturb = 2,
};

// The numbering of the following enumerations is agreed with the service; the library
// carries any 32-bit value through unchanged. The named values are the common ones.

enum sfiFeature : std::int32_t {
    sfiFeatureNone = 0,
    sfiFeatureManual = 1,
};

enum sfiRefuseCall : std::int32_t {
    sfiRefuseCallBusy = 0,
    sfiRefuseCallDecline = 1,
};

enum sfiCancelCallBackType : std::int32_t {
    sfiCancelCallBackAll = 0,
    sfiCancelCallBackSingle = 1,
};

enum sfiForwardingType : std::int32_t {
    sfiForwardingUnconditional = 0,
    sfiForwardingBusy = 1,
    sfiForwardingNoReply = 2,
};

// An event cause number of ECMA-269 CSTA.
enum CSTAEventCause : std::int32_t {
    CSTAEventCauseNormalClearing = 48,
};
