// comms-console: loads the plug-in through the desktop host, connects to the service,
// subscribes, then runs one operation per line from a terminal (with line editing and
// history) or from a script.

#include <fcntl.h>
#include <poll.h>
#include <readline/history.h>
#include <readline/readline.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <sstream>

#include "CommandLine.h"
#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/Version.h"
#include "CommunicationsService/desktop/Framework.h"
#include "CommunicationsService/desktop/Host.h"
#include "CommunicationsService/desktop/Printable.h"
#include "Console.h"
#include "LineCheck.h"
#include "Operations.h"
#include "ReadInput.h"

namespace {

// Lines from any thread. At a terminal, lines from other threads wait in a queue until
// the input loop can print them around the line being edited.
class Output {
public:
    explicit Output(bool terminal) : atTerminal(terminal) {
        if (atTerminal && pipe(wakePipe) != 0) atTerminal = false;
    }

    // Whatever a line holds, nothing in it steers the terminal.
    void printNow(const std::string& line) {
        std::lock_guard<std::mutex> lock(mutex);
        std::cout << desktop::terminalSafe(line) << std::endl;
    }

    void printFromAnyThread(const std::string& line) {
        if (closed) return;
        if (!atTerminal) return printNow(line);
        {
            std::lock_guard<std::mutex> lock(mutex);
            waiting.push_back(line);
        }
        const char wake = 1;
        [[maybe_unused]] const ssize_t written = write(wakePipe[1], &wake, 1);
    }

    int wakeDescriptor() const { return wakePipe[0]; }

    // From now on only the input loop prints: a script's summary is its last line.
    void closeToOtherThreads() { closed = true; }

    // Prints what waits, keeping the prompt and the half-typed line intact.
    void flushAroundPrompt() {
        char drained[64];
        [[maybe_unused]] const ssize_t ignored = read(wakePipe[0], drained, sizeof drained);
        std::deque<std::string> lines;
        {
            std::lock_guard<std::mutex> lock(mutex);
            lines.swap(waiting);
        }
        if (lines.empty()) return;
        const int point = rl_point;
        char* typed = rl_copy_text(0, rl_end);
        rl_save_prompt();
        rl_replace_line("", 0);
        rl_redisplay();
        for (const std::string& line : lines)
            printNow(line);
        rl_restore_prompt();
        rl_replace_line(typed, 0);
        rl_point = point;
        rl_redisplay();
        std::free(typed);
    }

private:
    bool atTerminal;
    std::atomic<bool> closed{false};
    int wakePipe[2] = {-1, -1};
    std::mutex mutex;
    std::deque<std::string> waiting;
};

console::Console* activeConsole = nullptr;
bool inputEnded = false;
bool anyCheckFailed = false;
int linesThisSession = 0;
// A Ctrl-C at an empty prompt was the last thing typed; the next one quits.
bool interruptedAtEmptyPrompt = false;

void handleTerminalLine(char* line) {
    if (line == nullptr) {
        inputEnded = true;
        // Ctrl-D leaves the cursor behind the prompt.
        std::cout << std::endl;
    } else {
        interruptedAtEmptyPrompt = false;
        if (*line != '\0') {
            add_history(line);
            ++linesThisSession;
        }
        if (!activeConsole->execute(line)) anyCheckFailed = true;
        std::free(line);
    }
    // Removing the handler here keeps readline from showing one more prompt.
    if (inputEnded || activeConsole->quitRequested()) rl_callback_handler_remove();
}

// The candidates of the word being completed, from what stands before it.
std::vector<std::string> completionCandidates;

char* nextCandidate(const char* prefix, int state) {
    static std::size_t next = 0;
    if (state == 0) next = 0;
    while (next < completionCandidates.size()) {
        const std::string& name = completionCandidates[next++];
        if (name.compare(0, std::strlen(prefix), prefix) == 0) return strdup(name.c_str());
    }
    return nullptr;
}

char** completeWord(const char* text, int start, int /*end*/) {
    rl_attempted_completion_over = 1; // names only, never file names
    completionCandidates = console::completions(std::string(rl_line_buffer, start));
    char** matches = rl_completion_matches(text, nextCandidate);
    // "name=" goes on with its value, not with a blank.
    const bool assignment =
        matches != nullptr && matches[1] == nullptr && std::strchr(matches[0], '=') != nullptr;
    rl_completion_append_character = assignment ? '\0' : ' ';
    return matches;
}

// Ctrl-C at a terminal: counted by the handler, acted on by the input loop or an await.
std::atomic<int> interrupts{0};
int handledInterrupts = 0;
int interruptPipe[2] = {-1, -1};
void onInterrupt(int) {
    ++interrupts;
    const char wake = 1;
    [[maybe_unused]] const ssize_t written = write(interruptPipe[1], &wake, 1);
}

// Whether a Ctrl-C came that nobody has acted on yet; acting on it now.
bool takeInterrupt() {
    const int seen = interrupts.load();
    if (seen == handledInterrupts) return false;
    handledInterrupts = seen;
    return true;
}

void installInterruptHandler() {
    if (pipe(interruptPipe) != 0) return;
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    rl_catch_signals = 0;
}

// Ctrl-C at the prompt drops the line being typed; at an empty prompt it warns once and
// quits the second time.
void interruptAtPrompt(Output& output) {
    char drained[64];
    [[maybe_unused]] const ssize_t ignored = read(interruptPipe[0], drained, sizeof drained);
    if (!takeInterrupt()) return;
    const bool typing = rl_end > 0;
    rl_replace_line("", 0);
    rl_crlf();
    if (!typing && interruptedAtEmptyPrompt) {
        inputEnded = true;
        rl_callback_handler_remove();
        return;
    }
    if (!typing) output.printNow("(Ctrl-C again at an empty prompt, or Ctrl-D, quits)");
    interruptedAtEmptyPrompt = !typing;
    rl_on_new_line();
    rl_redisplay();
}

std::string historyPath() {
    const char* home = std::getenv("HOME");
    return home != nullptr ? std::string(home) + "/.comms_console_history" : std::string();
}

// The history file is the console's own: a path that holds anything but a regular file
// is left alone, and lines are only ever appended, so nothing in it is overwritten.
bool usableHistory(const std::string& path, Output& output) {
    struct stat status {};
    if (path.empty()) return false;
    if (lstat(path.c_str(), &status) != 0) return errno == ENOENT;
    if (S_ISREG(status.st_mode)) return true;
    output.printNow("! history " + path +
                    " is not a regular file; it is left as it is and "
                    "this session keeps no history");
    return false;
}

// This session's lines go on the end in one write. When that fails (no such folder, no
// permission, a full disk) the file is cut back to what it held, so no torn line is left,
// and the failure is reported.
void saveHistory(const std::string& path, Output& output) {
    if (linesThisSession == 0) return;
    std::string lines;
    HIST_ENTRY** entries = history_list();
    for (int i = std::max(0, history_length - linesThisSession); i < history_length; ++i)
        lines += std::string(entries[i]->line) + "\n";
    const auto failed = [&](int error) {
        output.printNow("! history " + path + " could not be written (" + std::strerror(error) +
                        "); this session's lines are not kept");
    };
    const int file =
        open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0) return failed(errno);
    struct stat status {};
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        const ssize_t written = write(file, lines.data(), lines.size());
        if (written != static_cast<ssize_t>(lines.size())) {
            const int error = written < 0 ? errno : ENOSPC;
            [[maybe_unused]] const int restored = ftruncate(file, status.st_size);
            failed(error);
        }
    }
    close(file);
}

int runTerminal(console::Console& console, Output& output) {
    activeConsole = &console;
    std::string history = historyPath();
    if (!usableHistory(history, output)) history.clear();
    if (!history.empty()) read_history(history.c_str());
    rl_attempted_completion_function = completeWord;
    rl_callback_handler_install("comms> ", handleTerminalLine);
    while (!inputEnded && !console.quitRequested()) {
        pollfd sources[3] = {{STDIN_FILENO, POLLIN, 0},
                             {output.wakeDescriptor(), POLLIN, 0},
                             {interruptPipe[0], POLLIN, 0}};
        if (poll(sources, 3, -1) < 0) continue;
        if (sources[2].revents != 0) interruptAtPrompt(output);
        if (inputEnded) break;
        if (sources[1].revents != 0) output.flushAroundPrompt();
        if (sources[0].revents != 0) rl_callback_read_char();
    }
    if (!history.empty()) saveHistory(history, output);
    // Like a script, a session with a failed line says so in its exit status.
    return anyCheckFailed ? 1 : 0;
}

// A script stops at its first failing line; its exit status says whether all passed.
int runScript(console::Console& console, const std::string& text, const std::string& source,
              Output& output) {
    std::istringstream input(text);
    std::string line;
    int lineNumber = 0;
    int steps = 0;
    while (!console.quitRequested() && std::getline(input, line)) {
        ++lineNumber;
        const std::size_t first = line.find_first_not_of(" \t\r");
        if (first == std::string::npos || line[first] == '#') continue;
        ++steps;
        if (!console.execute(line)) {
            output.closeToOtherThreads();
            output.printNow("! " + source + ":" + std::to_string(lineNumber) +
                            ": step failed, stopping");
            return 1;
        }
    }
    output.closeToOtherThreads();
    output.printNow("# " + source + ": " +
                    (steps == 1
                         ? std::string("the one step gave what it expected")
                         : "all " + std::to_string(steps) + " steps gave what they expected"));
    return 0;
}

// An installed console loads the plug-in installed with it; in the build tree, the one
// built with it.
std::string defaultPluginPath() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) {
        const std::filesystem::path installed = self.parent_path() / COMMS_INSTALLED_PLUGIN;
        if (std::filesystem::exists(installed, error)) return installed.lexically_normal();
    }
    return COMMS_PLUGIN_PATH;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"Drives the communications service through the plug-in, one operation per line."};
    desktop::Host::Options options;
    options.pluginPath = defaultPluginPath();
    std::string scriptPath;
    std::string channelName = "console-" + std::to_string(getpid());
    int answerTimeout = 10000;
    int awaitTimeout = 5000;
    bool logging = false;
    bool checkOnly = false;
    app.add_option("-p,--plugin", options.pluginPath, "The plug-in to load")->capture_default_str();
    app.add_option("-s,--socket", options.socketPath, "The service's Unix-domain socket")
        ->capture_default_str();
    app.add_option("-f,--script", scriptPath, "Run this script instead of reading a terminal")
        ->check(kit::readableFile());
    app.add_option("-c,--channel", channelName, "The subscriber's channel name")
        ->capture_default_str();
    app.add_option("--answer-timeout", answerTimeout, "Milliseconds to wait for an answer")
        ->check(kit::milliseconds(1, 3600000))
        ->capture_default_str();
    app.add_option("--await-timeout", awaitTimeout, "Default milliseconds an await waits")
        ->check(kit::milliseconds(0, 3600000))
        ->capture_default_str();
    app.add_flag("--log", logging, "Deprecated: --log-level debug");
    std::string logLevel;
    kit::addLogLevel(app, logLevel,
                     "How much the host reports; debug and trace also show the framework's log "
                     "lines (standard error), trace every request, answer and event");
    app.set_version_flag("--version", "comms-console " COMMUNICATIONS_SERVICE_VERSION);
    app.add_flag("--check", checkOnly,
                 "Check the script (--script, else standard input) without connecting");
    if (const std::optional<int> status = kit::parse(app, "comms-console", argc, argv))
        return *status;
    if (const std::string problem = kit::socketPathProblem(options.socketPath); !problem.empty()) {
        std::cerr << "comms-console: " << problem << "\n";
        return 2;
    }
    // Like a program's name, a plug-in named without a folder is looked for here, not in
    // the system's library folders.
    if (options.pluginPath.find('/') == std::string::npos)
        options.pluginPath = "./" + options.pluginPath;

    const bool terminal = !checkOnly && scriptPath.empty() && isatty(STDIN_FILENO) != 0;
    // A script is checked whole before anything connects or runs.
    std::string script;
    const std::string source = scriptPath.empty() ? "standard input" : scriptPath;
    if (!terminal) {
        try {
            script = kit::readInput(scriptPath, std::chrono::milliseconds(answerTimeout));
        } catch (const std::runtime_error& error) {
            std::cerr << "comms-console: " << desktop::terminalSafe(error.what()) << "\n";
            return 2;
        }
        const std::vector<std::string> problems = console::checkScript(script, source);
        for (const std::string& problem : problems)
            std::cout << "! " << desktop::terminalSafe(problem) << "\n";
        if (!problems.empty()) {
            std::cout << "! " << source << ": " << problems.size() << " line"
                      << (problems.size() == 1 ? "" : "s") << " cannot run; nothing was run\n";
            return 1;
        }
        if (checkOnly) {
            std::cout << "# " << source << ": every line can run\n";
            return 0;
        }
    }
    Output output(terminal);
    console::EventLog events;
    console::EventRecorder recorder([&](const console::RecordedEvent& event) {
        output.printFromAnyThread("* " + console::describe(event));
        events.add(event);
    });
    if (logging && logLevel.empty()) logLevel = "debug";
    if (!logLevel.empty()) options.logLevel = kit::logLevelNamed(logLevel);
    desktop::setLogging(options.logLevel >= desktop::LogLevel::debug);
    options.answerTimeout = std::chrono::milliseconds(answerTimeout);
    options.report = [&](const std::string& line) {
        output.printFromAnyThread("! host: " + desktop::printable(line, 1000));
    };

    try {
        desktop::Host host(options);
        host.channel().limitWaits(options.answerTimeout);
        const desktop::Attachment attached = host.attach(recorder, channelName);
        const int subscribed = host.service().subscribe(&recorder);
        if (subscribed != sfiSuccess) {
            std::cerr << "comms-console: subscribing channel '" << channelName
                      << "' failed: " << console::resultName(subscribed) << "\n";
            return 2;
        }
        console::Console::Settings settings;
        settings.awaitTimeout = std::chrono::milliseconds(awaitTimeout);
        settings.echoCommands = !terminal;
        settings.connected = [&host] { return host.channel().connected(); };
        settings.refusal = [&host] { return host.channel().refusalOfLastRequest(); };
        if (terminal) {
            installInterruptHandler();
            settings.interrupted = takeInterrupt;
        }
        console::Console console(
            host.service(), recorder, events,
            [&](const std::string& command) { return host.channel().control(command); },
            [&](const std::string& line) { output.printNow(line); }, settings);
        if (terminal) {
            output.printNow("connected to " + options.socketPath + ", subscribed as '" +
                            channelName + "'; help lists the operations");
            return runTerminal(console, output);
        }
        return runScript(console, script, source, output);
    } catch (const std::exception& error) {
        std::cerr << "comms-console: " << desktop::terminalSafe(error.what()) << "\n";
        return 2;
    }
}
