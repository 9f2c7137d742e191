#pragma once

// Requests and events as typed calls, read with the protocol's description, for the
// host's trace: `answerCall(line="1001", callId=1)`.

#include <string>

namespace desktop::trace {

// The request as the operation that wrote it; the text itself, shortened, when it is not
// a request of the protocol.
std::string request(const std::string& text);

// The event as the callback it reaches, `onCallHeldEvent(lineId="1001", callId=1)`.
std::string event(const std::string& text);

// The answer with its result code where it is a result word: `sfiSuccess (5)`.
std::string answer(const std::string& text);

} // namespace desktop::trace
