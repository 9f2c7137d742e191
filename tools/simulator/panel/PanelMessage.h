#pragma once

// What the panel answers to a page's message, apart from the WebSocket that carries it.

#include <functional>
#include <string>
#include <string_view>

namespace simulator {

// A page sends {"control": "COMMAND"}, with an "id" (a number or a text) it wants back
// with the reply; the reply is {"reply": {"command", "text", "id"}}, where "text" is what
// `control` said to the command, or {"error": "..."} for any other message.
std::string panelReply(std::string_view message,
                       const std::function<std::string(const std::string&)>& control);

} // namespace simulator
