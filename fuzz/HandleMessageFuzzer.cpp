// handleMessage on arbitrary bytes: memory-safe, one notice, and one callback for each
// event that the plain rules say the method name selects. The fast reader's fields are
// held to the rules by the field readers' harness.

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Check.h"
#include "CommunicationsService/testing/RecordingSubscriber.h"
#include "CommunicationsServiceEventInvoker.h"
#include "Reader.h"

namespace {

struct CountingResponse : InvokerResponse {
    void messageHandled() override { ++notified; }
    int notified = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The framework hands over NUL-terminated texts; whatever follows a NUL is not seen.
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const std::string seen(bytes.c_str());
    std::size_t fields = 0;
    const RouteSet routes = rules::routesOf(valueOf(seen, rules::findMethod(seen, fields)));

    CommunicationsServiceEventInvoker invoker;
    communications::testing::RecordingSubscriber subscriber;
    CountingResponse response;
    invoker.handleMessage(&subscriber, bytes.c_str(), static_cast<int>(size), &response);
    check::equal(subscriber.calls().size(), std::bitset<32>(routes).count(), "callbacks made");
    check::equal(response.notified, 1, "notifications of the response");
    return 0;
}
