#pragma once

// Reads one request text as the communications service receives it from the proxy and
// checks it against the protocol's description: method, fields in their order, each
// value of its kind. Pure: no I/O, no mutable state.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CommunicationsService/protocol/Requests.h"

namespace simulator {

namespace requests = CommunicationsService::protocol::requests;

// The tag of a request's I-th field, as the description spells it.
template <std::size_t I, typename Request>
constexpr std::string_view tagOf(const Request& request) {
    return std::get<I>(request.fields).tag;
}

// The method a parsed signalling pass-through is given: its prefix without the colon.
inline constexpr std::string_view kSignallingMethod =
    requests::kSignalling.substr(0, requests::kSignalling.size() - 1);

struct ParsedRequest {
    // What was wrong with the text; empty for a well-formed request.
    std::string error;
    // The method name; kSignallingMethod for signalling data; may be set even on error.
    std::string method;
    // The fields in message order, tag without brackets and value as sent.
    std::vector<std::pair<std::string, std::string>> fields;
    // The CSTA document behind the line element of the pass-through requests, or the bytes
    // behind the signalling prefix.
    std::string payload;
    // Sent without awaiting an answer.
    bool oneWay = false;

    bool valid() const { return error.empty(); }

    // Values of a valid request; each tag must be one of its method's fields.
    const std::string& text(std::string_view tag) const;
    int number(std::string_view tag) const;
    bool flag(std::string_view tag) const;
};

ParsedRequest parseRequest(std::string_view text);

} // namespace simulator
