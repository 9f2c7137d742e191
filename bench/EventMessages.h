#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "CommunicationsService/protocol/Description.h"

namespace bench {

// One element of an event and its value.
struct Field {
    CommunicationsService::protocol::FieldKind kind;
    std::string tag;
    std::string value;
};

// One event as the service sends it, written from its entry with a sample value per
// field: the method element, the elements in the order the handler reads them, and for
// the two pass-through events the CSTA payload behind them.
struct Event {
    std::string method;
    std::vector<Field> fields;
    std::string message;
};

// Every event of the description in dispatch order, each with every field filled.
const std::vector<Event>& events();

// The headline: the call-state event.
const Event& callStateEvent();

// The conference status event carrying a conference document of about `bytes` bytes.
Event conferenceEvent(std::size_t bytes);

} // namespace bench
