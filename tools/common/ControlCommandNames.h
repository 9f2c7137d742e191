#pragma once

// The names of the simulator's control commands, for checking scripts and console lines
// before anything is sent, and for completing them.

#include <string>
#include <vector>

namespace simulator {

inline const std::vector<std::string>& controlCommandNames() {
    static const std::vector<std::string> names = {
        "incomingCall", "missedCall",       "hangup",    "answer",       "colleagueCall",
        "voicemail",    "registrationLost", "register",  "preempt",      "impactLevel",
        "recording",    "bluetooth",        "cstaEvent", "systemStatus", "addDevice",
        "removeDevice", "calleeFree",       "show",      "reset",        "lastRequest",
        "nextAnswer",   "delayAnswers",     "clients",   "help",         "emit",
        "requests",
    };
    return names;
}

} // namespace simulator
