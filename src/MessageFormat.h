#pragma once

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>

#include "CommunicationsService/CommunicationsServiceTypes.h"

// The result code of a bare answer word; anything unknown is a failure (0).
int resultOf(const std::string& response);

// The wire name of a service state; "" for a value outside the enumeration.
std::string serialize(sfiServiceState state);
// The same name without a string of its own.
std::string_view serviceStateName(sfiServiceState state);

// strtol with base 10, saturated to the 32-bit range of the phone's long on every host.
long strtol32(const char* text);

// strtol32 on the bytes of `digits` as if they were copied into a string of their own:
// conversion stops at the first byte that is not part of the number, a NUL included.
// Inline, as events and answers convert their numbers in place, several to a message.
inline long decimal32(std::string_view digits) {
    const char* at = digits.data();
    const char* const end = at + digits.size();
    bool negative = false;
    // strtol skips what the current locale calls white space, which never takes in a digit.
    if (at != end && (*at < '0' || *at > '9')) {
        while (at != end && std::isspace(static_cast<unsigned char>(*at)) != 0)
            ++at;
        if (at != end && (*at == '+' || *at == '-')) {
            negative = *at == '-';
            ++at;
        }
    }
    // Past 2^32 every value saturates alike, so the magnitude stops growing there.
    constexpr std::uint64_t kSaturated = std::uint64_t{1} << 32;
    std::uint64_t magnitude = 0;
    for (; at != end && *at >= '0' && *at <= '9'; ++at) {
        if (magnitude < kSaturated) magnitude = magnitude * 10 + static_cast<unsigned>(*at - '0');
    }
    const auto value = static_cast<std::int64_t>(magnitude);
    return static_cast<long>(std::clamp<std::int64_t>(negative ? -value : value,
                                                      std::numeric_limits<std::int32_t>::min(),
                                                      std::numeric_limits<std::int32_t>::max()));
}

// Where the value of an element lies in a text, as findElements or findAnswerFields found
// it. An element that was not found may still hold a `value`; only `found` tells.
struct ElementSpan {
    std::size_t value = std::string_view::npos;
    std::size_t end = std::string_view::npos;

    bool found() const { return end != std::string_view::npos; }
};

// The element names one event handler reads, indexed by their first byte. Names must be
// distinct and non-empty, hold no '<' or '>' and not begin with '/' (every tag of the service
// keeps to that); up to kMaxNames of them.
class ElementNames {
public:
    static constexpr std::size_t kMaxNames = 32;
    static constexpr std::size_t kNone = 0xFF;

    // Throws std::invalid_argument for names that break the rules above.
    ElementNames(const std::string_view* names, std::size_t count);
    ElementNames(std::initializer_list<std::string_view> names)
        : ElementNames(names.begin(), names.size()) {}

    std::size_t size() const { return count; }
    std::size_t length(std::size_t index) const { return names[index].text.size(); }
    // The first name beginning with `byte`, then the next one after `index`; kNone at the end.
    std::size_t firstWith(char byte) const { return firstByByte[static_cast<unsigned char>(byte)]; }
    std::size_t nextWith(std::size_t index) const { return nextSameByte[index]; }
    // Whether name `index` followed by '>' stands at `at`, with `end` the end of the text.
    bool standsAt(std::size_t index, const char* at, const char* end) const;

private:
    bool standsNearEnd(std::size_t index, const char* at, const char* end) const;

    // A name with the '>' behind it as two masked words, its first and its last eight bytes
    // (the same word for short names), so that most names compare in two word reads.
    struct Name {
        std::string_view text;
        std::uint64_t head;
        std::uint64_t headMask;
        std::uint64_t tail;
        std::uint64_t tailMask;
        std::size_t tailOffset;
    };

    Name names[kMaxNames];
    std::uint8_t firstByByte[256];
    std::uint8_t nextSameByte[kMaxNames];
    std::size_t count;
};

// Locates every element of `names` in one pass over the text and writes their spans
// (`spans` holds names.size() entries). Gives exactly what the invoker's member readers give
// for "<name>" and "</name>", for any text: every '<' is a possible tag start, looked at
// once and compared only with the names that begin with the byte after it.
void findElements(std::string_view text, const ElementNames& names, ElementSpan* spans);

// Locates fields of one of the service's answers in one pass, by the proxy's rules: the
// value starts behind the first "<name>" and runs to the first "</name>" anywhere in the
// answer, or to the end of the answer when that end tag is missing or stands before the
// value. A field whose start tag is missing is not found. Gives what the proxy's member
// readers give for "<name>" and "</name>".
void findAnswerFields(std::string_view answer, const ElementNames& names, ElementSpan* spans);

// The value of a located element or field: "" when it is not found.
inline std::string_view valueOf(std::string_view text, ElementSpan span) {
    return span.found() ? text.substr(span.value, span.end - span.value) : std::string_view();
}

// Its number as strtol32 reads it: -1 when it is not found.
inline long numberOf(std::string_view text, ElementSpan span) {
    return span.found() ? decimal32(valueOf(text, span)) : -1;
}
