// Handles a sample event a given number of times, so that two runs under single-stepping
// qemu give the instructions one event costs on armhf: the call-state event, or the
// conference event with a document of a given size.
// Usage: count-events TIMES callstate|conference [BYTES]

#include <cstdlib>
#include <string>

#include "CommunicationsService/testing/NullSubscriber.h"
#include "CommunicationsServiceEventInvoker.h"
#include "EventMessages.h"
#if STRAIGHTFORWARD
#include "Straightforward.h"
#endif

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const int times = std::atoi(argv[1]);
    const std::string which = argv[2];
    const std::size_t bytes = argc > 3 ? std::strtoul(argv[3], nullptr, 10) : 0;
    const bench::Event event =
        which == "conference" ? bench::conferenceEvent(bytes) : bench::callStateEvent();
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
