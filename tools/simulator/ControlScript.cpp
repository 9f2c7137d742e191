#include "ControlScript.h"

#include "ControlCommandNames.h"
#include "ControlWords.h"

#include <algorithm>
#include <stdexcept>

namespace simulator {

std::vector<std::string> splitWords(std::string_view line) {
    std::vector<std::string> words;
    std::size_t position = 0;
    while (position < line.size()) {
        const std::size_t begin = line.find_first_not_of(" \t\r", position);
        if (begin == std::string_view::npos) break;
        const std::size_t end = std::min(line.find_first_of(" \t\r", begin), line.size());
        words.emplace_back(line.substr(begin, end - begin));
        position = end;
    }
    return words;
}

bool isControlCommand(const std::string& name) {
    const std::vector<std::string>& names = controlCommandNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::vector<ScriptStep> parseControlScript(std::string_view text, const std::string& source) {
    std::vector<ScriptStep> steps;
    std::chrono::milliseconds pendingWait{0};
    int lineNumber = 0;
    while (!text.empty()) {
        ++lineNumber;
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::vector<std::string> words = splitWords(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        auto fail = [&](const std::string& problem) {
            throw std::runtime_error(source + ":" + std::to_string(lineNumber) + ": " + problem);
        };
        if (words.empty() || words.front()[0] == '#') continue;
        if (words.front() == "wait") {
            const std::optional<int> milliseconds =
                words.size() == 2 ? kit::toInt(words[1]) : std::nullopt;
            if (!milliseconds || *milliseconds < 0) fail("'wait' takes one number of milliseconds");
            pendingWait += std::chrono::milliseconds(*milliseconds);
            continue;
        }
        if (!isControlCommand(words.front()))
            fail("unknown control command '" + words.front() + "'");
        steps.push_back({lineNumber, pendingWait, words});
        pendingWait = std::chrono::milliseconds(0);
    }
    return steps;
}

} // namespace simulator
