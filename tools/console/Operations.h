#pragma once

// The 48 operations of CommunicationsServiceIfc as console commands: each with its
// parameters for checking a line's words, and a call that prints its result in words.
// Parameters, their kinds and the outputs come from the protocol's description.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "EventRecorder.h"

namespace console {

// How much of a word of a line a message shows.
constexpr std::size_t kEchoLimit = 64;

// How a word of a command line is read as an operation's argument.
enum class ArgumentKind {
    Text,         // any word
    Integer,      // a 32-bit decimal number (also enumeration values)
    Flag,         // 1/0, true/false, yes/no, on/off
    ServiceState, // a service state's name, or 0, 1, 2
};

struct Parameter {
    std::string_view name;
    ArgumentKind kind;
};

// The words of one call, checked against the operation's parameters.
class Arguments {
public:
    explicit Arguments(std::vector<std::string> words) : words(std::move(words)) {}
    const std::string& text(std::size_t index) const { return words.at(index); }
    int integer(std::size_t index) const;
    bool flag(std::size_t index) const;
    sfiServiceState serviceState(std::size_t index) const;

private:
    std::vector<std::string> words;
};

struct Outcome {
    std::string result; // a result word, a yes or no, "sent", ...
    std::vector<NamedValue> outputs;
};

struct Operation {
    std::string_view name;
    std::vector<Parameter> parameters;
    // The result words it can give, and the names of its outputs.
    std::vector<std::string> results;
    std::vector<std::string> outputs;
    std::function<Outcome(CommunicationsServiceIfc& service, Executable& subscriber,
                          const Arguments& arguments)>
        run;
};

const std::vector<Operation>& operations();
const Operation* findOperation(const std::string& name);

// "answerCall <line> <callId:int>"
std::string usage(const Operation& operation);

// Checks the words against the parameters; throws std::invalid_argument naming the
// operation's expected arguments and what was wrong.
Arguments bindArguments(const Operation& operation, std::vector<std::string> words);

// The name of a result code: its result word, or the number when it has none.
std::string resultName(int code);

// The names of every result code.
const std::vector<std::string>& resultNames();

} // namespace console
