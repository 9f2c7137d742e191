#pragma once

// Command-line parsing shared by the kit's programs: every mistake in the options ends
// the program with status 2 and one line naming the option and what was wrong.

#include <sys/un.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "CommunicationsService/desktop/Host.h"
#include "ControlWords.h"
#include "NearestName.h"

namespace kit {

// A whole number of milliseconds within the range, with a message that says so.
inline CLI::Validator milliseconds(int low, int high) {
    return CLI::Validator(
        [low, high](std::string& word) -> std::string {
            const std::optional<int> value = toInt(word);
            if (!value) return "takes a number of milliseconds, not '" + word + "'";
            if (*value < low || *value > high) {
                return "takes " + std::to_string(low) + " to " + std::to_string(high) +
                       " milliseconds, not " + word;
            }
            return {};
        },
        "MS");
}

// The log levels' names, least first; each level includes the ones before it.
inline const std::vector<std::string>& logLevels() {
    static const std::vector<std::string> levels = [] {
        std::vector<std::string> names;
        for (const desktop::NamedLogLevel& named : desktop::kLogLevels)
            names.emplace_back(named.name);
        return names;
    }();
    return levels;
}

// The level of the name, which addLogLevel's check lets through only when it names one.
inline desktop::LogLevel logLevelNamed(const std::string& name) {
    for (const desktop::NamedLogLevel& named : desktop::kLogLevels) {
        if (named.name == name) return named.level;
    }
    return desktop::LogLevel::info;
}

// The log level option, also set by the environment variable COMMS_LOG_LEVEL.
inline CLI::Option* addLogLevel(CLI::App& app, std::string& level, const std::string& what) {
    std::string names;
    for (const std::string& name : logLevels())
        names.append(names.empty() ? "" : ", ").append(name);
    return app.add_option("--log-level", level, what + " (" + names + ")")
        ->envname("COMMS_LOG_LEVEL")
        ->check(CLI::Validator(
            [names](std::string& word) -> std::string {
                if (std::find(logLevels().begin(), logLevels().end(), word) != logLevels().end())
                    return {};
                return "names no log level: '" + word + "'" + didYouMean(word, logLevels()) +
                       " (levels: " + names + ")";
            },
            "LEVEL"));
}

inline CLI::Validator readableFile() {
    return CLI::Validator(
        [](std::string& path) -> std::string {
            if (CLI::ExistingFile(path).empty()) return {};
            return "names no readable file: '" + path + "'";
        },
        "FILE");
}

// Why the path cannot name a Unix-domain socket; empty when it can. An empty path would
// name an abstract socket that no other program of the kit could reach.
inline std::string socketPathProblem(const std::string& path) {
    constexpr std::size_t kLongest = sizeof(sockaddr_un::sun_path) - 1;
    if (path.empty()) return "--socket: an empty path names no socket";
    if (path.size() > kLongest) {
        return "--socket " + path + ": a path of " + std::to_string(path.size()) +
               " bytes is longer than the " + std::to_string(kLongest) +
               " a Unix-domain socket can have";
    }
    return {};
}

// Names the first argument that is not one of the program's options, and the nearest one.
inline std::string unexpected(CLI::App& app, int argc, char** argv) {
    std::vector<std::string> options;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames())
            options.push_back("--" + name);
    }
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const std::string name = word.substr(0, word.find('='));
        if (name.rfind("--", 0) == 0 &&
            std::find(options.begin(), options.end(), name) == options.end()) {
            std::string known;
            for (const std::string& option : options)
                known += (known.empty() ? "" : ", ") + option;
            return "unknown option '" + name + "'" + didYouMean(name, options) +
                   " (options: " + known + ")";
        }
    }
    return "unexpected argument";
}

// Parses the arguments; help and version requests print and give status 0, mistakes
// give status 2. Returns nothing when the program may go on.
inline std::optional<int> parse(CLI::App& app, const std::string& program, int argc, char** argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& request) {
        return app.exit(request);
    } catch (const CLI::CallForAllHelp& request) {
        return app.exit(request);
    } catch (const CLI::CallForVersion& request) {
        return app.exit(request);
    } catch (const CLI::ArgumentMismatch& error) {
        // CLI11 words this as "--name: 1 required TYPE missing".
        const std::string text = error.what();
        std::cerr << program << ": " << text.substr(0, text.find(':'))
                  << " needs a value (try --help)\n";
        return 2;
    } catch (const CLI::ExtrasError&) {
        std::cerr << program << ": " << unexpected(app, argc, argv) << " (try --help)\n";
        return 2;
    } catch (const CLI::ParseError& error) {
        std::cerr << program << ": " << error.what() << " (try --help)\n";
        return 2;
    }
    return std::nullopt;
}

} // namespace kit
