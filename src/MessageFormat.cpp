#include "MessageFormat.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>

#include "CommunicationsService/protocol/Description.h"

namespace protocol = CommunicationsService::protocol;

int resultOf(std::string_view response) {
    for (const protocol::ResultWord& entry : protocol::kResultWords) {
        if (response == entry.word) return entry.code;
    }
    return sfiFailure;
}

std::string serialize(sfiServiceState state) { return std::string(serviceStateName(state)); }

std::string_view serviceStateName(sfiServiceState state) {
    const auto index = static_cast<std::uint32_t>(state);
    return index < std::size(protocol::kServiceStateNames) ? protocol::kServiceStateNames[index]
                                                           : "";
}

long strtol32(const char* text) {
    const long value = std::strtol(text, nullptr, 10);
    return std::clamp<long>(value, std::numeric_limits<std::int32_t>::min(),
                            std::numeric_limits<std::int32_t>::max());
}

std::string answerText(std::string_view startTag, std::string_view message,
                       std::string_view endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string_view::npos) return {};
    const std::size_t value = start + startTag.size();
    // Unsigned on purpose: an end tag that is missing or stands before the value wraps
    // the length, and the value runs to the end of the answer.
    const std::size_t end = message.find(endTag);
    return std::string(message.substr(value, std::min(message.size() - value, end - value)));
}

long answerNumber(std::string_view startTag, std::string_view message, std::string_view endTag) {
    if (message.find(startTag) == std::string_view::npos) return -1;
    return strtol32(answerText(startTag, message, endTag).c_str());
}

std::string eventText(std::string_view startTag, std::string_view message,
                      std::string_view endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string_view::npos) return {};
    const std::size_t value = start + startTag.size();
    const std::size_t end = message.find(endTag, value);
    if (end == std::string_view::npos) return {};
    return std::string(message.substr(value, end - value));
}

long eventNumber(std::string_view startTag, std::string_view message, std::string_view endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string_view::npos) return -1;
    const std::size_t end = message.find(endTag, start + startTag.size());
    if (end == std::string_view::npos) return -1;
    return strtol32(eventText(startTag, message, endTag).c_str());
}
