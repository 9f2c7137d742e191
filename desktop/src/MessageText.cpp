#include "CommunicationsService/desktop/MessageText.h"

#include <cstddef>
#include <string>

#include "CommunicationsService/protocol/Catalogue.h"

namespace desktop::message {

std::optional<Element> firstElement(std::string_view text, std::string_view tag) {
    const std::string open = "<" + std::string(tag) + ">";
    const std::string close = "</" + std::string(tag) + ">";
    const std::size_t start = text.find(open);
    if (start == std::string_view::npos) return std::nullopt;
    const std::size_t from = start + open.size();
    const std::size_t end = text.find(close, from);
    if (end == std::string_view::npos) return std::nullopt;
    return Element{text.substr(from, end - from), end + close.size()};
}

std::string operationName(std::string_view method) {
    const auto* request = CommunicationsService::protocol::catalogue::requestByMethod(method);
    return request == nullptr ? std::string() : std::string(request->name);
}

} // namespace desktop::message
