#pragma once

// The framing between a client's framework host and the service process on a
// Unix-domain stream socket. Every frame is a 4-byte big-endian body size followed by
// the body: kind (1 byte), id (4 bytes, big-endian), channel size (4 bytes, big-endian),
// channel, text. Texts are carried byte for byte, zero bytes included.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace desktop::wire {

enum class FrameKind : char {
    Protocol = 'P',  // client: selects the service protocol named by the text
    Request = 'R',   // client: request text; the service answers with the same id
    Subscribe = 'S', // client: subscription request for the channel; answered like a request
    OneWay = 'O',    // client: message text; never answered
    Control = 'C',   // client: command to a simulator; answered like a request
    Answer = 'A',    // service: answer text for the request with the same id; its channel
                     // field says why the service refused the request, if it did
    Event = 'E',     // service: event text for the subscriber on the channel
};

struct Frame {
    FrameKind kind = FrameKind::Request;
    std::uint32_t id = 0;
    std::string channel;
    std::string text;
};

constexpr std::size_t kHeaderSize = 4;
// Far above any message of the protocol; a larger size means the stream is not ours.
constexpr std::uint32_t kMaxBodySize = 4u << 20;

// The whole frame, header included.
std::string encode(const Frame& frame);

// Why the frame cannot be sent, naming its size and the limit; empty when it fits. Both
// sides check before sending, so that what is too big is refused where it is made.
std::string sizeProblem(const Frame& frame);

// The body size announced by a header of kHeaderSize bytes.
std::uint32_t bodySize(const unsigned char* header);

// Reads a body; on failure returns nothing and says in error what was wrong.
std::optional<Frame> decode(std::string_view body, std::string& error);

// Where the service simulator listens unless told otherwise: comms-simulator.sock in
// $XDG_RUNTIME_DIR, or in /tmp when that is not set.
std::string defaultSocketPath();

// A readable name of the kind for log lines ("request", "event", ...).
const char* kindName(FrameKind kind);

// The name with its article: "a request", "an event".
std::string kindWithArticle(FrameKind kind);

} // namespace desktop::wire
