#pragma once

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "CommunicationsService/CommunicationsServiceTypes.h"

// ---------------------------------------------------------------------------------------
// The rules of the message format. Everything else in this unit gives the same answers,
// faster.
// ---------------------------------------------------------------------------------------

// The result code of a bare answer word, compared whole; anything else is a failure (0).
int resultOf(std::string_view response);

// The wire name of a service state; "" for a value outside the enumeration.
std::string serialize(sfiServiceState state);
std::string_view serviceStateName(sfiServiceState state);

// strtol with base 10, saturated to the 32-bit range of the phone's long on every host.
long strtol32(const char* text);

// The proxy's reader of answers. The end tag is searched from position 0, not from the
// value: one that is missing or stands before the value lets the value run to the end.
std::string answerText(std::string_view startTag, std::string_view message,
                       std::string_view endTag);
// Its number: -1 when the start tag is missing, else strtol32 of the text above.
long answerNumber(std::string_view startTag, std::string_view message, std::string_view endTag);

// The invoker's reader of events. The end tag must follow the start tag, otherwise the
// field counts as missing ("").
std::string eventText(std::string_view startTag, std::string_view message, std::string_view endTag);
// Its number: -1 when either tag is missing, else strtol32 of the value.
long eventNumber(std::string_view startTag, std::string_view message, std::string_view endTag);

// ---------------------------------------------------------------------------------------
// Speed. One contract covers all of it: for every text, decimal32 gives what strtol32
// gives for the same bytes in a string of their own, and a span found by findElements
// (findAnswerFields) gives exactly what eventText and eventNumber (answerText and
// answerNumber) give for "<name>" and "</name>". Tests and the fuzzers hold it to that.
//
// The tricks, each named once:
// - one pass: every '<' of the text is looked at once (found with memchr), instead of
//   one search from the start per field;
// - expected order: the service writes the fields in the order a handler reads them,
//   so the name after the last one found is tried first, and its end tag is usually the
//   very next '<';
// - word compare: a tag name with its '>' is compared as its first and last eight bytes,
//   masked words built at compile time, instead of a call of memcmp.
// ---------------------------------------------------------------------------------------

// strtol32 on `digits` in place: conversion stops at the first byte that is not part of
// the number, a NUL included.
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

// Where the value of an element lies in a text. An element that was not found may still
// hold a `value`; only `found` tells.
struct ElementSpan {
    std::size_t value = std::string_view::npos;
    std::size_t end = std::string_view::npos;

    bool found() const { return end != std::string_view::npos; }
};

// The value of a located element: "" when it is not found.
inline std::string_view valueOf(std::string_view text, ElementSpan span) {
    return span.found() ? text.substr(span.value, span.end - span.value) : std::string_view();
}

// Its number as strtol32 reads it: -1 when it is not found.
inline long numberOf(std::string_view text, ElementSpan span) {
    return span.found() ? decimal32(valueOf(text, span)) : -1;
}

// An element name prepared for the word compare: the name with its '>' behind it as two
// masked words, its first and its last eight bytes (one word for short names).
struct ElementName {
    std::string_view text;
    std::uint64_t head = 0;
    std::uint64_t headMask = 0;
    std::uint64_t tail = 0;
    std::uint64_t tailMask = 0;
    std::size_t tailOffset = 0;
};

namespace element_words {

// The up to eight bytes of `name` and its '>' from `offset`, laid out as a word read from
// memory at that place would hold them.
constexpr std::uint64_t word(std::string_view name, std::size_t offset, bool mask) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < 8 && offset + i <= name.size(); ++i) {
        const auto byte =
            mask ? 0xFFu
                 : static_cast<unsigned char>(offset + i < name.size() ? name[offset + i] : '>');
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
        value |= std::uint64_t{byte} << (8 * i);
#else
        value |= std::uint64_t{byte} << (8 * (7 - i));
#endif
    }
    return value;
}

} // namespace element_words

// Element names must be non-empty and hold no '<' or '>' (so that no tag begins inside
// another), not begin with '/', and be distinct; every tag of the service keeps to that.
// A name that breaks a rule fails the build where the index is made at compile time.
constexpr ElementName elementName(std::string_view name) {
    if (name.empty() || name.front() == '/' || name.find_first_of("<>") != std::string_view::npos)
        throw "unusable element name";
    ElementName prepared;
    prepared.text = name;
    prepared.tailOffset = name.size() + 1 > 8 ? name.size() + 1 - 8 : 0;
    prepared.head = element_words::word(name, 0, false);
    prepared.headMask = element_words::word(name, 0, true);
    prepared.tail = element_words::word(name, prepared.tailOffset, false);
    prepared.tailMask = element_words::word(name, prepared.tailOffset, true);
    return prepared;
}

template <std::size_t N>
constexpr std::array<ElementName, N> elementNames(const std::array<std::string_view, N>& names) {
    std::array<ElementName, N> prepared{};
    for (std::size_t i = 0; i < N; ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (names[i] == names[j]) throw "duplicate element name";
        }
        prepared[i] = elementName(names[i]);
    }
    return prepared;
}

// A view of prepared names, so that one scanner serves every handler.
struct ElementNames {
    const ElementName* names;
    std::size_t count;
};

// Locates every element of `names` in one pass over an event and writes their spans
// (`spans` holds names.count entries), by the invoker's rules.
void findElements(std::string_view text, ElementNames names, ElementSpan* spans);

// Locates fields of one of the service's answers in one pass, by the proxy's rules.
void findAnswerFields(std::string_view answer, ElementNames names, ElementSpan* spans);
