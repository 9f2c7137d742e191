#pragma once

// Script files of timed control steps: one control command per line, "wait MS" pauses
// before the next step, '#' starts a comment, blank lines are skipped. Lines split into
// words as the console's and `comms-simulator control`'s do.

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

struct ScriptStep {
    int lineNumber = 0;
    std::chrono::milliseconds wait{0}; // before the command
    std::string command;
};

// Throws std::runtime_error naming the source and line of the first bad line.
std::vector<ScriptStep> parseControlScript(std::string_view text, const std::string& source);

} // namespace simulator
