#pragma once

// Checks a console line before anything is sent or awaited: every name in it (operation,
// result word and output names after "=>", simulator command, callback and argument names
// of await) must be known, with a "did you mean" for a near miss, and the arguments must
// fit the operation. Scripts are checked whole this way before their first step.

#include <optional>
#include <string>
#include <vector>

namespace console {

// "; did you mean 'answerCall'?" when one known name is close to the word, else "".
std::string didYouMean(const std::string& word, const std::vector<std::string>& known);

// The callbacks' names, and the argument names of one (null for an unknown callback).
const std::vector<std::string>& callbackNames();
const std::vector<std::string>* callbackArguments(const std::string& callback);

// Why the line cannot run; nothing when it can.
std::optional<std::string> checkLine(const std::string& line);

// The words that may come next after the start of a line (the words before the one
// being completed): operations and commands first, then simulator commands, callbacks,
// "name=" for await's arguments, result words and "name=" for outputs after "=>".
std::vector<std::string> completions(const std::string& lineStart);

// Every problem of a script, each as "SOURCE:LINE: problem".
std::vector<std::string> checkScript(const std::string& text, const std::string& source);

} // namespace console
