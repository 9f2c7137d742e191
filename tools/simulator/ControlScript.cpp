#include "ControlScript.h"

#include <algorithm>
#include <stdexcept>

#include "ControlCommands.h"
#include "ControlWords.h"

namespace simulator {

std::vector<ScriptStep> parseControlScript(std::string_view text, const std::string& source) {
    std::vector<ScriptStep> steps;
    std::chrono::milliseconds pendingWait{0};
    int lineNumber = 0;
    while (!text.empty()) {
        ++lineNumber;
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        Words words;
        std::string problem;
        try {
            words = kit::splitWords(line);
            if (!words.empty()) problem = commandProblem(words, Place::script);
        } catch (const std::invalid_argument& error) {
            problem = error.what();
        }
        if (!problem.empty())
            throw std::runtime_error(source + ":" + std::to_string(lineNumber) + ": " + problem);
        if (words.empty()) continue;
        if (findControlCommand(words.front())->reach == Reach::script) {
            pendingWait += std::chrono::milliseconds(*kit::toInt(words[1]));
            continue;
        }
        steps.push_back({lineNumber, pendingWait, kit::quoteWords(words)});
        pendingWait = std::chrono::milliseconds(0);
    }
    return steps;
}

} // namespace simulator
