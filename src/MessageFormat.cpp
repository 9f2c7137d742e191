#include "MessageFormat.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsServiceProxy.h"

namespace {

struct ResultWord {
    const char* word;
    int code;
};

// Compared in this order; the misspellings are the service's own.
constexpr ResultWord kResultWords[] = {
    {"sfiSuccess", sfiSuccess},
    {"sfiFailureCallBackInvalidState", sfiFailureCallBackInvalidState},
    {"sfiFailureCallBackNoCallInfo", sfiFailureCallBackNoCallInfo},
    {"sfiFailureCallBackToMany", sfiFailureCallBackToMany},
    {"sfiFailureCallBackAllreadyExists", sfiFailureCallBackAllreadyExists},
};

constexpr const char* kServiceStateNames[] = {
    "sfiServiceInService",
    "sfiServiceOutOfService",
    "sfiServiceDoNotDisturb",
};

} // namespace

int resultOf(const std::string& response) {
    for (const ResultWord& entry : kResultWords) {
        if (response == entry.word) return entry.code;
    }
    return sfiFailure;
}

std::string serialize(sfiServiceState state) {
    const auto index = static_cast<std::uint32_t>(state);
    return index < std::size(kServiceStateNames) ? kServiceStateNames[index] : "";
}

long strtol32(const char* text) {
    const long value = std::strtol(text, nullptr, 10);
    return std::clamp<long>(value, std::numeric_limits<std::int32_t>::min(),
                            std::numeric_limits<std::int32_t>::max());
}

int CommunicationsServiceProxy::getResult(std::string& response) { return resultOf(response); }

std::string CommunicationsServiceProxy::getParamAsString(const std::string& startTag,
                                                         const std::string& message,
                                                         const std::string& endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string::npos) return {};
    const std::size_t value = start + startTag.size();
    // The service's answers are read with the end tag searched from position 0; an end tag
    // that is missing or stands before the value wraps the length and the value runs on.
    const std::size_t end = message.find(endTag);
    return message.substr(value, std::min(message.size() - value, end - value));
}

long CommunicationsServiceProxy::getParamAsLong(const std::string& startTag,
                                                const std::string& message,
                                                const std::string& endTag) {
    if (message.find(startTag) == std::string::npos) return -1;
    return strtol32(getParamAsString(startTag, message, endTag).c_str());
}

std::string CommunicationsServiceEventInvoker::getParamAsString(const std::string& startTag,
                                                                const std::string& message,
                                                                const std::string& endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string::npos) return {};
    const std::size_t value = start + startTag.size();
    const std::size_t end = message.find(endTag, value);
    if (end == std::string::npos) return {};
    return message.substr(value, end - value);
}

long CommunicationsServiceEventInvoker::getParamAsLong(const std::string& startTag,
                                                       const std::string& message,
                                                       const std::string& endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string::npos) return -1;
    const std::size_t value = start + startTag.size();
    const std::size_t end = message.find(endTag, value);
    if (end == std::string::npos) return -1;
    return strtol32(message.substr(value, end - value).c_str());
}
