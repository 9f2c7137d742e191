#pragma once

// Requests and events as typed calls, read with the protocol's description, for the
// host's trace: `answerCall(line="1001", callId=1)`.

#include <string>
#include <string_view>

#include "CommunicationsService/desktop/MessageText.h"

namespace desktop::trace {

// The described text as a call with the values it has, texts quoted; payloads and parties
// are left out, being long. The text itself, shortened, when it is none of the protocol's.
std::string call(const message::Description& described, std::string_view text);

// The request as the operation that wrote it.
std::string request(const std::string& text);

// The event as the callback it reaches, `onCallHeldEvent(lineId="1001", callId=1)`.
std::string event(const std::string& text);

// The answer with its result code where it is a result word: `sfiSuccess (5)`.
std::string answer(const std::string& text);

} // namespace desktop::trace
