#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "CommunicationsServiceTypes.h"

// The result code of a bare answer word; anything unknown is a failure (0).
int resultOf(const std::string& response);

// The wire name of a service state; "" for a value outside the enumeration.
std::string serialize(sfiServiceState state);

// strtol with base 10, saturated to the 32-bit range of the phone's long on every host.
long strtol32(const char* text);

// strtol32 on the bytes of `digits` as if they were copied into a string of their own:
// conversion stops at the first byte that is not part of the number, a NUL included.
long decimal32(std::string_view digits);

// Fields of the service's answers, read without building tag strings. Same rules as the
// proxy's member readers: the end tag is searched from position 0, and an end tag that is
// missing or stands before the value lets the value run to the end of the answer.
std::string_view answerText(std::string_view answer, std::string_view startTag,
                            std::string_view endTag);
// -1 when the start tag is missing, otherwise decimal32 of answerText.
long answerNumber(std::string_view answer, std::string_view startTag, std::string_view endTag);

// Where an element of an event text lies: the value starts right behind the first "<name>"
// and ends at the first "</name>" after it. Both are npos when either tag is missing.
struct ElementSpan {
    std::size_t value = std::string_view::npos;
    std::size_t end = std::string_view::npos;

    bool found() const { return end != std::string_view::npos; }
};

// The element names one event handler reads, indexed by their first byte. Names must be
// distinct and non-empty, hold no '<' and not begin with '/' (every tag of the service
// keeps to that); up to kMaxNames of them.
class ElementNames {
public:
    static constexpr std::size_t kMaxNames = 32;
    static constexpr std::size_t kNone = 0xFF;

    // Throws std::invalid_argument for names that break the rules above.
    ElementNames(const std::string_view* names, std::size_t count);

    std::size_t size() const { return count; }
    std::size_t length(std::size_t index) const { return names[index].text.size(); }
    // The first name beginning with `byte`, then the next one after `index`; kNone at the end.
    std::size_t firstWith(char byte) const { return firstByByte[static_cast<unsigned char>(byte)]; }
    std::size_t nextWith(std::size_t index) const { return nextSameByte[index]; }
    // Whether name `index` followed by '>' stands at `at`, with `end` the end of the text.
    bool standsAt(std::size_t index, const char* at, const char* end) const;

private:
    bool standsNearEnd(std::size_t index, const char* at, const char* end) const;

    // A name and its first and last eight bytes with the '>' behind it, for comparing whole
    // words: most names need one or two word comparisons.
    struct Name {
        std::string_view text;
        std::uint64_t head;
        std::uint64_t headMask;
        std::uint64_t tail;
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

// The invoker's readings of a located element: "" or -1 when it is missing.
std::string elementText(std::string_view text, ElementSpan span);
long elementNumber(std::string_view text, ElementSpan span);
