#pragma once

// Call states as the simulator numbers them in the call-state event, under the names the kit's
// installed header gives them.

#include "CommunicationsService/desktop/SimulatorCodes.h"

namespace simulator {

using Named = desktop::simulator::CallState;

enum CallState {
    kIdle = static_cast<int>(Named::idle),
    kDialing = static_cast<int>(Named::dialing),
    kRingback = static_cast<int>(Named::ringingBack),
    kRinging = static_cast<int>(Named::ringing),
    kConnected = static_cast<int>(Named::connected),
    kHeld = static_cast<int>(Named::held),
    kBusy = static_cast<int>(Named::busy),
    kFailed = static_cast<int>(Named::failed),
    kConferenced = static_cast<int>(Named::conferenced),
};

// "connected", ...; null for a number that names no state. The names end in a zero byte.
inline const char* callStateName(int state) {
    const std::string_view name = desktop::simulator::callStateName(state);
    return name.empty() ? nullptr : name.data();
}

} // namespace simulator
