#include "References.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cstdint>
#include <sstream>

#include "CommunicationsService/framework/ProxyRequest.h"
#include "CommunicationsService/protocol/Requests.h"
#include "MessageFormat.h"

namespace bench {

namespace protocol = CommunicationsService::protocol;

std::size_t readWithPugixml(const std::string& wrapped, const Event& event) {
    pugi::xml_document document;
    document.load_buffer(wrapped.data(), wrapped.size());
    const pugi::xml_node root = document.first_child();
    const std::string method(protocol::kMethodTag);
    std::size_t checksum = std::string_view(root.child_value(method.c_str())).size();
    for (const Field& field : event.fields) {
        using protocol::FieldKind;
        const pugi::xml_node element = root.child(field.tag.c_str());
        if (field.kind == FieldKind::number || field.kind == FieldKind::counter ||
            field.kind == FieldKind::flag) {
            checksum += static_cast<std::size_t>(element.text().as_int(-1));
        } else {
            checksum += std::string_view(element.child_value()).size();
        }
    }
    return checksum;
}

int holdCallThroughStream(ProxyRequest& channel, const std::string& line, int callId,
                          sfiFeature reason, bool manual) {
    const auto& [lineField, callField, reasonField, manualField] =
        protocol::requests::holdCall.fields;
    std::ostringstream request;
    request << protocol::kMethodOpen << protocol::requests::holdCall.method
            << protocol::kMethodClose << '<' << lineField.tag << '>' << line << "</"
            << lineField.tag << "><" << callField.tag << '>' << callId << "</" << callField.tag
            << "><" << reasonField.tag << '>' << reason << "</" << reasonField.tag << "><"
            << manualField.tag << '>' << manual << "</" << manualField.tag << '>';
    std::string response;
    channel.sendRequest(request.str(), response);
    return resultOf(response);
}

std::size_t countOpenings(const std::string& message) {
    // Byte-wide counters in blocks of 255 let the compiler compare 16 or 32 bytes a step.
    const char* bytes = message.data();
    std::size_t left = message.size();
    std::size_t total = 0;
    while (left != 0) {
        const std::size_t block = std::min<std::size_t>(left, 255);
        std::uint8_t inBlock = 0;
        for (std::size_t i = 0; i < block; ++i)
            inBlock += bytes[i] == '<' ? 1 : 0;
        total += inBlock;
        bytes += block;
        left -= block;
    }
    return total;
}

} // namespace bench
