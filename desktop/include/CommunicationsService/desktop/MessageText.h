#pragma once

// Reading a message text's fields the way the plug-in's readers do, for the kit's traces
// and records: the kit shows what the application was given, not what a stricter parser
// would make of the text.

#include <cstddef>
#include <optional>
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

} // namespace desktop::message
