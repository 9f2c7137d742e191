// The plain rules: every field is looked for on its own, with its start and end tag
// spelled out, each search from the front of the text; a request is written piece by
// piece. The fast reader must give what this one gives for every text.

#include <algorithm>
#include <string>
#include <string_view>

#include "CommunicationsService/framework/Utilities.h"
#include "CommunicationsService/protocol/Requests.h"
#include "Elements.h"
#include "MessageFormat.h"
#include "Reader.h"

namespace protocol = CommunicationsService::protocol;

namespace {

std::string startTag(std::string_view name) { return "<" + std::string(name) + ">"; }
std::string endTag(std::string_view name) { return "</" + std::string(name) + ">"; }

// The invoker's rule: the first start tag, then the first end tag behind it.
ElementSpan eventSpan(std::string_view text, std::string_view name) {
    const std::string open = startTag(name);
    const std::size_t start = text.find(open);
    if (start == std::string_view::npos) return kNotFound;
    const std::size_t value = start + open.size();
    return {value, text.find(endTag(name), value)};
}

// The proxy's rule: the first start tag, then the first end tag anywhere; one that is
// missing or stands before the value lets the value run to the end.
ElementSpan answerSpan(std::string_view text, std::string_view name) {
    const std::string open = startTag(name);
    const std::size_t start = text.find(open);
    if (start == std::string_view::npos) return kNotFound;
    const std::size_t value = start + open.size();
    const std::size_t end = text.find(endTag(name));
    return {value, value + std::min(text.size() - value, end - value)};
}

} // namespace

namespace rules {

long decimal(std::string_view digits) { return strtol32(std::string(digits).c_str()); }

RouteSet routesOf(std::string_view method) {
    RouteSet routes = 0;
    for (std::size_t row = 0; row < elements::kEvents; ++row) {
        protocol::visitRow(protocol::events::all, row, [&](const auto& event) {
            const bool selects = event.match == protocol::Match::exact
                                     ? method == event.method
                                     : method.substr(0, event.method.size()) == event.method;
            if (selects) routes |= RouteSet{1} << row;
        });
    }
    return routes;
}

ElementSpan findMethod(std::string_view event, std::size_t& fields) {
    fields = 0;
    return eventSpan(event, protocol::kMethodTag);
}

void findEventElements(std::size_t row, std::string_view event, ElementSpan* spans,
                       std::size_t /*from*/) {
    protocol::visitRow(protocol::events::all, row, [&](const auto& entry) {
        elements::forEach(entry, [&](std::string_view name) { *spans++ = eventSpan(event, name); });
    });
}

std::string requestText(std::size_t row, const Argument* arguments) {
    std::string text;
    protocol::visitRow(protocol::requests::all, row, [&](const auto& request) {
        text.append(protocol::kMethodOpen).append(request.method).append(protocol::kMethodClose);
        bool stopped = false;
        const auto write = [&](const auto& field) {
            using protocol::Encoding;
            const Argument& argument = *arguments++;
            if (stopped) return;
            constexpr Encoding encoding = std::decay_t<decltype(field)>::encoding;
            if constexpr (encoding == Encoding::payload) {
                text.append(argument.text);
                return;
            }
            text.append(startTag(field.tag));
            // A null C string ends the request behind its field's start tag.
            if (argument.missing) {
                stopped = true;
                return;
            }
            if constexpr (encoding == Encoding::decimal)
                text.append(std::to_string(argument.number));
            else if constexpr (encoding == Encoding::flag)
                text.append(protocol::kFlagDigits[argument.number != 0]);
            else if constexpr (encoding == Encoding::word)
                text.append(protocol::kFlagWords[argument.number != 0]);
            else if constexpr (encoding == Encoding::number)
                text.append(ClientUtils::itos(argument.number));
            else
                text.append(argument.text);
            text.append(endTag(field.tag));
        };
        std::apply([&](const auto&... field) { (write(field), ...); }, request.fields);
    });
    return text;
}

void findAnswerElements(std::size_t row, std::string_view answer, ElementSpan* spans) {
    protocol::visitRow(protocol::requests::all, row, [&](const auto& request) {
        using Answer = std::decay_t<decltype(request.answer)>;
        if constexpr (protocol::answers::isTagged<Answer>) {
            std::apply(
                [&](const auto&... field) { ((*spans++ = answerSpan(answer, field.tag)), ...); },
                request.answer.fields);
            *spans = answerSpan(answer, request.answer.resultTag);
        }
    });
}

} // namespace rules
