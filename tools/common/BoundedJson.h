#pragma once

// JSON from a file or a page, read with its nesting bounded. nlohmann::json copies, compares
// and prints a value by recursion, one stack frame a level: a line of a few hundred kilobytes
// of brackets would overflow the stack wherever such a value is used afterwards.

#include <nlohmann/json.hpp>
#include <string_view>

namespace kit::json {

// Deeper than any message of the kit: records nest two levels, the panel's messages one.
constexpr int kMaxDepth = 32;

enum class Reading { read, notJson, tooDeep };

// The text as JSON; what `reading` says, and a discarded value unless it is `read`. Parsing
// itself keeps its levels on the heap, so a deep text is refused without recursing.
inline nlohmann::ordered_json parse(std::string_view text, Reading& reading) {
    using Json = nlohmann::ordered_json;
    bool tooDeep = false;
    Json parsed = Json::parse(
        text.begin(), text.end(),
        [&](int depth, Json::parse_event_t, Json&) {
            if (depth >= kMaxDepth) tooDeep = true;
            return !tooDeep;
        },
        false);
    reading = tooDeep ? Reading::tooDeep : parsed.is_discarded() ? Reading::notJson : Reading::read;
    return reading == Reading::read ? parsed : Json(Json::value_t::discarded);
}

} // namespace kit::json
