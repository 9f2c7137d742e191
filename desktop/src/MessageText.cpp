#include "CommunicationsService/desktop/MessageText.h"

#include <algorithm>
#include <string>

#include "CommunicationsService/protocol/Catalogue.h"

namespace desktop::message {

namespace {

namespace protocol = CommunicationsService::protocol;
namespace catalogue = protocol::catalogue;

// The signalling pass-through writes no envelope, so no catalogue row names it.
constexpr std::string_view kSignallingOperation = "processSignallingComponentEvent";
constexpr std::string_view kSignallingArgument = "message";

Kind kindOf(protocol::Encoding encoding) {
    switch (encoding) {
    case protocol::Encoding::decimal:
    case protocol::Encoding::number:
        return Kind::number;
    case protocol::Encoding::flag:
    case protocol::Encoding::word:
        return Kind::flag;
    case protocol::Encoding::payload:
        return Kind::payload;
    case protocol::Encoding::text:
    case protocol::Encoding::stateName:
        break;
    }
    return Kind::text;
}

Kind kindOf(protocol::FieldKind kind) {
    switch (kind) {
    case protocol::FieldKind::number:
    case protocol::FieldKind::counter:
        return Kind::number;
    case protocol::FieldKind::flag:
        return Kind::flag;
    case protocol::FieldKind::numberList:
    case protocol::FieldKind::textList:
        return Kind::list;
    case protocol::FieldKind::payload:
        return Kind::payload;
    case protocol::FieldKind::parties:
        return Kind::party;
    case protocol::FieldKind::text:
        break;
    }
    return Kind::text;
}

Kind kindOf(protocol::answers::Reading reading) {
    switch (reading) {
    case protocol::answers::Reading::flag:
        return Kind::flag;
    case protocol::answers::Reading::text:
        return Kind::text;
    case protocol::answers::Reading::number:
    case protocol::answers::Reading::textNumber:
    case protocol::answers::Reading::textCounter:
        break;
    }
    return Kind::number;
}

Value element(std::string_view text, std::string_view name, std::string_view tag, Kind kind) {
    const auto found = firstElement(text, tag);
    return {name, tag, kind, found ? std::optional(found->value) : std::nullopt};
}

} // namespace

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

Description describeRequest(std::string_view text) {
    Description described;
    const std::string_view signalling = protocol::requests::kSignalling;
    if (text.substr(0, signalling.size()) == signalling) {
        described.name = kSignallingOperation;
        described.method = signalling.substr(0, signalling.size() - 1);
        described.values.push_back(
            {kSignallingArgument, {}, Kind::payload, text.substr(signalling.size())});
        return described;
    }
    const auto method = firstElement(text, protocol::kMethodTag);
    if (!method) return described;
    described.method = method->value;
    described.request = catalogue::requestByMethod(method->value);
    if (described.request == nullptr) return described;
    described.name = described.request->name;
    // The payload stands behind the last field written before it.
    std::size_t end = method->end;
    for (const catalogue::RequestField& field : described.request->fields) {
        if (field.encoding == protocol::Encoding::payload) {
            described.values.push_back({field.argument, field.tag, Kind::payload,
                                        text.substr(std::min(end, text.size()))});
            continue;
        }
        const auto found = firstElement(text, field.tag);
        if (found) end = std::max(end, found->end);
        described.values.push_back({field.argument, field.tag, kindOf(field.encoding),
                                    found ? std::optional(found->value) : std::nullopt});
    }
    return described;
}

Description describeEvent(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    Description described;
    const auto method = firstElement(text, protocol::kMethodTag);
    if (!method) return described;
    described.method = method->value;
    described.event = catalogue::eventSelectedBy(method->value);
    if (described.event == nullptr) return described;
    described.name = described.event->name;
    for (const catalogue::EventField& field : described.event->fields) {
        if (field.kind == protocol::FieldKind::parties) {
            for (std::size_t i = 0; i < std::size(protocol::kPartyTags); ++i)
                described.values.push_back(
                    element(text, catalogue::kPartyNames[i], protocol::kPartyTags[i], Kind::party));
        } else if (field.kind == protocol::FieldKind::payload) {
            const std::size_t at = text.find(field.tag);
            described.values.push_back({field.argument, field.tag, Kind::payload,
                                        at == std::string_view::npos
                                            ? std::nullopt
                                            : std::optional(text.substr(at + field.tag.size()))});
        } else {
            described.values.push_back(
                element(text, field.argument, field.tag, kindOf(field.kind)));
        }
    }
    return described;
}

Description describeAnswer(const catalogue::Request* answered, std::string_view text) {
    Description described;
    if (answered == nullptr) return described;
    described.name = answered->name;
    described.method = answered->method;
    described.request = answered;
    if (answered->answer != catalogue::AnswerShape::tagged) return described;
    described.values.push_back(element(text, "result", answered->resultTag, Kind::text));
    for (const catalogue::AnswerField& field : answered->answerFields)
        described.values.push_back(element(text, field.output, field.tag, kindOf(field.reading)));
    return described;
}

} // namespace desktop::message
