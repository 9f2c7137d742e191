#pragma once

// Compile-time layouts: every name of the description in one pool, each event as the
// names of its elements laid out for the one-pass scan, each request as its method, its
// fields and the names of its answer's fields.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "CommunicationsService/protocol/Requests.h"
#include "Elements.h"
#include "Scans.h"

namespace fast::catalogue {

namespace protocol = CommunicationsService::protocol;
namespace requests = protocol::requests;

inline constexpr std::size_t kRequests = protocol::rowCount(requests::all);

struct Bounds {
    std::size_t fields = 0;      // of a request
    std::size_t answerNames = 0; // of all tagged answers, their results' included
    std::size_t names = 0;       // bytes of all names
};

constexpr Bounds bounds() {
    Bounds most;
    std::apply(
        [&](const auto&... event) {
            const auto measure = [&](const auto& one) {
                most.names += one.method.size();
                elements::forEach(one,
                                  [&](std::string_view name) { most.names += elementBytes(name); });
            };
            (measure(event), ...);
        },
        protocol::events::all);
    std::apply(
        [&](const auto&... request) {
            const auto measure = [&](const auto& one) {
                most.names += one.method.size();
                most.fields = std::max(most.fields, std::tuple_size_v<decltype(one.fields)>);
                std::apply([&](const auto&... field) { ((most.names += field.tag.size()), ...); },
                           one.fields);
                if constexpr (protocol::answers::isTagged<std::decay_t<decltype(one.answer)>>) {
                    most.names += one.answer.resultTag.size() + 1;
                    std::apply(
                        [&](const auto&... field) { ((most.names += field.tag.size() + 1), ...); },
                        one.answer.fields);
                    most.answerNames += std::tuple_size_v<decltype(one.answer.fields)> + 1;
                }
            };
            (measure(request), ...);
        },
        requests::all);
    return most;
}

inline constexpr Bounds kBounds = bounds();
static_assert(kBounds.answerNames < 256, "every answer's first name fits its byte");

struct EventLayout {
    ElementName method;
    protocol::Match match = protocol::Match::exact;
    std::uint8_t elements = 0;
    ElementName names[elements::kMost] = {};
};

struct FieldLayout {
    protocol::Encoding encoding = protocol::Encoding::text;
    ElementName tag;
};

struct RequestLayout {
    ElementName method;
    std::uint8_t fields = 0;
    FieldLayout field[kBounds.fields];
    // A tagged answer: where its names begin among the answer names, and how many of its
    // fields precede the result's.
    std::uint8_t answerFirst = 0;
    std::uint8_t answerFields = 0;
};

// The answer names of a tagged answer lie together: its fields', then its result's.
struct AnswerNames {
    ElementName names[kBounds.answerNames];
    std::size_t count = 0;
};

struct Catalogue {
    NamePool<kBounds.names> pool;
    EventLayout events[elements::kEvents];
    RequestLayout requests[kRequests];
    AnswerNames answers;
};

template <typename Event>
constexpr EventLayout eventLayout(const Event& event, NamePool<kBounds.names>& pool) {
    EventLayout layout;
    layout.method = pool.add(event.method);
    layout.match = event.match;
    std::string_view names[elements::kMost] = {};
    elements::forEach(event, [&](std::string_view name) {
        if (name == protocol::kMethodTag) throw "no field may be named as the method element";
        for (std::size_t i = 0; i < layout.elements; ++i) {
            if (names[i] == name) throw "duplicate element name";
        }
        names[layout.elements++] = name;
    });
    pool.elements(names, layout.elements, layout.names);
    return layout;
}

template <typename Request>
constexpr RequestLayout requestLayout(const Request& request, NamePool<kBounds.names>& pool,
                                      AnswerNames& answers) {
    RequestLayout layout;
    layout.method = pool.add(request.method);
    std::apply(
        [&](const auto&... field) {
            ((layout.field[layout.fields++] =
                  FieldLayout{field.encoding,
                              field.tag.empty() ? ElementName{} : pool.add(field.tag)}),
             ...);
        },
        request.fields);
    if constexpr (protocol::answers::isTagged<std::decay_t<decltype(request.answer)>>) {
        layout.answerFirst = static_cast<std::uint8_t>(answers.count);
        std::apply(
            [&](const auto&... field) {
                ((++layout.answerFields,
                  answers.names[answers.count++] = pool.answerName(field.tag)),
                 ...);
            },
            request.answer.fields);
        answers.names[answers.count++] = pool.answerName(request.answer.resultTag);
    }
    return layout;
}

constexpr Catalogue build() {
    Catalogue built{};
    std::size_t row = 0;
    std::apply(
        [&](const auto&... event) {
            ((built.events[row++] = eventLayout(event, built.pool)), ...);
        },
        protocol::events::all);
    row = 0;
    std::apply(
        [&](const auto&... request) {
            ((built.requests[row++] = requestLayout(request, built.pool, built.answers)), ...);
        },
        requests::all);
    return built;
}

inline constexpr Catalogue kCatalogue = build();

} // namespace fast::catalogue
