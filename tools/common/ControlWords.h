#pragma once

// The words of console lines, control commands and script lines, which the simulator, the
// console, `comms-simulator control` and the panel read alike: one splitter with one quoting
// rule, and whole numbers and flags.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kit {

// Splits a line into words: blanks separate, '...' quotes literally, "..." quotes with
// backslash escapes (\" \\ \n \t), quotes may sit inside a word (name="Erik Fischer" is one
// word), and '#' at the start of a word begins a comment. Throws std::invalid_argument for an
// unterminated quote.
std::vector<std::string> splitWords(std::string_view line);

// The words from `first` on, separated by single blanks.
std::string joinFrom(const std::vector<std::string>& words, std::size_t first);

// The words as one line that splitWords reads back as the same words.
std::string quoteWords(const std::vector<std::string>& words);

std::optional<int> toInt(std::string_view word);

std::optional<bool> toFlag(std::string_view word);

} // namespace kit
