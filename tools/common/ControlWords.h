#pragma once

// The words of control commands, emitted events and options that the kit's programs read
// alike: whole numbers and flags.

#include <charconv>
#include <optional>
#include <string>
#include <string_view>

#include "CommunicationsService/protocol/Description.h"

namespace kit {

// The whole word as a number of the type; nothing when it is not one or does not fit.
template <typename Number> std::optional<Number> toNumber(std::string_view word) {
    Number value{};
    const char* end = word.data() + word.size();
    const auto parsed = std::from_chars(word.data(), end, value);
    if (word.empty() || parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return value;
}

inline std::optional<int> toInt(std::string_view word) { return toNumber<int>(word); }

inline std::optional<bool> toFlag(const std::string& word) {
    namespace protocol = CommunicationsService::protocol;
    if (word == "1" || word == "on" || word == protocol::kTrueWord || word == "yes") return true;
    if (word == "0" || word == "off" || word == protocol::kFalseWord || word == "no") return false;
    return std::nullopt;
}

} // namespace kit
