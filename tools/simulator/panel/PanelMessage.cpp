#include "PanelMessage.h"

#include <optional>
#include <vector>

#include "BoundedJson.h"
#include "ControlWords.h"

namespace simulator {

namespace {

using Json = nlohmann::ordered_json;

// How much of a malformed message its error shows.
constexpr std::size_t kQuoted = 80;

// The control line a page's message asks for: the command's name and its arguments, one
// word each, quoted so that the simulator splits them back as typed, blanks and all.
std::optional<std::string> controlLine(const Json& request) {
    if (!request.is_object() || !request.contains("control") || !request["control"].is_string())
        return std::nullopt;
    std::vector<std::string> words{request["control"].get<std::string>()};
    for (const Json& argument : request.value("arguments", Json::array())) {
        if (!argument.is_string()) return std::nullopt;
        words.push_back(argument.get<std::string>());
    }
    return kit::quoteWords(words);
}

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
    const std::optional<std::string> command = idUsable ? controlLine(request) : std::nullopt;
    if (!command) {
        const std::string quoted(message.substr(0, kQuoted));
        return Json{{"error", "malformed message: the panel takes {\"control\": \"COMMAND\"} "
                              "with its arguments as texts in \"arguments\" and an optional "
                              "\"id\", a number or a text, not " +
                                  quoted}}
            .dump(-1, ' ', false, Json::error_handler_t::replace);
    }
    Json reply{{"command", *command}, {"text", control(*command)}};
    if (hasId) reply["id"] = *id;
    return Json{{"reply", reply}}.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace simulator
