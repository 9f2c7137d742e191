#pragma once

#include <string>
#include <vector>

namespace bench {

// How a reader takes a field's value.
enum class Kind { Text, Number, NumberList, TextList };

struct Field {
    Kind kind;
    std::string tag;
    std::string value;
};

// One event as the service sends it: the method element, the fields in the order the
// handler reads them, and for the two pass-through events the CSTA payload behind them.
struct Event {
    std::string method;
    std::vector<Field> fields;
    std::string payload;
    std::string message;
};

// The 28 events in dispatch order, each with every field filled as a busy phone sees it.
const std::vector<Event>& events();

// The headline: 595 bytes, 18 fields.
const Event& callStateEvent();

} // namespace bench
