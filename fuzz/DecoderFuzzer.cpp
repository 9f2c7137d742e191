// comms-decode's reading of one input line, whatever its bytes: a raw text, a result word
// or a line of a record, and both of its printed forms, neither of which holds a byte that
// could steer a terminal.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Check.h"
#include "Decoder.h"

namespace {

// The offset of the first control character (C0 but the line end, DEL, C1) in the text, or
// its size when it has none.
std::size_t firstControl(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const bool c1 =
            c == 0xc2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xa0;
        if ((c < 0x20 && c != '\n') || c == 0x7f || c1) return i;
    }
    return text.size();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static decode::Decoder decoder;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const decode::Decoded decoded = decoder.line(text, 1);
    const std::string printed = decode::toText(decoded);
    check::equal(firstControl(printed), printed.size(), "a control character in " + printed);
    const std::string json = decode::toJson(decoded);
    check::equal(json.find_first_not_of(" !\"#$%&'()*+,-./0123456789:;<=>?@"
                                        "ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
                                        "abcdefghijklmnopqrstuvwxyz{|}~"),
                 std::string::npos, "a byte past printable ASCII in " + json);
    return 0;
}
