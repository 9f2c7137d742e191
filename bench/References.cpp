#include "References.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <vector>

#include "CommunicationsServiceEventInvoker.h"
#include "MessageFormat.h"
#include "framework/ProxyRequest.h"
#include "framework/Utilities.h"

namespace bench {

std::size_t readStraightforward(CommunicationsServiceEventInvoker& readers, const Event& event) {
    std::string text(event.message.c_str());
    std::size_t checksum = readers.getParamAsString("<Method>", text, "</Method>").size();
    for (const Field& field : event.fields) {
        const std::string open = "<" + field.tag + ">";
        const std::string close = "</" + field.tag + ">";
        switch (field.kind) {
        case Kind::Text:
            checksum += readers.getParamAsString(open, text, close).size();
            break;
        case Kind::Number:
            checksum += static_cast<std::size_t>(readers.getParamAsLong(open, text, close));
            break;
        case Kind::NumberList: {
            std::string encoded = readers.getParamAsString(open, text, close);
            std::vector<int> values;
            Serializer::deserialize(encoded, values);
            checksum += values.size();
            break;
        }
        case Kind::TextList: {
            std::string encoded = readers.getParamAsString(open, text, close);
            checksum += Serializer::deserialize(encoded).size();
            break;
        }
        }
    }
    if (!event.cutAfter.empty()) {
        const std::string closing = "/" + event.cutAfter + ">";
        text.erase(0, static_cast<std::uint32_t>(text.find(closing)) +
                          static_cast<std::uint32_t>(closing.size()));
        checksum += text.size();
    }
    return checksum;
}

std::size_t readWithPugixml(const std::string& wrapped, const Event& event) {
    pugi::xml_document document;
    document.load_buffer(wrapped.data(), wrapped.size());
    const pugi::xml_node root = document.first_child();
    std::size_t checksum = std::string_view(root.child_value("Method")).size();
    for (const Field& field : event.fields) {
        const pugi::xml_node element = root.child(field.tag.c_str());
        if (field.kind == Kind::Number) {
            checksum += static_cast<std::size_t>(element.text().as_int(-1));
        } else {
            checksum += std::string_view(element.child_value()).size();
        }
    }
    return checksum;
}

int holdCallThroughStream(ProxyRequest& channel, const std::string& line, int callId,
                          sfiFeature reason, bool manual) {
    std::ostringstream request;
    request << "<Method>HoldCall</Method><Line>" << line << "</Line><CallID>" << callId
            << "</CallID><HoldCallReason>" << reason << "</HoldCallReason><Manual>" << manual
            << "</Manual>";
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
        for (std::size_t i = 0; i < block; ++i) inBlock += bytes[i] == '<' ? 1 : 0;
        total += inBlock;
        bytes += block;
        left -= block;
    }
    return total;
}

} // namespace bench
