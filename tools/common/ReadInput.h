#pragma once

// Reading a script whole, for the kit's programs: from a file, a FIFO or standard input,
// never more than a bound, never waiting for good on a FIFO that nobody writes to.

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <string>

namespace kit {

constexpr std::size_t kMaxScriptBytes = 16u << 20;

// The whole input of the path, or of standard input when the path is empty. Throws
// std::runtime_error naming the input and why it cannot be had: it cannot be opened or
// read, it holds more than `limit` bytes, or it is a FIFO that no writer opened within
// `writerWait`.
inline std::string readInput(const std::string& path, std::chrono::milliseconds writerWait,
                             std::size_t limit = kMaxScriptBytes) {
    const std::string name = path.empty() ? std::string("standard input") : path;
    const auto failure = [&](const std::string& why) {
        return std::runtime_error("cannot read " + name + ": " + why);
    };
    const int descriptor =
        path.empty() ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) throw failure(std::strerror(errno));
    struct Closer {
        int descriptor;
        bool owned;
        ~Closer() {
            if (owned) close(descriptor);
        }
    } closer{descriptor, !path.empty()};
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode) && !path.empty()) {
        pollfd writer{descriptor, POLLIN, 0};
        const int ready = poll(&writer, 1, static_cast<int>(writerWait.count()));
        if (ready == 0) {
            throw failure("it is a FIFO and nothing was written to it within " +
                          std::to_string(writerWait.count()) + " ms");
        }
    }
    if (!path.empty()) fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    std::string text;
    char piece[64 * 1024];
    for (;;) {
        const ssize_t got = read(descriptor, piece, sizeof piece);
        if (got == 0) return text;
        if (got < 0) {
            if (errno == EINTR) continue;
            throw failure(std::strerror(errno));
        }
        if (text.size() + static_cast<std::size_t>(got) > limit) {
            throw failure("it holds more than the limit of " + std::to_string(limit) + " bytes");
        }
        text.append(piece, static_cast<std::size_t>(got));
    }
}

} // namespace kit
