#include "CommunicationsService/desktop/Trace.h"

#include <cctype>
#include <optional>
#include <string_view>
#include <tuple>

#include "CommunicationsService/desktop/MessageText.h"
#include "CommunicationsService/protocol/Events.h"
#include "CommunicationsService/protocol/Requests.h"

namespace desktop::trace {

namespace {

namespace protocol = CommunicationsService::protocol;

constexpr std::size_t kShortened = 60;

std::string shortened(std::string_view text) {
    std::string shown(text.substr(0, kShortened));
    return "'" + shown + (text.size() > kShortened ? "...'" : "'");
}

std::optional<std::string_view> element(std::string_view text, std::string_view tag) {
    const auto found = message::firstElement(text, tag);
    if (!found) return std::nullopt;
    return found->value;
}

void argument(std::string& call, std::string_view name, std::optional<std::string_view> value,
              bool isText) {
    if (!value) return;
    call += call.back() == '(' ? "" : ", ";
    call.append(name).append("=");
    if (isText) {
        call.append("\"").append(*value).append("\"");
    } else {
        call.append(*value);
    }
}

std::string_view methodOf(std::string_view text) {
    if (text.substr(0, protocol::kMethodOpen.size()) != protocol::kMethodOpen) return {};
    const std::size_t end = text.find(protocol::kMethodClose);
    if (end == std::string_view::npos) return {};
    return text.substr(protocol::kMethodOpen.size(), end - protocol::kMethodOpen.size());
}

template <typename Entry> std::string requestCall(const Entry& entry, std::string_view text) {
    std::string call = message::operationName(entry.method) + "(";
    std::apply(
        [&](const auto&... field) {
            (argument(call, field.argument,
                      field.encoding == protocol::Encoding::payload ? std::nullopt
                                                                    : element(text, field.tag),
                      field.encoding == protocol::Encoding::text),
             ...);
        },
        entry.fields);
    return call + ")";
}

template <typename Field> bool isText(const Field&) {
    return Field::kind == protocol::FieldKind::text;
}

template <typename Entry> std::string eventCall(const Entry& entry, std::string_view text) {
    std::string call = "on" + std::string(entry.method) + "(";
    call[2] = static_cast<char>(std::toupper(static_cast<unsigned char>(call[2])));
    std::apply(
        [&](const auto&... field) {
            (argument(call, field.argument,
                      field.tag.empty() || field.tag.front() == '/' ? std::nullopt
                                                                    : element(text, field.tag),
                      isText(field)),
             ...);
        },
        entry.fields);
    return call + ")";
}

} // namespace

std::string request(const std::string& text) {
    const std::string_view method = methodOf(text);
    std::optional<std::string> call;
    std::apply(
        [&](const auto&... entry) {
            ((!call && !method.empty() && entry.method == method
                  ? (void)(call = requestCall(entry, text))
                  : (void)0),
             ...);
        },
        protocol::requests::all);
    return call ? *call : shortened(text);
}

std::string event(const std::string& text) {
    const std::string_view method = methodOf(text);
    std::optional<std::string> call;
    std::apply(
        [&](const auto&... entry) {
            ((!call && !method.empty() && method.substr(0, entry.method.size()) == entry.method
                  ? (void)(call = eventCall(entry, text))
                  : (void)0),
             ...);
        },
        protocol::events::all);
    return call ? *call : shortened(text);
}

std::string answer(const std::string& text) {
    for (const auto& [word, code] : protocol::kResultWords) {
        if (text == word) return text + " (" + std::to_string(code) + ")";
    }
    return text.empty() ? "(no answer)" : shortened(text);
}

} // namespace desktop::trace
