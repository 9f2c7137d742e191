#pragma once

// The simulator's control commands, each once: its name, arguments with their kinds, help,
// where it can run and what it does. The simulator runs them from this table; the help text,
// the console's `sim` checks and completions, `comms-simulator control`, script checks, the
// panel's buttons and the fuzzers all read it.

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

class PhoneService;

using Words = std::vector<std::string>;

// In this order: kindText names them by position.
enum class ArgumentKind {
    word,   // one word
    number, // a whole number
    count,  // a whole number, 0 or more
    flag,   // on|off, 1|0, true|false, yes|no
    rest,   // every further word (a name with blanks, a document, name=value pairs)
};

struct ControlArgument {
    std::string_view name;
    ArgumentKind kind;
    bool optional = false;
};

// Where a command can run: anywhere (a client, the panel, a script), only on a client's own
// connection (it reads or steers that client's requests), or only in a script file.
enum class Reach { anywhere, ownConnection, script };

// What the server side of the simulator does for control commands.
class ControlServer {
public:
    virtual ~ControlServer() = default;
    virtual std::string clientList() const = 0;
    virtual void delayAnswers(std::chrono::milliseconds delay) = 0;
    // Drops every delay and forced answer.
    virtual void clearAnswerSteering() = 0;
};

// The client whose connection a command came on.
class ControlClient {
public:
    virtual ~ControlClient() = default;
    virtual std::string lastRequest() const = 0;
    virtual void forceNextAnswer(std::string answer) = 0;
};

// What a command acts on; the server and the client are absent where there is none.
struct ControlTarget {
    PhoneService& service;
    ControlServer* server = nullptr;
    ControlClient* client = nullptr;
};

struct ControlCommand {
    std::string_view name;
    std::vector<ControlArgument> arguments;
    std::string_view help;
    // Runs the command on words whose arguments fit; the answer begins with "ok" or "error:".
    // Null for `wait`, which the script reader carries out.
    std::string (*run)(ControlTarget& target, const Words& words) = nullptr;
    Reach reach = Reach::anywhere;
};

const std::vector<ControlCommand>& controlCommands();
const ControlCommand* findControlCommand(std::string_view name);
std::vector<std::string> controlCommandNames();

// "a whole number", "on or off", ...
const char* kindText(ArgumentKind kind);
// "incomingCall LINE NUMBER [NAME...]".
std::string controlUsage(const ControlCommand& command);
// Every command, one per line, with what it does.
std::string controlHelp();

// Where a command comes from: a script file, a client's own connection, or elsewhere (the
// panel, a program that runs it directly).
enum class Place { script, connection, elsewhere };

// Why the words (the command's name first) cannot run here: an unknown command, one that
// does not run here, or a missing, extra or ill-formed argument; empty when they can.
std::string commandProblem(const Words& words, Place place);

// Looks the command up, checks where it runs and its arguments, and runs it; the answer
// begins with "ok" or "error:".
std::string runControl(ControlTarget& target, const Words& words);

} // namespace simulator
