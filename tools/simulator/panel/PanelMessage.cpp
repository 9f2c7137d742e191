#include "PanelMessage.h"

#include "BoundedJson.h"

namespace simulator {

namespace {

using Json = nlohmann::ordered_json;

// How much of a malformed message its error shows.
constexpr std::size_t kQuoted = 80;

} // namespace

std::string panelReply(std::string_view message,
                       const std::function<std::string(const std::string&)>& control) {
    kit::json::Reading reading = kit::json::Reading::read;
    const Json request = kit::json::parse(message, reading);
    const auto id = request.is_object() ? request.find("id") : request.end();
    const bool hasId = request.is_object() && id != request.end();
    // Only a scalar id is sent back: it is all a page needs, and anything else would be
    // copied and printed level by level.
    const bool idUsable = !hasId || id->is_number() || id->is_string();
    if (!request.is_object() || !request.contains("control") || !request["control"].is_string() ||
        !idUsable) {
        const std::string quoted(message.substr(0, kQuoted));
        return Json{{"error", "malformed message: the panel takes {\"control\": \"COMMAND\"} "
                              "with an optional \"id\", a number or a text, not " +
                                  quoted}}
            .dump(-1, ' ', false, Json::error_handler_t::replace);
    }
    const std::string command = request["control"];
    Json reply{{"command", command}, {"text", control(command)}};
    if (hasId) reply["id"] = *id;
    return Json{{"reply", reply}}.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace simulator
