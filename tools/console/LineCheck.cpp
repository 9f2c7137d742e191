#include "LineCheck.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <stdexcept>

#include "CommunicationsService/desktop/CallbackRecorder.h"
#include "CommunicationsService/desktop/Printable.h"
#include "Console.h"
#include "ControlCommands.h"
#include "ControlWords.h"
#include "EmittedEvent.h"
#include "NearestName.h"
#include "Operations.h"

namespace console {

namespace {

// A word of the line as a message shows it: quoted, escaped, and cut when long.
std::string quoted(const std::string& word) {
    return "'" + desktop::printable(word, kEchoLimit) + "'";
}

bool known(const std::string& name, const std::vector<std::string>& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string unknown(const std::string& what, const std::string& word,
                    const std::vector<std::string>& names) {
    return "no " + what + " " + quoted(word) + didYouMean(word, names);
}

std::vector<std::string> operationNames() {
    std::vector<std::string> names;
    for (const Operation& operation : operations())
        names.emplace_back(operation.name);
    return names;
}

std::optional<std::string> checkAwait(const std::vector<std::string>& words) {
    if (words.size() < 2)
        return "await takes a callback name: await CALLBACK [name=value...] [within=MS]";
    const std::vector<std::string>* arguments = callbackArguments(words[1]);
    if (arguments == nullptr) return "await: " + unknown("callback", words[1], callbackNames());
    for (std::size_t i = 2; i < words.size(); ++i) {
        const std::size_t equals = words[i].find('=');
        if (equals == std::string::npos || equals == 0)
            return "await: " + quoted(words[i]) + " is not name=value";
        const std::string name = words[i].substr(0, equals);
        const std::string value = words[i].substr(equals + 1);
        if (name == "within") {
            if (kit::toInt(value).value_or(-1) < 0)
                return "await: within= takes milliseconds, not " + quoted(value);
        } else if (name == "since") {
            if (value != "start") return "await: since= takes only start, not " + quoted(value);
        } else if (!known(name, *arguments)) {
            return "await: " + words[1] + " has no argument " + quoted(name) +
                   didYouMean(name, *arguments);
        } else if (const std::string problem =
                       simulator::valueProblem(simulator::eventOfCallback(words[1]), name, value);
                   !problem.empty()) {
            return "await: " + words[1] + " argument " + problem.substr(problem.find(": ") + 2);
        }
    }
    return std::nullopt;
}

std::optional<std::string> checkControl(const simulator::Words& words) {
    if (words.empty()) return "sim takes a control command (try sim help)";
    const std::string problem = simulator::commandProblem(words, simulator::Place::connection);
    if (problem.empty()) return std::nullopt;
    return "sim: " + desktop::printable(problem);
}

std::optional<std::string> checkOperation(const std::vector<std::string>& words) {
    const Operation* operation = findOperation(words.front());
    if (operation == nullptr) {
        std::vector<std::string> names = operationNames();
        names.insert(names.end(), {"await", "sim", "echo", "help", "quit"});
        return unknown("operation", words.front(), names) + " (try help)";
    }
    const auto marker = std::find(words.begin() + 1, words.end(), "=>");
    try {
        bindArguments(*operation, {words.begin() + 1, marker});
    } catch (const std::invalid_argument& error) {
        return std::string(error.what());
    }
    if (marker == words.end()) return std::nullopt;
    if (marker + 1 == words.end())
        return "'=>' needs the expected result, for example => sfiSuccess";
    for (auto word = marker + 1; word != words.end(); ++word) {
        const std::size_t equals = word->find('=');
        if (equals == std::string::npos || equals == 0) {
            if (!known(*word, operation->results)) {
                return std::string(operation->name) + " gives no result " + quoted(*word) +
                       didYouMean(*word, operation->results);
            }
        } else if (const std::string name = word->substr(0, equals);
                   !known(name, operation->outputs)) {
            return std::string(operation->name) + " has no output " + quoted(name) +
                   didYouMean(name, operation->outputs);
        }
    }
    return std::nullopt;
}

} // namespace

std::string didYouMean(const std::string& word, const std::vector<std::string>& names) {
    return kit::didYouMean(word, names);
}

const std::vector<std::string>& callbackNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const auto& callback : desktop::recordedCallbacks())
            all.push_back(callback.callback);
        return all;
    }();
    return names;
}

const std::vector<std::string>* callbackArguments(const std::string& callback) {
    for (const auto& entry : desktop::recordedCallbacks()) {
        if (entry.callback == callback) return &entry.arguments;
    }
    return nullptr;
}

std::optional<std::string> checkLine(const std::string& line) {
    std::vector<std::string> words;
    try {
        words = kit::splitWords(line);
    } catch (const std::invalid_argument& error) {
        return std::string("bad line: ") + error.what();
    }
    if (words.empty()) return std::nullopt;
    const std::string& command = words.front();
    if (command == "quit" || command == "exit" || command == "echo") return std::nullopt;
    if (command == "help") {
        if (words.size() == 1 || findOperation(words[1]) != nullptr ||
            callbackArguments(words[1]) != nullptr) {
            return std::nullopt;
        }
        std::vector<std::string> names = operationNames();
        names.insert(names.end(), callbackNames().begin(), callbackNames().end());
        return unknown("operation or callback", words[1], names) + " (try help)";
    }
    if (command == "await") return checkAwait(words);
    if (command == "sim") return checkControl({words.begin() + 1, words.end()});
    return checkOperation(words);
}

std::vector<std::string> completions(const std::string& lineStart) {
    std::vector<std::string> words;
    std::istringstream split(lineStart);
    for (std::string word; split >> word;)
        words.push_back(word);
    std::vector<std::string> names;
    if (words.empty()) {
        names = operationNames();
        names.insert(names.end(), {"await", "sim", "echo", "help", "quit"});
    } else if (words.front() == "sim" && words.size() == 1) {
        names = simulator::controlCommandNames();
    } else if (words.front() == "help" && words.size() == 1) {
        names = operationNames();
        names.insert(names.end(), callbackNames().begin(), callbackNames().end());
    } else if (words.front() == "await") {
        if (words.size() == 1) return callbackNames();
        if (const std::vector<std::string>* arguments = callbackArguments(words[1])) {
            for (const std::string& argument : *arguments)
                names.push_back(argument + "=");
            names.push_back("within=");
        }
    } else if (const Operation* operation = findOperation(words.front());
               operation != nullptr && std::find(words.begin(), words.end(), "=>") != words.end()) {
        names = operation->results;
        for (const std::string& output : operation->outputs)
            names.push_back(output + "=");
    }
    return names;
}

std::vector<std::string> checkScript(const std::string& text, const std::string& source) {
    std::vector<std::string> problems;
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        if (const std::optional<std::string> problem = checkLine(line))
            problems.push_back(source + ":" + std::to_string(number) + ": " + *problem);
    }
    return problems;
}

} // namespace console
