#include "Recorder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "Record.h"

namespace simulator {

namespace {

// The file descriptor of the path, made new unless `append`; -1 and errno on failure.
int open(const std::string& path, bool append) {
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (append ? O_APPEND : O_EXCL);
    return ::open(path.c_str(), flags, 0644);
}

} // namespace

Recorder::Recorder(std::string recordPath, bool append, Report reporter)
    : path(std::move(recordPath)), report(std::move(reporter)) {
    descriptor = open(path, append);
    if (descriptor >= 0) return;
    if (errno == EEXIST) {
        throw std::runtime_error("--record " + path +
                                 " exists; it is left as it is (--record-append adds to it)");
    }
    fail("cannot open");
}

Recorder::~Recorder() {
    if (descriptor >= 0) ::close(descriptor);
}

void Recorder::fail(const std::string& what) {
    report("recording to " + path + " stopped: " + what + ": " + std::strerror(errno) +
           "; the service goes on without it");
    if (descriptor >= 0) ::close(descriptor);
    descriptor = -1;
}

void Recorder::write(const Traffic& traffic) {
    if (descriptor < 0) return;
    kit::record::Entry entry;
    const desktop::wire::Frame& frame = traffic.frame;
    switch (traffic.happening) {
    case Traffic::Happening::connected:
        entry.kind = std::string(kit::record::kConnect);
        break;
    case Traffic::Happening::disconnected:
        entry.kind = std::string(kit::record::kDisconnect);
        entry.text = frame.text;
        break;
    case Traffic::Happening::received:
    case Traffic::Happening::sent:
        entry = kit::record::describeFrame(frame, traffic.question);
        entry.direction = traffic.happening == Traffic::Happening::received ? "in" : "out";
        entry.id = frame.id;
        entry.channel = frame.channel;
        break;
    }
    entry.time = traffic.time;
    entry.client = traffic.client;
    const std::string line = kit::record::toLine(entry) + "\n";
    for (std::size_t written = 0; written < line.size();) {
        const ssize_t count = ::write(descriptor, line.data() + written, line.size() - written);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            if (count == 0) errno = ENOSPC;
            return fail("cannot write");
        }
        written += static_cast<std::size_t>(count);
    }
}

} // namespace simulator
