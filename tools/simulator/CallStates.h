#pragma once

// Call states as the simulator numbers them in "<CallState>"; the console names them
// next to the numbers it prints.

namespace simulator {

enum CallState {
    kIdle = 0,
    kDialing = 1,
    kRingback = 2,
    kRinging = 3,
    kConnected = 4,
    kHeld = 5,
    kBusy = 6,
    kFailed = 7,
    kConferenced = 8,
};

// "connected", ...; null for a number that names no state.
inline const char* callStateName(int state) {
    static const char* const names[] = {"idle",    "dialing",   "ringing back",
                                        "ringing", "connected", "held",
                                        "busy",    "failed",    "conferenced"};
    return state >= kIdle && state <= kConferenced ? names[state] : nullptr;
}

} // namespace simulator
