// comms-decode's reading of one input line, whatever its bytes: a raw text, a result word
// or a line of a record, and both of its printed forms.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Decoder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static decode::Decoder decoder;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const decode::Decoded decoded = decoder.line(text, 1);
    decode::toText(decoded);
    decode::toJson(decoded);
    return 0;
}
