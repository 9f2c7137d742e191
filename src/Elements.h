#pragma once

// The elements an event's fields are read from, in the order of its fields: one per
// field, the four party elements for the parties, none for a payload.

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "CommunicationsService/protocol/Events.h"

namespace elements {

namespace protocol = CommunicationsService::protocol;
using protocol::FieldKind;

constexpr std::size_t elementsOf(FieldKind kind) {
    return kind == FieldKind::parties   ? std::size(protocol::kPartyTags)
           : kind == FieldKind::payload ? 0
                                        : 1;
}

// Calls `visit(name)` for each element of `event`, in order.
template <typename Event, typename Visit>
constexpr void forEach(const Event& event, Visit&& visit) {
    std::apply(
        [&](const auto&... field) {
            [[maybe_unused]] const auto each = [&](FieldKind kind, std::string_view tag) {
                if (kind == FieldKind::parties) {
                    for (const std::string_view party : protocol::kPartyTags)
                        visit(party);
                } else if (kind != FieldKind::payload) {
                    visit(tag);
                }
            };
            (each(field.kind, field.tag), ...);
        },
        event.fields);
}

template <typename Event> constexpr std::size_t countOf(const Event& event) {
    std::size_t count = 0;
    forEach(event, [&](std::string_view) { ++count; });
    return count;
}

// The place of the I-th field's first element among its event's elements.
template <typename Fields, std::size_t I> constexpr std::size_t placeOf() {
    if constexpr (I == 0)
        return 0;
    else
        return placeOf<Fields, I - 1>() + elementsOf(std::tuple_element_t<I - 1, Fields>::kind);
}

// The most elements of any event.
constexpr std::size_t most() {
    return std::apply([](const auto&... event) { return std::max({countOf(event)...}); },
                      protocol::events::all);
}

inline constexpr std::size_t kMost = most();
inline constexpr std::size_t kEvents = protocol::rowCount(protocol::events::all);

} // namespace elements
