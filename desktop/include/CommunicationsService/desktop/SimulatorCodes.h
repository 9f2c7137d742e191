#pragma once

/// @file
/// The numbers the service simulator uses in its events and requests, by name: call
/// states, lamp modes, causes, features and feature failures. The service owns the
/// numbering; these are the simulator's, which the console prints and accepts by name.

#include <optional>
#include <string_view>
#include <type_traits>

/// The service simulator's numbering.
namespace desktop::simulator {

/// The state of a call in the call-state element of the call-state event.
enum class CallState : int {
    idle = 0,        ///< cleared
    dialing = 1,     ///< placed, not yet ringing at the far end
    ringingBack = 2, ///< ringing at the far end
    ringing = 3,     ///< an incoming call ringing here
    connected = 4,   ///< talking
    held = 5,        ///< on hold
    busy = 6,        ///< the far end is busy
    failed = 7,      ///< the far end rejected the call
    conferenced = 8, ///< part of a conference
};

/// The mode of a lamp in setLampMode.
enum class LampMode : int { off = 0, on = 1, flashing = 2, winking = 3, flickering = 4 };

/// The cause of an event in its reason element (CSTA event causes).
enum class Cause : int {
    none = 0,
    busy = 3,
    callForward = 9,
    callNotAnswered = 10,
    callPickup = 11,
    conference = 13,
    destinationNotObtainable = 14,
    doNotDisturb = 15,
    normalClearing = 48,
};

/// The feature in the feature element of the feature success and failure events.
enum class Feature : int {
    hold = 2,
    retrieve = 3,
    transfer = 4,
    conference = 5,
    forwarding = 6,
    pickup = 8,
};

/// Why a feature failed, in the feature failure element.
enum class FeatureFailure : int { invalidState = 1, busy = 2, rejected = 3, noSuchCall = 4 };

/// One named number of a kind.
struct Code {
    int number;            ///< as on the wire
    std::string_view name; ///< as the enumerator
};

/// Every call state, in the order of their numbers.
inline constexpr Code kCallStates[] = {
    {0, "idle"}, {1, "dialing"}, {2, "ringingBack"}, {3, "ringing"},     {4, "connected"},
    {5, "held"}, {6, "busy"},    {7, "failed"},      {8, "conferenced"},
};
/// Every lamp mode.
inline constexpr Code kLampModes[] = {
    {0, "off"}, {1, "on"}, {2, "flashing"}, {3, "winking"}, {4, "flickering"},
};
/// Every cause.
inline constexpr Code kCauses[] = {
    {0, "none"},
    {3, "busy"},
    {9, "callForward"},
    {10, "callNotAnswered"},
    {11, "callPickup"},
    {13, "conference"},
    {14, "destinationNotObtainable"},
    {15, "doNotDisturb"},
    {48, "normalClearing"},
};
/// Every feature.
inline constexpr Code kFeatures[] = {
    {2, "hold"},       {3, "retrieve"},   {4, "transfer"},
    {5, "conference"}, {6, "forwarding"}, {8, "pickup"},
};
/// Every feature failure.
inline constexpr Code kFeatureFailures[] = {
    {1, "invalidState"},
    {2, "busy"},
    {3, "rejected"},
    {4, "noSuchCall"},
};

/// The name of @p number among @p codes; empty when it has none.
template <std::size_t size>
constexpr std::string_view nameOf(const Code (&codes)[size], int number) {
    for (const Code& code : codes) {
        if (code.number == number) return code.name;
    }
    return {};
}

/// The number named @p name among @p codes; nothing when none is.
template <std::size_t size>
constexpr std::optional<int> numberOf(const Code (&codes)[size], std::string_view name) {
    for (const Code& code : codes) {
        if (code.name == name) return code.number;
    }
    return std::nullopt;
}

/// The number of a code as the simulator writes it: 4 for CallState::connected.
template <typename Named, typename = std::enable_if_t<std::is_enum_v<Named>>>
constexpr int number(Named code) {
    return static_cast<int>(code);
}

/// "connected" for 4; empty for a number that names no state.
constexpr std::string_view callStateName(int state) { return nameOf(kCallStates, state); }
/// "connected" for CallState::connected.
constexpr std::string_view callStateName(CallState state) { return callStateName(number(state)); }
/// "flashing" for 2; empty for a number that names no mode.
constexpr std::string_view lampModeName(int mode) { return nameOf(kLampModes, mode); }
/// "normalClearing" for 48; empty for a number that names no cause.
constexpr std::string_view causeName(int cause) { return nameOf(kCauses, cause); }

} // namespace desktop::simulator
