#pragma once

// Any of the service's events, written whole from the words of a control command:
// "emit incomingCall lineId=1001 callId=7 uri=sip:2005". Events are named after their
// callbacks (incomingCall for onIncomingCallEvent), arguments as the callbacks'
// parameters; each value is checked against its argument's kind, and the arguments left
// out take neutral values, as the service always sends whole events.

#include <string>
#include <vector>

namespace simulator {

struct EmittedEvent {
    std::string text;  // the event, when the words were right
    std::string error; // else what was wrong
};

// From the words after "emit".
EmittedEvent emittedEvent(const std::vector<std::string>& words);

// The event a callback receives: incomingCall for onIncomingCallEvent.
std::string eventOfCallback(const std::string& callback);

// Why the value does not fit the event's argument; empty when it does. Lists are not
// looked at.
std::string valueProblem(const std::string& event, const std::string& argument,
                         const std::string& value);

// The value as a subscriber records the argument: a call state's name as its number, a
// flag as true or false; anything else as it is.
std::string recordedValue(const std::string& event, const std::string& argument,
                          const std::string& value);

// The names of the events that emit knows.
const std::vector<std::string>& emittableEvents();

} // namespace simulator
