#pragma once

// The fast reader's machinery: one-pass scans over pools of names laid out at compile time.

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

#include "Reader.h"

namespace fast {

// ---------------------------------------------------------------------------------------
// One contract covers all of it: each function of the reader gives what the plain rules
// give for the same arguments. The tests and the fuzzers hold it to that.
//
// The tricks, each named once; the benchmarks' report gives what each saves:
// - one pass: every '<' of the text is looked at once, instead of one search from the
//   start per field;
// - openings in blocks, where there is SSE2 (x86-64): the '<' of an event are found 64
//   bytes at a time as a bit mask, the way simdjson finds the structural characters of
//   JSON, so that the places of the tags are known before any of them is compared and the
//   compares do not wait on one another; elsewhere (the phone's armhf core) and in the
//   other searches, memchr;
// - expected order: the service begins an event with its method element and writes the
//   fields in the order a handler reads them, each element's end tag followed at once by
//   the next one's start tag. The names of a scan lie in their pool as that text with
//   empty values ("<a></a><b></b>"), so while the first '<' behind each value starts
//   the bytes that stand between it and the next value ("</a><b>"), one compare settles
//   the element and opens the next; the fields are looked for behind the method element;
// - last element: when one element is left, only its own tags are looked for, its end
//   tag by its name's first byte, which the long values that end an event (XML
//   documents) hold more rarely than '<' or '/';
// - word compare: names, method names and the bytes between values are compared eight
//   bytes at a time with the text, from a pool that may be read a word past its end,
//   instead of calls of memcmp;
// - word copy: the request writer copies short pieces as two overlapping words instead
//   of calls of memcpy;
// - in-place numbers: decimal32 reads a number where it stands instead of converting a
//   copy of it;
// - first byte: the invoker finds the handlers whose method name begins with the name's
//   first byte in a table made at compile time, and compares only those, each at its
//   last byte first, until one matches (no method name begins with another).
// ---------------------------------------------------------------------------------------

// Word copy: copies `piece` to `out` and gives the end of the copy. Short pieces, as tags
// and most values are, go as two overlapping words; only long ones cost a call of memcpy
// (which must never see the null pointer that an empty view may hold).
inline char* copyShort(char* out, std::string_view piece) {
    const char* const from = piece.data();
    const std::size_t size = piece.size();
    const auto copyWords = [&](auto word) {
        std::memcpy(&word, from, sizeof word);
        std::memcpy(out, &word, sizeof word);
        std::memcpy(&word, from + size - sizeof word, sizeof word);
        std::memcpy(out + size - sizeof word, &word, sizeof word);
    };
    if (size > 16)
        std::memcpy(out, from, size);
    else if (size >= 8)
        copyWords(std::uint64_t{});
    else if (size >= 4)
        copyWords(std::uint32_t{});
    else
        for (std::size_t i = 0; i < size; ++i)
            out[i] = from[i];
    return out + size;
}

// In-place numbers: strtol32 on `digits` where they stand. Conversion stops at the first byte that
// is not part of the number, a NUL included.
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

// Word compare: texts compared eight bytes at a time.

inline std::uint64_t loadWord(const char* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline std::uint32_t loadHalf(const char* bytes) {
    std::uint32_t half;
    std::memcpy(&half, bytes, sizeof half);
    return half;
}

// The first `count` (1 to 8) bytes of a word as it was read from memory.
inline std::uint64_t leadingBytes(std::size_t count) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return ~std::uint64_t{0} >> (64 - 8 * count);
#else
    return ~std::uint64_t{0} << (64 - 8 * count);
#endif
}

// Whether the `size` bytes at `at` are those of `bytes`, where a word can be read at both
// from every offset below `size` (the text holds at least eight bytes behind `at`).
inline bool sameWords(const char* at, const char* bytes, std::size_t size) {
    if (size <= 8) return ((loadWord(at) ^ loadWord(bytes)) & leadingBytes(size)) == 0;
    // The first and the last word at once, then the words between.
    if (((loadWord(at) ^ loadWord(bytes)) |
         (loadWord(at + size - 8) ^ loadWord(bytes + size - 8))) != 0)
        return false;
    for (std::size_t offset = 8; offset + 8 < size; offset += 8) {
        if (loadWord(at + offset) != loadWord(bytes + offset)) return false;
    }
    return true;
}

// Whether the `size` bytes at `bytes`, which lie in a pool of names, stand at `at`, with
// `end` the end of the text.
inline bool sameBytes(const char* at, const char* bytes, std::size_t size, const char* end) {
    const auto room = static_cast<std::size_t>(end - at);
    if (room >= 8 && room >= size) return sameWords(at, bytes, size);
    // Near the end of the text, where a whole word cannot be read: up to seven bytes, as
    // two halves that overlap.
    if (room < size) return false;
    if (size >= 4) {
        return loadHalf(at) == loadHalf(bytes) &&
               loadHalf(at + size - 4) == loadHalf(bytes + size - 4);
    }
    for (std::size_t i = 0; i < size; ++i) {
        if (at[i] != bytes[i]) return false;
    }
    return true;
}

// bytes stand behind the name's '>': its end tag and the next name's start tag, in the
// order the service writes them ("</a><b>"), or only its end tag for the last name.
struct ElementName {
    std::uint16_t offset = 0;
    std::uint8_t size = 0;
    std::uint16_t following = 0;
};

// The names one scan looks for. Names must be non-empty, hold no '<' or '>' (so that no
// tag begins inside another), not begin with '/', and be distinct; every tag of the
// service keeps to that. In the pool each name is followed by '>', so that a name and the
// end of its tag are compared as one, and the pool can be read eight bytes past its end.
// For findElements the names lie in the pool as NamePool::elements lays them out.
struct ElementNames {
    const char* pool;
    const ElementName* names;
    std::size_t count;
};

// Whether a name keeps to the rules of ElementNames.
constexpr bool usableElementName(std::string_view name) {
    return !name.empty() && name.size() <= 255 && name.front() != '/' &&
           name.find_first_of("<>") == std::string_view::npos;
}

// The bytes an event scan's name takes in its pool: "<a></a>".
constexpr std::size_t elementBytes(std::string_view name) { return 2 * name.size() + 5; }

// Writes "<a></a>" for `name` at `out`, which lies at `offset` of its pool, and describes
// it; `next` is the name the service writes after it, empty for the last.
constexpr ElementName layOutElement(std::string_view name, std::string_view next, char* out,
                                    std::size_t offset) {
    std::size_t at = 0;
    for (const std::string_view piece :
         {std::string_view("<"), name, std::string_view("></"), name, std::string_view(">")}) {
        for (const char byte : piece)
            out[at++] = byte;
    }
    return {static_cast<std::uint16_t>(offset + 1), static_cast<std::uint8_t>(name.size()),
            static_cast<std::uint16_t>(name.size() + 3 + (next.empty() ? 0 : next.size() + 2))};
}

// A pool built at compile time from the names of a description. `Capacity` bounds the
// bytes the names take: an answer name and its '>', an event scan's name as "<a></a>".
template <std::size_t Capacity> struct NamePool {
    char bytes[Capacity + 8] = {};
    std::size_t size = 0;

    // Any text, such as a method name.
    constexpr ElementName add(std::string_view name) { return place(name, name.size()); }

    // A name of the answer scan, which must keep to the scans' rules; it is followed by '>'.
    constexpr ElementName answerName(std::string_view name) {
        if (!usableElementName(name)) throw "unusable element name";
        return place(name, name.size() + 1);
    }

    // The names of an event scan in the order the service writes them, laid out as that
    // text with empty values: "<a></a><b></b>".
    constexpr void elements(const std::string_view* names, std::size_t count, ElementName* out) {
        for (std::size_t i = 0; i < count; ++i) {
            if (!usableElementName(names[i])) throw "unusable element name";
            if (size + elementBytes(names[i]) > Capacity || size + elementBytes(names[i]) > 0xFFFF)
                throw "the pool is too small";
            out[i] = layOutElement(names[i], i + 1 < count ? names[i + 1] : std::string_view(),
                                   bytes + size, size);
            size += elementBytes(names[i]);
        }
    }

    constexpr std::string_view text(ElementName name) const {
        return std::string_view(bytes + name.offset, name.size);
    }

private:
    // The name's bytes, and '>' when `stored` is one more.
    constexpr ElementName place(std::string_view name, std::size_t stored) {
        if (name.empty() || name.size() > 255) throw "unusable element name";
        if (size + stored > Capacity || size > 0xFFFF) throw "the pool is too small";
        const std::size_t at = size;
        for (std::size_t i = 0; i < stored; ++i)
            bytes[size++] = i < name.size() ? name[i] : '>';
        return {static_cast<std::uint16_t>(at), static_cast<std::uint8_t>(name.size())};
    }
};

} // namespace fast
