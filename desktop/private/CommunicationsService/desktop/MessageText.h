#pragma once

// Reading a message text's fields the way the plug-in's readers do, for the kit's traces
// and records: the kit shows what the application was given, not what a stricter parser
// would make of the text.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace desktop::message {

struct Element {
    std::string_view value;
    // Just past the element's closing tag.
    std::size_t end;
};

// The first element with the tag, searched from the text's start: a tag that stands
// earlier inside another element's value is the one found, as the readers find it.
std::optional<Element> firstElement(std::string_view text, std::string_view tag);

// The operation of the interface that writes a request's method (answerCall for the answer
// request, consultationCall for the consultation request); the method itself for one the
// interface has no operation of its own for (the subscription), and empty for a method that
// is no request.
std::string operationName(std::string_view method);

} // namespace desktop::message
