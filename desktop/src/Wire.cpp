#include "CommunicationsService/desktop/Wire.h"

#include <cstdlib>

namespace desktop::wire {

namespace {

constexpr std::size_t kFixedBodySize = 1 + 4 + 4;

void appendNumber(std::string& out, std::uint32_t value) {
    out.push_back(static_cast<char>(value >> 24));
    out.push_back(static_cast<char>(value >> 16));
    out.push_back(static_cast<char>(value >> 8));
    out.push_back(static_cast<char>(value));
}

std::uint32_t readNumber(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | static_cast<std::uint32_t>(bytes[3]);
}

bool isKnownKind(char kind) {
    switch (static_cast<FrameKind>(kind)) {
    case FrameKind::Protocol:
    case FrameKind::Request:
    case FrameKind::Subscribe:
    case FrameKind::OneWay:
    case FrameKind::Control:
    case FrameKind::Answer:
    case FrameKind::Event:
        return true;
    }
    return false;
}

} // namespace

std::string encode(const Frame& frame) {
    const std::size_t size = kFixedBodySize + frame.channel.size() + frame.text.size();
    std::string out;
    out.reserve(kHeaderSize + size);
    appendNumber(out, static_cast<std::uint32_t>(size));
    out.push_back(static_cast<char>(frame.kind));
    appendNumber(out, frame.id);
    appendNumber(out, static_cast<std::uint32_t>(frame.channel.size()));
    out.append(frame.channel).append(frame.text);
    return out;
}

std::string sizeProblem(const Frame& frame) {
    const std::size_t size = kFixedBodySize + frame.channel.size() + frame.text.size();
    if (size <= kMaxBodySize) return {};
    return std::string(kindName(frame.kind)) + " of " + std::to_string(size) +
           " bytes is over the frame limit of " + std::to_string(kMaxBodySize) + " bytes";
}

std::string defaultSocketPath() {
    const char* runtimeDirectory = std::getenv("XDG_RUNTIME_DIR");
    const std::string directory =
        runtimeDirectory != nullptr && *runtimeDirectory != '\0' ? runtimeDirectory : "/tmp";
    return directory + "/comms-simulator.sock";
}

std::uint32_t bodySize(const unsigned char* header) { return readNumber(header); }

std::optional<Frame> decode(std::string_view body, std::string& error) {
    if (body.size() < kFixedBodySize) {
        error = "frame body of " + std::to_string(body.size()) + " bytes is shorter than the " +
                std::to_string(kFixedBodySize) + " bytes of its fixed part";
        return std::nullopt;
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(body.data());
    if (!isKnownKind(body[0])) {
        error = "unknown frame kind byte " + std::to_string(bytes[0]);
        return std::nullopt;
    }
    const std::uint32_t channelSize = readNumber(bytes + 5);
    if (channelSize > body.size() - kFixedBodySize) {
        error = "channel name of " + std::to_string(channelSize) + " bytes overruns the frame";
        return std::nullopt;
    }
    Frame frame;
    frame.kind = static_cast<FrameKind>(body[0]);
    frame.id = readNumber(bytes + 1);
    frame.channel = std::string(body.substr(kFixedBodySize, channelSize));
    frame.text = std::string(body.substr(kFixedBodySize + channelSize));
    return frame;
}

const char* kindName(FrameKind kind) {
    switch (kind) {
    case FrameKind::Protocol:
        return "protocol selection";
    case FrameKind::Request:
        return "request";
    case FrameKind::Subscribe:
        return "subscription";
    case FrameKind::OneWay:
        return "one-way message";
    case FrameKind::Control:
        return "control command";
    case FrameKind::Answer:
        return "answer";
    case FrameKind::Event:
        return "event";
    }
    return "unknown";
}

std::string kindWithArticle(FrameKind kind) {
    const bool vowel = kind == FrameKind::Answer || kind == FrameKind::Event;
    return std::string(vowel ? "an " : "a ") + kindName(kind);
}

} // namespace desktop::wire
