#pragma once

// How the service's answer to a request becomes the operation's result and outputs, by
// the shape of the answer its entry describes.

#include <cstddef>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "CommunicationsService/protocol/Description.h"
#include "MessageFormat.h"
#include "Reader.h"

namespace answer {

namespace protocol = CommunicationsService::protocol;

// A failure word anywhere wins, then the true word anywhere.
int readFlag(const std::string& response, bool& value);
// A failure word anywhere wins, then the first state name found, in the enumeration's order.
int readState(const std::string& response, sfiServiceState& state);
// Each '<' opens an item that runs to the next '>'.
int readItems(const std::string& response, std::vector<std::string>& items);

// Out of line, so that the answers share one reader of each sort of field.
template <protocol::answers::Reading R, typename Output>
[[gnu::noinline]] Output fieldValue(const std::string& response, ElementSpan span) {
    using protocol::answers::Reading;
    if constexpr (R == Reading::flag)
        return numberOf(response, span) != 0;
    else if constexpr (R == Reading::number)
        return static_cast<int>(numberOf(response, span));
    else if constexpr (R == Reading::text)
        return std::string(valueOf(response, span));
    // Read as text first: a missing number is "" and so converts to 0, not -1.
    else if constexpr (R == Reading::textNumber)
        return static_cast<int>(reader::decimal(valueOf(response, span)));
    // The counts keep the bits of the phone's 32-bit long: "-1" stores 4294967295.
    else
        return static_cast<unsigned int>(
            static_cast<int>(reader::decimal(valueOf(response, span))));
}

template <typename Fields, std::size_t... I, typename... Outputs>
void readFields(const std::string& response, const ElementSpan* spans, std::index_sequence<I...>,
                Outputs&... outputs) {
    ((outputs = fieldValue<std::tuple_element_t<I, Fields>::reading, Outputs>(response, spans[I])),
     ...);
}

// Every output is written, whatever the result word says, in the outputs' order; the
// result is the result word of its own element.
template <typename Tagged, typename... Outputs>
int readTagged(std::size_t row, const std::string& response, Outputs&... outputs) {
    using Fields = decltype(Tagged::fields);
    constexpr std::size_t count = std::tuple_size_v<Fields>;
    ElementSpan spans[count + 1];
    reader::findAnswerElements(row, response, spans);
    readFields<Fields>(response, spans, std::make_index_sequence<count>(), outputs...);
    return resultOf(valueOf(response, spans[count]));
}

} // namespace answer
