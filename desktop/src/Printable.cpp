#include "CommunicationsService/desktop/Printable.h"

#include <cstdio>

namespace desktop {

namespace {

// The length of the well-formed UTF-8 sequence at the start of the text (overlong forms,
// surrogates and code points past U+10FFFF are not), or 0.
std::size_t utf8Length(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xbf;
    if (lead >= 0xc2 && lead <= 0xdf) {
        length = 2;
    } else if (lead >= 0xe0 && lead <= 0xef) {
        length = 3;
        if (lead == 0xe0) low = 0xa0;
        if (lead == 0xed) high = 0x9f;
    } else if (lead >= 0xf0 && lead <= 0xf4) {
        length = 4;
        if (lead == 0xf0) low = 0x90;
        if (lead == 0xf4) high = 0x8f;
    } else {
        return 0;
    }
    if (text.size() < length || byte(1) < low || byte(1) > high) return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if (byte(i) < 0x80 || byte(i) > 0xbf) return 0;
    }
    return length;
}

void appendEscape(std::string& out, const char* format, unsigned value) {
    char escape[8];
    std::snprintf(escape, sizeof escape, format, value);
    out += escape;
}

std::string escape(std::string_view text, bool keepLayout) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c < 0x7f) {
            if (c == '\\' && !keepLayout) out += '\\';
            out += static_cast<char>(c);
            ++i;
        } else if (c < 0x80) {
            if (keepLayout && (c == '\n' || c == '\t')) {
                out += static_cast<char>(c);
            } else if (c == '\n') {
                out += "\\n";
            } else if (c == '\t') {
                out += "\\t";
            } else if (c == '\r') {
                out += "\\r";
            } else {
                appendEscape(out, "\\x%02x", c);
            }
            ++i;
        } else if (const std::size_t length = utf8Length(text.substr(i)); length == 0) {
            appendEscape(out, "\\x%02x", c);
            ++i;
        } else if (c == 0xc2 && static_cast<unsigned char>(text[i + 1]) < 0xa0) {
            // U+0080 to U+009F: the C1 controls, which some terminals obey.
            appendEscape(out, "\\u%04x", static_cast<unsigned char>(text[i + 1]));
            i += 2;
        } else {
            out.append(text.substr(i, length));
            i += length;
        }
    }
    return out;
}

} // namespace

std::string printable(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return escape(text, false);
    // Not in the middle of a UTF-8 sequence: the cut would show as a stray byte.
    std::size_t cut = limit;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xc0) == 0x80 && limit - cut < 3)
        --cut;
    return escape(text.substr(0, cut), false) + "... (" + std::to_string(text.size()) + " bytes)";
}

std::string terminalSafe(std::string_view text) { return escape(text, true); }

bool validUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        if (static_cast<unsigned char>(text[i]) < 0x80) {
            ++i;
        } else if (const std::size_t length = utf8Length(text.substr(i)); length != 0) {
            i += length;
        } else {
            return false;
        }
    }
    return true;
}

} // namespace desktop
