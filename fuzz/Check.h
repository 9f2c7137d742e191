#pragma once

// A disagreement is a finding: both sides are printed and the harness stops, so that
// libFuzzer keeps the input.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>

namespace check {

inline std::string printable(const std::string& text) {
    std::string shown;
    for (const char byte : text) {
        const auto code = static_cast<unsigned char>(byte);
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\x%02X", code);
        shown += code >= 0x20 && code < 0x7F && byte != '\\' ? std::string(1, byte) : escaped;
    }
    return shown;
}

template <typename Value> std::string shown(const Value& value) {
    if constexpr (std::is_convertible_v<Value, std::string>)
        return "\"" + printable(value) + "\"";
    else
        return std::to_string(value);
}

template <typename Actual, typename Expected>
void equal(const Actual& actual, const Expected& expected, const std::string& what) {
    if (actual == expected) return;
    std::fprintf(stderr, "MISMATCH in %s\n  library:   %s\n  reference: %s\n", what.c_str(),
                 shown(actual).c_str(), shown(expected).c_str());
    std::abort();
}

} // namespace check
