#pragma once

// What the parts of the phone service share: answer words, limits, the numbers of the
// call completion events, the far ends the simulator knows, and word parsing for
// control commands.

#include <charconv>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "CommunicationsService/protocol/Description.h"
#include "ControlWords.h"
#include "PhoneService.h"

namespace simulator::parts {

inline constexpr const char* kSuccess =
    CommunicationsService::protocol::resultWord(sfiSuccess).data();
inline constexpr const char* kFailure = CommunicationsService::protocol::kFailureWord.data();
inline constexpr const char* kVoiceMailNumber = "8000";
inline constexpr std::size_t kMaxCallbacks = 3;
// CallPartyInfo holds 64 characters per party text; longer ones are cut.
inline constexpr std::size_t kPartyTextLimit = 64;

// Call-back types of the call completion events.
inline constexpr int kCallbackBusy = 1;
inline constexpr int kCallbackNoReply = 2;
// Call-back states of the call completion events.
inline constexpr int kCallbackCancelled = 0;
inline constexpr int kCallbackActivated = 1;
inline constexpr int kCallbackRecall = 2;

using kit::toFlag;
using kit::toInt;

using kit::joinFrom;

inline std::string truncated(const std::string& text) { return text.substr(0, kPartyTextLimit); }

// Names of the far ends that the simulator knows; the first four steer the outcome.
inline const std::map<std::string, std::string>& directory() {
    static const std::map<std::string, std::string> names = {
        {"2001", "Anna Berg"},  {"2002", "Ben Carter"},   {"2003", "Chris Dale"},
        {"2004", "Dana Evans"}, {"2005", "Erik Fischer"}, {"3003", "Front Desk"},
        {"8000", "Voice Mail"},
    };
    return names;
}

enum class Outcome { Answers, RingsOn, Busy, Rejects };

inline Outcome outcomeFor(const std::string& number) {
    if (number == "2002") return Outcome::RingsOn;
    if (number == "2003") return Outcome::Busy;
    if (number == "2004") return Outcome::Rejects;
    return Outcome::Answers;
}

// A call's state does not allow what was asked.
template <typename CallRecord>
inline std::string notInState(const CallRecord& call, const std::string& wanted) {
    const std::string_view state = desktop::simulator::callStateName(call.state);
    return "call " + std::to_string(call.id) + " on line " + call.line + " is " +
           std::string(state.empty() ? "in an unknown state" : state) + ", not " + wanted;
}

inline bool isActive(CallState state) {
    return state == CallState::connected || state == CallState::conferenced ||
           state == CallState::ringingBack || state == CallState::dialing;
}

} // namespace simulator::parts
