#pragma once

// Calls any operation that the protocol description lists, with arguments of its
// parameters' types: inputs drawn from the fuzzer's bytes, outputs preset from them too.

#include <cstddef>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "CommunicationsService/protocol/Requests.h"

namespace operations {

namespace protocol = CommunicationsService::protocol;

// Texts never hold '<' when `plain` is set, so that a reader looking for a closing tag
// cannot be misled by a value.
struct Source {
    FuzzedDataProvider& input;
    bool plain = false;

    std::string text() {
        std::string value = input.ConsumeRandomLengthString(32);
        for (char& byte : value) {
            if (plain && byte == '<') byte = '_';
        }
        return value;
    }
};

// One argument, kept alive for the call.
template <typename Param> struct Slot {
    using Value = std::remove_cv_t<std::remove_reference_t<Param>>;
    Value value;
    explicit Slot(Source& source) {
        if constexpr (std::is_same_v<Value, std::string>)
            value = source.text();
        else if constexpr (std::is_same_v<Value, bool>)
            value = source.input.ConsumeBool();
        else if constexpr (std::is_same_v<Value, sfiServiceState>)
            value = static_cast<Value>(source.input.ConsumeIntegralInRange(0, 2));
        else if constexpr (std::is_enum_v<Value> || std::is_integral_v<Value>)
            value = static_cast<Value>(source.input.ConsumeIntegral<int>());
        else if constexpr (std::is_same_v<Value, std::vector<std::string>>)
            value.assign(source.input.ConsumeIntegralInRange(0, 2), "kept");
    }
    Value& get() { return value; }
};
template <> struct Slot<const char*> {
    std::string text;
    explicit Slot(Source& source) : text(source.text()) {}
    const char* get() { return text.c_str(); }
};

// The arguments of an operation, drawn in order (a braced list is evaluated left to right).
template <typename R, typename... Params>
std::tuple<Slot<Params>...> argumentsOf(R (CommunicationsServiceIfc::*)(Params...),
                                        Source& source) {
    return std::tuple<Slot<Params>...>{Slot<Params>(source)...};
}

template <typename Entry, typename Slots>
auto call(const Entry& entry, CommunicationsServiceIfc& service, Slots& slots) {
    return std::apply([&](auto&... slot) { return (service.*entry.operation)(slot.get()...); },
                      slots);
}

// Runs `visit(entry)` for the entry at `index` of the description's requests.
template <typename Visit> void withRequest(std::size_t index, Visit&& visit) {
    std::apply(
        [&](const auto&... entry) {
            std::size_t at = 0;
            ((at++ == index ? visit(entry) : void()), ...);
        },
        protocol::requests::all);
}

inline constexpr std::size_t kRequests =
    std::tuple_size_v<std::decay_t<decltype(protocol::requests::all)>>;

} // namespace operations
