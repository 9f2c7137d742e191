#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>

#include "CommunicationsService/desktop/Wire.h"

namespace kit {

// Reads exactly @p size bytes; false when the peer closes or a read fails first.
inline bool receiveAll(int descriptor, void* into, std::size_t size) {
    auto* bytes = static_cast<char*>(into);
    while (size > 0) {
        const ssize_t got = recv(descriptor, bytes, size, 0);
        if (got <= 0) return false;
        bytes += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

// A connection to the simulator that speaks the frames itself, for what no well-behaved
// host sends and for counting every frame that arrives. Every read gives up after ten
// seconds, so a lost frame fails a test instead of hanging it.
class RawSocket {
public:
    explicit RawSocket(const std::string& path) : descriptor(socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        connected = connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        timeval timeout{10, 0};
        setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    }
    ~RawSocket() { close(descriptor); }
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;

    bool send(const std::string& bytes) {
        return ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }
    bool send(const desktop::wire::Frame& frame) { return send(desktop::wire::encode(frame)); }

    // One frame; nothing when the peer closes or sends none in time.
    std::optional<desktop::wire::Frame> receive() {
        unsigned char header[desktop::wire::kHeaderSize];
        if (!receiveAll(header, sizeof header)) return std::nullopt;
        std::string body(desktop::wire::bodySize(header), '\0');
        if (!receiveAll(body.data(), body.size())) return std::nullopt;
        std::string problem;
        return desktop::wire::decode(body, problem);
    }

    std::optional<std::string> receiveText() {
        auto frame = receive();
        return frame ? std::optional<std::string>(frame->text) : std::nullopt;
    }

    // True once the peer has closed its end (a reset when it left our bytes unread).
    bool closedByPeer() {
        char byte = 0;
        const ssize_t got = recv(descriptor, &byte, 1, 0);
        return got == 0 || (got < 0 && errno == ECONNRESET);
    }

    bool connected = false;

private:
    bool receiveAll(void* into, std::size_t size) {
        return kit::receiveAll(descriptor, into, size);
    }

    int descriptor;
};

} // namespace kit
