#pragma once

// Plain readings of the message envelope for the fuzzers to hold the library against:
// every rule spelled out step by step with byte loops, no library search or conversion.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>

namespace reference {

constexpr std::size_t kMissing = static_cast<std::size_t>(-1);

// First position at or after `from` where `needle` occurs in `text`; kMissing if none.
// The empty needle occurs at `from` itself.
inline std::size_t find(const std::string& text, const std::string& needle, std::size_t from = 0) {
    if (from > text.size()) return kMissing;
    for (std::size_t at = from; at + needle.size() <= text.size(); ++at) {
        std::size_t matched = 0;
        while (matched < needle.size() && text[at + matched] == needle[matched])
            ++matched;
        if (matched == needle.size()) return at;
    }
    return kMissing;
}

inline bool isCSpace(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\v' || byte == '\f' ||
           byte == '\r';
}

// strtol with base 10 on the phone's 32-bit long: white space, one sign, then digits up to
// the first other byte (a NUL included); no digits give 0; out-of-range values saturate.
inline long number(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size() && isCSpace(text[at]))
        ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
        negative = text[at] == '-';
        ++at;
    }
    constexpr std::int64_t kBeyondRange = std::int64_t{1} << 40;
    std::int64_t magnitude = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        magnitude = std::min(magnitude * 10 + (text[at] - '0'), kBeyondRange);
    }
    const std::int64_t value = negative ? -magnitude : magnitude;
    return static_cast<long>(std::clamp<std::int64_t>(value, INT32_MIN, INT32_MAX));
}

// The proxy reads answers with the end tag searched from position 0; the value length is
// the smaller of what is left and (end - value) in unsigned arithmetic, which wraps when
// the end tag is missing or stands before the value.
inline std::string proxyText(const std::string& startTag, const std::string& message,
                             const std::string& endTag) {
    const std::size_t start = find(message, startTag);
    if (start == kMissing) return "";
    const std::size_t value = start + startTag.size();
    const std::size_t end = find(message, endTag);
    const std::size_t length = std::min(message.size() - value, end - value);
    return message.substr(value, length);
}

inline long proxyNumber(const std::string& startTag, const std::string& message,
                        const std::string& endTag) {
    if (find(message, startTag) == kMissing) return -1;
    return number(proxyText(startTag, message, endTag));
}

// The invoker reads events with the end tag searched after the start tag; a field with
// either tag missing reads as "" or -1.
inline bool invokerField(const std::string& startTag, const std::string& message,
                         const std::string& endTag, std::string& value) {
    const std::size_t start = find(message, startTag);
    if (start == kMissing) return false;
    const std::size_t first = start + startTag.size();
    const std::size_t end = find(message, endTag, first);
    if (end == kMissing) return false;
    value = message.substr(first, end - first);
    return true;
}

inline std::string invokerText(const std::string& startTag, const std::string& message,
                               const std::string& endTag) {
    std::string value;
    return invokerField(startTag, message, endTag, value) ? value : "";
}

inline long invokerNumber(const std::string& startTag, const std::string& message,
                          const std::string& endTag) {
    std::string value;
    return invokerField(startTag, message, endTag, value) ? number(value) : -1;
}

// The result code of a bare answer word, compared whole.
inline int result(const std::string& answer) {
    if (answer == "sfiSuccess") return 5;
    if (answer == "sfiFailureCallBackInvalidState") return 1;
    if (answer == "sfiFailureCallBackNoCallInfo") return 2;
    if (answer == "sfiFailureCallBackToMany") return 3;
    if (answer == "sfiFailureCallBackAllreadyExists") return 4;
    return 0;
}

inline std::string printable(const std::string& text) {
    std::string shown;
    for (const char byte : text) {
        const auto code = static_cast<unsigned char>(byte);
        if (code >= 0x20 && code < 0x7F && byte != '\\') {
            shown.push_back(byte);
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02X", code);
            shown.append(escaped);
        }
    }
    return shown;
}

// A disagreement is a finding: report both sides and stop, so libFuzzer keeps the input.
template <typename Value> std::string shown(const Value& value) {
    if constexpr (std::is_convertible_v<Value, std::string>) {
        return "\"" + printable(value) + "\"";
    } else {
        return std::to_string(value);
    }
}

template <typename Actual, typename Expected>
void expectEqual(const Actual& actual, const Expected& expected, const std::string& what) {
    if (actual == expected) return;
    std::fprintf(stderr, "MISMATCH in %s\n  library:   %s\n  reference: %s\n", what.c_str(),
                 shown(actual).c_str(), shown(expected).c_str());
    std::abort();
}

} // namespace reference
