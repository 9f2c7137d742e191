#pragma once

// Text that came from a peer (a client, the service, a script) made safe to print in a
// log line or on a terminal, so that it can neither forge a line nor steer the terminal.

#include <cstddef>
#include <string>
#include <string_view>

namespace desktop {

// How long a peer's value may be in a log line or on a terminal before it is cut.
constexpr std::size_t kPrintLimit = 200;

// The text as one line: control characters (C0, DEL and C1), backslashes and bytes that are
// not UTF-8 become escapes (\n, \t, \\, \x1b, \u009b); past `limit` bytes of the text the
// rest is left out and the whole text's length is given instead: "abc... (1048576 bytes)".
std::string printable(std::string_view text, std::size_t limit = kPrintLimit);

// The text for a terminal, keeping its line breaks, tabs and backslashes: only what could
// steer the terminal (other control characters, bytes that are not UTF-8) is escaped.
std::string terminalSafe(std::string_view text);

// Whether the text is well-formed UTF-8 (no overlong forms, surrogates or code points past
// U+10FFFF), as a JSON text must be.
bool validUtf8(std::string_view text);

} // namespace desktop
