#pragma once

// One interface for finding the fields of events and answers and for writing requests,
// built on either of two readers: the plain rules (src/rules), which say what every text
// means, and the fast reader (src/fast), which gives the same answers with fewer
// instructions. COMMS_READER_FAST picks the one the plug-in is built on; the tests and
// the fuzzers link both and hold the fast one to the rules.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Where the value of an element lies in a text. An element that was not found may still
// hold a `value`; only `found` tells. A plain pair, left unset where it is declared: the
// readers write every span they are given.
struct ElementSpan {
    std::size_t value;
    std::size_t end;

    bool found() const { return end != std::string_view::npos; }
};

// An element that is not in the text.
inline constexpr ElementSpan kNotFound{std::string_view::npos, std::string_view::npos};

// The value of a located element: "" when it is not found.
inline std::string_view valueOf(std::string_view text, ElementSpan span) {
    return span.found() ? text.substr(span.value, span.end - span.value) : std::string_view();
}

// One argument of a request as the writer takes it.
struct Argument {
    std::string_view text; // texts, state names and payloads
    int number = 0;        // numbers and flags
    bool missing = false;  // a null C string
};

// The rows of events::all that a method name selects, one bit each.
using RouteSet = std::uint32_t;

namespace rules {
#include "ReaderFunctions.h"
} // namespace rules

namespace fast {
#include "ReaderFunctions.h"
} // namespace fast

#if COMMS_READER_FAST
namespace reader = fast;
#else
namespace reader = rules;
#endif

// Its number as strtol32 reads it: -1 when it is not found.
inline long numberOf(std::string_view text, ElementSpan span) {
    return span.found() ? reader::decimal(valueOf(text, span)) : -1;
}
