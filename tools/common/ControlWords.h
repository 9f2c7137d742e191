#pragma once

// The words of console lines, control commands, script lines, emitted events and options,
// which the kit's programs read alike: one splitter with one quoting rule, and whole numbers
// and flags.

#include <charconv>
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

// The whole word as a number of the type; nothing when it is not one or does not fit.
template <typename Number> std::optional<Number> toNumber(std::string_view word) {
    Number value{};
    const char* end = word.data() + word.size();
    const auto parsed = std::from_chars(word.data(), end, value);
    if (word.empty() || parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return value;
}

inline std::optional<int> toInt(std::string_view word) { return toNumber<int>(word); }

// A flag as a word: 1, on, true, yes or 0, off, false, no.
std::optional<bool> toFlag(std::string_view word);

} // namespace kit
