// The framing between host and simulator, in both directions, and the escaping of a peer's
// text for logs and terminals. A stream of bytes is read frame by frame as a reader does:
// every body it accepts must encode back to exactly the bytes it came from. A frame built
// from arbitrary parts must come back whole. Escaped text must hold nothing a terminal
// obeys.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "Check.h"
#include "CommunicationsService/desktop/Printable.h"
#include "CommunicationsService/desktop/Wire.h"

namespace {

namespace wire = desktop::wire;

void readStream(const std::string& stream) {
    std::size_t at = 0;
    while (stream.size() - at >= wire::kHeaderSize) {
        const std::uint32_t size =
            wire::bodySize(reinterpret_cast<const unsigned char*>(stream.data() + at));
        at += wire::kHeaderSize;
        if (size > wire::kMaxBodySize || size > stream.size() - at) return;
        const std::string body = stream.substr(at, size);
        at += size;
        std::string problem;
        const std::optional<wire::Frame> frame = wire::decode(body, problem);
        if (!frame) {
            check::equal(problem.empty(), false, "a refused body says why");
            return;
        }
        check::equal(wire::encode(*frame).substr(wire::kHeaderSize), body, "body re-encoded");
        check::equal(wire::sizeProblem(*frame), std::string(), "a read frame fits the limit");
    }
}

void roundTrip(FuzzedDataProvider& input) {
    static constexpr char kKinds[] = {'P', 'R', 'S', 'O', 'C', 'A', 'E'};
    wire::Frame frame;
    frame.kind = static_cast<wire::FrameKind>(kKinds[input.ConsumeIntegralInRange<int>(0, 6)]);
    frame.id = input.ConsumeIntegral<std::uint32_t>();
    frame.channel = input.ConsumeRandomLengthString(64);
    frame.text = input.ConsumeRemainingBytesAsString();
    const std::string bytes = wire::encode(frame);
    const std::uint32_t size = wire::bodySize(reinterpret_cast<const unsigned char*>(bytes.data()));
    check::equal(std::size_t{size}, bytes.size() - wire::kHeaderSize, "announced size");
    check::equal(wire::sizeProblem(frame).empty(), size <= wire::kMaxBodySize, "size refused");
    if (size > wire::kMaxBodySize) return;
    std::string problem;
    const std::optional<wire::Frame> back = wire::decode(bytes.substr(wire::kHeaderSize), problem);
    check::equal(back.has_value(), true, "a written frame is read: " + problem);
    check::equal(static_cast<char>(back->kind), static_cast<char>(frame.kind), "kind");
    check::equal(back->id, frame.id, "id");
    check::equal(back->channel, frame.channel, "channel");
    check::equal(back->text, frame.text, "text");
}

// The code points of UTF-8 text, decoded by the book; nothing when it is not UTF-8
// (overlong forms, surrogates and values past U+10FFFF included).
std::optional<std::vector<char32_t>> decodeUtf8(const std::string& text) {
    std::vector<char32_t> points;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80       ? 1
                                   : lead >> 5 == 6  ? 2
                                   : lead >> 4 == 14 ? 3
                                   : lead >> 3 == 30 ? 4
                                                     : 0;
        if (length == 0 || i + length > text.size()) return std::nullopt;
        char32_t point = length == 1 ? lead : lead & (0x7f >> length);
        for (std::size_t k = 1; k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if (next >> 6 != 2) return std::nullopt;
            point = point << 6 | (next & 0x3f);
        }
        static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (point < kSmallest[length] || point > 0x10ffff || (point >= 0xd800 && point < 0xe000))
            return std::nullopt;
        points.push_back(point);
        i += length;
    }
    return points;
}

// Nothing a terminal obeys: UTF-8 only, without C0 or C1 controls or DEL.
void checkEscaped(const std::string& text, std::size_t limit) {
    const std::string shown = desktop::printable(text, limit);
    const std::optional<std::vector<char32_t>> points = decodeUtf8(shown);
    check::equal(points.has_value(), true, "UTF-8 shown for " + check::printable(text));
    for (const char32_t point : *points) {
        if (point < 0x20 || (point >= 0x7f && point < 0xa0))
            check::equal(check::printable(shown), std::string(), "a control shown");
    }
    if (text.size() <= limit) return;
    // Cut: at most four escaped bytes each, and the length said.
    check::equal(shown.size() <= 4 * limit + 32, true, "cut to the limit");
    const std::string said = "(" + std::to_string(text.size()) + " bytes)";
    check::equal(shown.compare(shown.size() - said.size(), said.size(), said), 0, "length said");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    switch (input.ConsumeIntegralInRange<int>(0, 2)) {
    case 0:
        readStream(input.ConsumeRemainingBytesAsString());
        break;
    case 1:
        roundTrip(input);
        break;
    default: {
        const std::size_t limit = input.ConsumeIntegralInRange<std::size_t>(0, 64);
        const std::string text = input.ConsumeRemainingBytesAsString();
        checkEscaped(text, limit);
        const std::string kept = desktop::terminalSafe(text);
        for (const char byte : kept) {
            const auto code = static_cast<unsigned char>(byte);
            if ((code < 0x20 && byte != '\n' && byte != '\t') || code == 0x7f)
                check::equal(kept, std::string(), "a control byte kept for the terminal");
        }
    }
    }
    return 0;
}
