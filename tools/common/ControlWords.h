#pragma once

// The words of control commands and emitted events that the simulator and the console
// read alike: whole numbers and flags.

#include <charconv>
#include <optional>
#include <string>

#include "CommunicationsService/protocol/Description.h"

namespace kit {

inline std::optional<int> toInt(const std::string& word) {
    int value = 0;
    const char* end = word.data() + word.size();
    const auto parsed = std::from_chars(word.data(), end, value);
    if (word.empty() || parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return value;
}

inline std::optional<bool> toFlag(const std::string& word) {
    namespace protocol = CommunicationsService::protocol;
    if (word == "1" || word == "on" || word == protocol::kTrueWord || word == "yes") return true;
    if (word == "0" || word == "off" || word == protocol::kFalseWord || word == "no") return false;
    return std::nullopt;
}

} // namespace kit
