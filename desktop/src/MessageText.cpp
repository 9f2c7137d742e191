#include "CommunicationsService/desktop/MessageText.h"

#include <cctype>
#include <cstddef>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "CommunicationsService/protocol/Requests.h"

namespace desktop::message {

namespace {

namespace requests = CommunicationsService::protocol::requests;

// The name of a member of the interface, as the compiler spells its pointer in the
// signature of this function: "... = &CommunicationsServiceIfc::answerCall]" (GCC and
// Clang alike), so that the names come from the description's own entries.
template <auto Member> std::string_view memberName() {
    if constexpr (std::is_same_v<decltype(Member), std::nullptr_t>) {
        return {};
    } else {
        const std::string_view signature = __PRETTY_FUNCTION__;
        const std::string_view owner = "CommunicationsServiceIfc::";
        const std::size_t start = signature.find(owner);
        if (start == std::string_view::npos) return {};
        std::size_t end = start + owner.size();
        while (end < signature.size() &&
               (std::isalnum(static_cast<unsigned char>(signature[end])) != 0 ||
                signature[end] == '_'))
            ++end;
        return signature.substr(start + owner.size(), end - start - owner.size());
    }
}

template <std::size_t... Row>
std::string operationOf(std::string_view method, std::index_sequence<Row...>) {
    std::string name;
    (
        [&] {
            const auto& entry = std::get<Row>(requests::all);
            if (!name.empty() || entry.method != method) return;
            const std::string_view member = memberName<std::get<Row>(requests::all).operation>();
            name = std::string(member.empty() ? entry.method : member);
        }(),
        ...);
    return name;
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

std::string operationName(std::string_view method) {
    return operationOf(
        method,
        std::make_index_sequence<std::tuple_size_v<std::decay_t<decltype(requests::all)>>>());
}

} // namespace desktop::message
