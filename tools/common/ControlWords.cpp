#include "ControlWords.h"

#include <charconv>
#include <stdexcept>

#include "CommunicationsService/protocol/Description.h"

namespace kit {

namespace {

// Reads the "..." quote that starts at `open` into the word; gives the position of its end.
std::size_t readEscaped(std::string_view line, std::size_t open, std::string& word) {
    for (std::size_t i = open + 1; i < line.size(); ++i) {
        if (line[i] == '"') return i;
        if (line[i] == '\\' && i + 1 < line.size()) {
            const char escaped = line[++i];
            word.push_back(escaped == 'n' ? '\n' : escaped == 't' ? '\t' : escaped);
        } else {
            word.push_back(line[i]);
        }
    }
    throw std::invalid_argument("unterminated \" quote");
}

} // namespace

std::vector<std::string> splitWords(std::string_view line) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
            if (inWord) words.push_back(word);
            word.clear();
            inWord = false;
            continue;
        }
        if (c == '#' && !inWord) break;
        inWord = true;
        if (c == '"') {
            i = readEscaped(line, i, word);
        } else if (c == '\'') {
            const std::size_t end = line.find('\'', i + 1);
            if (end == std::string_view::npos) throw std::invalid_argument("unterminated ' quote");
            word += line.substr(i + 1, end - i - 1);
            i = end;
        } else {
            word.push_back(c);
        }
    }
    if (inWord) words.push_back(word);
    return words;
}

std::string joinFrom(const std::vector<std::string>& words, std::size_t first) {
    std::string joined;
    for (std::size_t i = first; i < words.size(); ++i)
        joined += (i > first ? " " : "") + words[i];
    return joined;
}

std::string quoteWords(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        if (!line.empty()) line.push_back(' ');
        const bool plain = !word.empty() && word.front() != '#' &&
                           word.find_first_of(" \t\r\n'\"\\") == std::string::npos;
        if (plain) {
            line += word;
            continue;
        }
        line.push_back('"');
        for (const char c : word) {
            if (c == '"' || c == '\\') line.push_back('\\');
            line.push_back(c);
        }
        line.push_back('"');
    }
    return line;
}

std::optional<bool> toFlag(std::string_view word) {
    namespace protocol = CommunicationsService::protocol;
    if (word == "1" || word == "on" || word == protocol::kTrueWord || word == "yes") return true;
    if (word == "0" || word == "off" || word == protocol::kFalseWord || word == "no") return false;
    return std::nullopt;
}

} // namespace kit
