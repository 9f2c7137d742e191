#include "CommunicationsService/desktop/Trace.h"

#include <string_view>

#include "CommunicationsService/desktop/MessageText.h"
#include "CommunicationsService/protocol/Description.h"

namespace desktop::trace {

namespace {

namespace protocol = CommunicationsService::protocol;

constexpr std::size_t kShortened = 60;

std::string shortened(std::string_view text) {
    std::string shown(text.substr(0, kShortened));
    return "'" + shown + (text.size() > kShortened ? "...'" : "'");
}

} // namespace

std::string call(const message::Description& described, std::string_view text) {
    if (described.name.empty()) return shortened(text);
    std::string typed = std::string(described.name) + "(";
    for (const message::Value& value : described.values) {
        if (!value.text || value.kind == message::Kind::payload ||
            value.kind == message::Kind::party)
            continue;
        typed += typed.back() == '(' ? "" : ", ";
        typed.append(value.name).append("=");
        if (message::quoted(value.kind)) {
            typed.append("\"").append(*value.text).append("\"");
        } else {
            typed.append(*value.text);
        }
    }
    return typed + ")";
}

std::string request(const std::string& text) { return call(message::describeRequest(text), text); }

std::string event(const std::string& text) { return call(message::describeEvent(text), text); }

std::string answer(const std::string& text) {
    for (const auto& [word, code] : protocol::kResultWords) {
        if (text == word) return text + " (" + std::to_string(code) + ")";
    }
    return text.empty() ? "(no answer)" : shortened(text);
}

} // namespace desktop::trace
