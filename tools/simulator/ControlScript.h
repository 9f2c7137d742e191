#pragma once

// Script files of timed control steps: one control command per line, "wait MS" pauses
// before the next step, '#' starts a comment line, blank lines are skipped.

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

struct ScriptStep {
    int lineNumber = 0;
    std::chrono::milliseconds wait{0}; // before the command
    std::vector<std::string> words;    // the control command
};

std::vector<std::string> splitWords(std::string_view line);

// Throws std::runtime_error naming the source and line of the first bad line.
std::vector<ScriptStep> parseControlScript(std::string_view text, const std::string& source);

// The command names that the simulator knows, for checking scripts before they run.
bool isControlCommand(const std::string& name);

} // namespace simulator
