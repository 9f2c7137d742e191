#include "RequestParser.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <stdexcept>
#include <tuple>

#include "CommunicationsService/protocol/Requests.h"

namespace simulator {

namespace protocol = CommunicationsService::protocol;

namespace {

using protocol::Encoding;

struct Field {
    std::string_view tag;
    Encoding encoding;
};

// One request as the service reads it, taken from the protocol's description.
struct Definition {
    std::string_view method;
    std::vector<Field> fields;
    bool payload = false; // a document follows the last field
    bool oneWay = false;
};

template <typename Request> Definition define(const Request& request) {
    Definition definition{
        request.method, {}, false, request.carrier == protocol::Carrier::sendOneWay};
    std::apply(
        [&](const auto&... fields) {
            (
                [&](const auto& field) {
                    if (field.encoding == Encoding::payload)
                        definition.payload = true;
                    else
                        definition.fields.push_back({field.tag, field.encoding});
                }(fields),
                ...);
        },
        request.fields);
    return definition;
}

const std::vector<Definition>& definitions() {
    static const std::vector<Definition> all = std::apply(
        [](const auto&... requests) { return std::vector<Definition>{define(requests)...}; },
        protocol::requests::all);
    return all;
}

using protocol::kMethodClose;
using protocol::kMethodOpen;
using protocol::requests::kSignalling;

// Quotes a piece of the request for an error message, shortened and made printable.
std::string quote(std::string_view text) {
    constexpr std::size_t kShown = 40;
    std::string shown;
    for (const char byte : text.substr(0, kShown)) {
        const auto code = static_cast<unsigned char>(byte);
        shown.push_back(code < 0x20 || code >= 0x7F ? '?' : byte);
    }
    return "'" + shown + (text.size() > kShown ? "...'" : "'");
}

bool isDecimal(std::string_view value) {
    int number = 0;
    const char* end = value.data() + value.size();
    const auto parsed = std::from_chars(value.data(), end, number);
    return !value.empty() && parsed.ec == std::errc() && parsed.ptr == end;
}

template <std::size_t N> bool oneOf(const std::string_view (&words)[N], std::string_view value) {
    return std::find(std::begin(words), std::end(words), value) != std::end(words);
}

// "A or B".
std::string either(std::string_view first, std::string_view second) {
    return std::string(first) + " or " + std::string(second);
}

// Why the value does not fit its kind; empty when it does.
std::string checkValue(const Field& field, std::string_view value) {
    const std::string tag = "<" + std::string(field.tag) + ">";
    switch (field.encoding) {
    case Encoding::text:
    case Encoding::payload:
        return {};
    case Encoding::decimal:
    case Encoding::number:
        return isDecimal(value) ? std::string()
                                : tag + " must be a decimal number, not " + quote(value);
    case Encoding::flag:
        return oneOf(protocol::kFlagDigits, value)
                   ? std::string()
                   : tag + " must be " +
                         either(protocol::kFlagDigits[0], protocol::kFlagDigits[1]) + ", not " +
                         quote(value);
    case Encoding::word:
        return oneOf(protocol::kFlagWords, value)
                   ? std::string()
                   : tag + " must be " + either(protocol::kFlagWords[1], protocol::kFlagWords[0]) +
                         ", not " + quote(value);
    case Encoding::stateName:
        return oneOf(protocol::kServiceStateNames, value)
                   ? std::string()
                   : tag + " must name a service state, not " + quote(value);
    }
    return {};
}

const Definition* findDefinition(std::string_view method) {
    for (const Definition& definition : definitions()) {
        if (method == definition.method) return &definition;
    }
    return nullptr;
}

ParsedRequest fail(ParsedRequest request, std::string error) {
    request.error = request.method.empty() ? std::move(error) : request.method + ": " + error;
    return request;
}

} // namespace

ParsedRequest parseRequest(std::string_view text) {
    ParsedRequest request;
    if (text.substr(0, kSignalling.size()) == kSignalling) {
        request.method = std::string(kSignallingMethod);
        request.payload = std::string(text.substr(kSignalling.size()));
        request.oneWay = true;
        return request;
    }
    if (text.empty()) return fail(std::move(request), "empty request");
    if (text.substr(0, kMethodOpen.size()) != kMethodOpen) {
        return fail(std::move(request), "the request does not start with " +
                                            std::string(kMethodOpen) + ": " + quote(text));
    }
    const std::size_t methodEnd = text.find(kMethodClose);
    if (methodEnd == std::string_view::npos) {
        return fail(std::move(request),
                    "the " + std::string(kMethodOpen) + " element is not closed");
    }
    const std::string_view method = text.substr(kMethodOpen.size(), methodEnd - kMethodOpen.size());
    const Definition* definition = findDefinition(method);
    if (definition == nullptr) {
        return fail(std::move(request), "unknown method " + quote(method));
    }
    request.method = std::string(method);
    request.oneWay = definition->oneWay;

    std::string_view rest = text.substr(methodEnd + kMethodClose.size());
    for (const Field& field : definition->fields) {
        const std::string open = "<" + std::string(field.tag) + ">";
        const std::string close = "</" + std::string(field.tag) + ">";
        if (rest.substr(0, open.size()) != open) {
            return fail(std::move(request), "expected " + open + " but found " +
                                                (rest.empty() ? "the end" : quote(rest)));
        }
        rest.remove_prefix(open.size());
        const std::size_t valueEnd = rest.find(close);
        if (valueEnd == std::string_view::npos) {
            return fail(std::move(request), open + " is not closed");
        }
        const std::string_view value = rest.substr(0, valueEnd);
        std::string problem = checkValue(field, value);
        if (!problem.empty()) return fail(std::move(request), std::move(problem));
        request.fields.emplace_back(field.tag, value);
        rest.remove_prefix(valueEnd + close.size());
    }
    if (definition->payload) {
        request.payload = std::string(rest);
    } else if (!rest.empty()) {
        return fail(std::move(request), "unexpected text after the last field: " + quote(rest));
    }
    return request;
}

const std::string& ParsedRequest::text(std::string_view tag) const {
    for (const auto& [name, value] : fields) {
        if (name == tag) return value;
    }
    throw std::logic_error(method + " has no field <" + std::string(tag) + ">");
}

int ParsedRequest::number(std::string_view tag) const {
    const std::string& value = text(tag);
    int number = 0;
    std::from_chars(value.data(), value.data() + value.size(), number);
    return number;
}

bool ParsedRequest::flag(std::string_view tag) const {
    const std::string& value = text(tag);
    return value == protocol::kFlagDigits[1] || value == protocol::kFlagWords[1];
}

} // namespace simulator
