#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/framework/ProxyRequest.h"
#include "MessageFormat.h"
#include "Reader.h"

namespace bench {

// The work that any delivery of one event must do, with the places of its fields already
// known: the copy of the framework's text, the cross-cast to the callbacks' interface, the
// party record, every argument built from its place, the callback and the notice. It
// measures everything handleMessage does except finding the method and the fields.
class EventFloor {
public:
    // Learns the event of `message` by its method name and where each field stands in it.
    explicit EventFloor(const std::string& message);

    void deliver(Executable* subscriber, const char* msg, InvokerResponse* response) const;

private:
    using Run = void (*)(const EventFloor&, Executable*, const char*, InvokerResponse*);
    template <std::size_t I>
    static void run(const EventFloor&, Executable*, const char*, InvokerResponse*);

    template <std::size_t I> bool learn(const std::string& method, const std::string& message);
    template <std::size_t... I>
    void learnAny(const std::string& method, const std::string& message,
                  std::index_sequence<I...>) {
        (learn<I>(method, message) || ...);
    }

    Run runner = nullptr;
    std::vector<ElementSpan> spans; // one per element, in the order the fields read them
    std::uint32_t cut = 0;          // where a pass-through payload begins
};

} // namespace bench
