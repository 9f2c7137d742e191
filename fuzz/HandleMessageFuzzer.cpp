// handleMessage on arbitrary bytes, against the straightforward delivery that reads the
// protocol description with the plain readers: the same callbacks with the same
// arguments, in the same order, and one notice.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "Check.h"
#include "CommunicationsService/testing/RecordingSubscriber.h"
#include "CommunicationsServiceEventInvoker.h"
#include "PlainInvoker.h"

namespace {

using communications::testing::RecordingSubscriber;

struct CountingResponse : InvokerResponse {
    void messageHandled() override { ++notified; }
    int notified = 0;
};

std::string describe(const RecordingSubscriber& subscriber) {
    std::ostringstream lines;
    for (const auto& call : subscriber.calls())
        lines << "\n    " << call;
    return check::printable(lines.str());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The framework hands over NUL-terminated texts; whatever follows a NUL is not seen.
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    RecordingSubscriber expected;
    plain::handleMessage(&expected, bytes.c_str(), nullptr);

    CommunicationsServiceEventInvoker invoker;
    RecordingSubscriber subscriber;
    CountingResponse response;
    invoker.handleMessage(&subscriber, bytes.c_str(), static_cast<int>(size), &response);
    if (subscriber.calls() != expected.calls()) {
        std::fprintf(stderr, "MISMATCH in the callbacks\n  library:%s\n  reference:%s\n",
                     describe(subscriber).c_str(), describe(expected).c_str());
        std::abort();
    }
    check::equal(response.notified, 1, "notifications of the response");
    return 0;
}
