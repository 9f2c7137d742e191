// Handles a sample event, or makes a request, a given number of times, so that two runs
// give the instructions one call costs (under single-stepping qemu on armhf, under
// callgrind on x86-64): the call-state event, the conference event with a document of a
// given size, any other sample event by its method name, or holdCall answered at once.
// Usage: count-events TIMES callstate|conference BYTES|METHOD|holdcall

#include <cstdio>
#include <cstdlib>
#include <string>

#include "CommunicationsService/protocol/Description.h"
#include "CommunicationsServiceProxy.h"

#include "CommunicationsService/testing/CannedChannel.h"
#include "CommunicationsService/testing/NullSubscriber.h"
#include "CommunicationsServiceEventInvoker.h"
#include "EventMessages.h"
#if STRAIGHTFORWARD
#include "Straightforward.h"
#endif

namespace {

bench::Event sampleEvent(const std::string& which, std::size_t bytes) {
    if (which == "callstate") return bench::callStateEvent();
    if (which == "conference") return bench::conferenceEvent(bytes);
    for (const bench::Event& event : bench::events()) {
        if (event.method == which) return event;
    }
    std::fprintf(stderr, "count-events: no sample event is named '%s'\n", which.c_str());
    std::exit(2);
}

int holdCalls(int times) {
    communications::testing::CannedChannel channel(
        std::string(CommunicationsService::protocol::resultWord(sfiSuccess)));
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);
    int result = 0;
    for (int i = 0; i < times; ++i)
        result |= proxy.holdCall("sip:1001@pbx", 12, sfiFeatureManual, true);
    return result == sfiSuccess ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const int times = std::atoi(argv[1]);
    const std::string which = argv[2];
#if !STRAIGHTFORWARD
    if (which == "holdcall") return holdCalls(times);
#endif
    const std::size_t bytes = argc > 3 ? std::strtoul(argv[3], nullptr, 10) : 0;
    const bench::Event event = sampleEvent(which, bytes);
    communications::testing::NullSubscriber subscriber;
    InvokerResponse noticed;
    CommunicationsServiceEventInvoker invoker;
    for (int i = 0; i < times; ++i) {
#if STRAIGHTFORWARD
        straightforward::handleMessage(&subscriber, event.message.c_str(), &noticed);
#else
        invoker.handleMessage(&subscriber, event.message.c_str(),
                              static_cast<int>(event.message.size()), &noticed);
#endif
    }
    return 0;
}
