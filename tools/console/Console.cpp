#include "Console.h"

#include <map>
#include <stdexcept>

#include "CommunicationsService/desktop/Printable.h"
#include "ControlWords.h"
#include "EmittedEvent.h"
#include "LineCheck.h"
#include "Operations.h"

namespace console {

namespace {

constexpr const char* kExpectMarker = "=>";

std::optional<NamedValue> splitAssignment(const std::string& word) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos || equals == 0) return std::nullopt;
    return NamedValue{word.substr(0, equals), word.substr(equals + 1)};
}

} // namespace

Console::Console(CommunicationsServiceIfc& serviceInterface, Executable& eventSubscriber,
                 EventLog& eventLog, Control controlCommand, Print printLine,
                 Settings consoleSettings)
    : service(serviceInterface), subscriber(eventSubscriber), events(eventLog),
      control(std::move(controlCommand)), print(std::move(printLine)), settings(consoleSettings) {}

std::string Console::help() {
    std::string text = "Operations (flags take 1/0, true/false, yes/no, on/off):\n";
    for (const Operation& operation : operations())
        text += "  " + usage(operation) + "\n";
    text += "Console commands:\n"
            "  OPERATION ARGS... => RESULT [name=value...]  check the result and outputs\n"
            "  await CALLBACK [name=value...] [within=MS] [since=start]   wait for a matching\n"
            "      event from the step before on (since=start: also earlier ones)\n"
            "  sim COMMAND...                               simulator control (sim help)\n"
            "  echo TEXT...                                 print a line into the trace\n"
            "  help [OPERATION|CALLBACK]                    this list, or one operation's\n"
            "                                               arguments or a callback's\n"
            "  quit                                         leave the console";
    return text;
}

bool Console::fail(const std::string& message) {
    print("! " + message);
    return false;
}

bool Console::execute(const std::string& line) {
    std::vector<std::string> words;
    try {
        words = kit::splitWords(line);
    } catch (const std::invalid_argument& error) {
        return fail(std::string("bad line: ") + error.what());
    }
    if (words.empty()) return true;
    if (settings.echoCommands) print("> " + line.substr(line.find_first_not_of(" \t")));
    if (const std::optional<std::string> problem = checkLine(line)) return fail(*problem);
    const std::string& command = words.front();
    if (command == "quit" || command == "exit") {
        quit = true;
        return true;
    }
    if (command == "help") {
        if (words.size() == 1) {
            print(help());
            return true;
        }
        if (const Operation* operation = findOperation(words[1])) {
            print(usage(*operation));
        } else {
            std::string arguments;
            for (const std::string& name : *callbackArguments(words[1]))
                arguments += " " + name;
            print(words[1] + arguments);
        }
        return true;
    }
    if (command == "echo") {
        print("# " + kit::joinFrom(words, 1));
        return true;
    }
    if (command == "await") return await(words);
    // An await looks at the events from the last other step on: those it may have caused.
    awaitFrom = events.size();
    if (command == "sim") return simulate(words);
    return runOperation(words);
}

bool Console::runOperation(const std::vector<std::string>& words) {
    const Operation* operation = findOperation(words.front());
    std::vector<std::string> arguments;
    std::vector<std::string> expectations;
    bool expecting = false;
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (words[i] == kExpectMarker && !expecting) {
            expecting = true;
        } else {
            (expecting ? expectations : arguments).push_back(words[i]);
        }
    }
    Outcome outcome;
    try {
        const Arguments bound = bindArguments(*operation, arguments);
        outcome = operation->run(service, subscriber, bound);
    } catch (const std::invalid_argument& error) {
        return fail(error.what());
    }
    std::string shown = "< " + std::string(operation->name) + ": " + outcome.result;
    std::string outputs;
    for (const NamedValue& output : outcome.outputs) {
        outputs += (outputs.empty() ? "" : " ") + output.name + "=" + displayValue(output.value);
    }
    // A failed query leaves its outputs at whatever the reader made of the answer.
    const bool outputsValid =
        outcome.result == CommunicationsService::protocol::resultWord(sfiSuccess) ||
        outcome.result == "text";
    if (!outputs.empty())
        shown += outputsValid ? " " + outputs : " (outputs not valid: " + outputs + ")";
    const std::string refusal = settings.refusal ? settings.refusal() : std::string();
    if (!refusal.empty()) shown += " (refused: " + desktop::printable(refusal) + ")";
    // Without a connection every answer is empty, and some queries read an empty answer as
    // success; the marker keeps such a result from passing for the service's.
    if (settings.connected && !settings.connected()) {
        shown += " (service unreachable: not an answer of the service)";
    }
    print(shown);

    bool met = true;
    for (const std::string& expectation : expectations) {
        const std::optional<NamedValue> wanted = splitAssignment(expectation);
        if (!wanted) {
            if (expectation != outcome.result) {
                met = fail("expected " + expectation + ", got " + outcome.result);
            }
            continue;
        }
        const NamedValue* actual = nullptr;
        for (const NamedValue& output : outcome.outputs) {
            if (output.name == wanted->name) actual = &output;
        }
        if (actual != nullptr && actual->value != wanted->value) {
            met = fail("expected " + wanted->name + "=" + displayValue(wanted->value) + ", got " +
                       displayValue(actual->value));
        }
    }
    return met;
}

// The line has been checked: the callback and the names are known, within= is a number.
bool Console::await(const std::vector<std::string>& words) {
    std::vector<NamedValue> expected;
    std::chrono::milliseconds timeout = settings.awaitTimeout;
    std::size_t from = awaitFrom;
    const std::string event = simulator::eventOfCallback(words[1]);
    for (std::size_t i = 2; i < words.size(); ++i) {
        std::optional<NamedValue> assignment = splitAssignment(words[i]);
        if (assignment->name == "since") {
            from = 0;
        } else if (assignment->name == "within") {
            timeout = std::chrono::milliseconds(kit::toInt(assignment->value).value_or(0));
        } else {
            assignment->value =
                simulator::recordedValue(event, assignment->name, assignment->value);
            expected.push_back(*assignment);
        }
    }
    std::string wanted = words[1];
    for (const NamedValue& value : expected)
        wanted += " " + value.name + "=" + displayValue(value.value);
    bool cancelled = false;
    const std::optional<RecordedEvent> arrived = events.await(
        words[1], expected, timeout,
        [&] {
            cancelled = cancelled || (settings.interrupted && settings.interrupted());
            return cancelled;
        },
        from);
    if (cancelled) return fail("await " + wanted + " cancelled");
    if (!arrived) {
        return fail("no event " + wanted + " within " + std::to_string(timeout.count()) + " ms");
    }
    print("= got " + wanted);
    return true;
}

bool Console::simulate(const std::vector<std::string>& words) {
    // Quoted again so that the simulator splits the command into these very words.
    const std::string reply = control(kit::quoteWords({words.begin() + 1, words.end()}));
    if (reply.empty()) {
        // A command too big for a frame is refused before it is sent.
        const std::string refusal = settings.refusal ? settings.refusal() : std::string();
        return fail(refusal.empty() ? "sim: no answer from the simulator"
                                    : "sim: not sent: " + desktop::printable(refusal));
    }
    print("< sim: " + reply);
    if (reply.compare(0, 2, "ok") != 0) {
        return fail("sim " + kit::joinFrom(words, 1) + " failed (try sim help)");
    }
    return true;
}

} // namespace console
