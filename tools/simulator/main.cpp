// comms-simulator: plays the phone's communications service on a Unix-domain socket, or,
// with the control subcommand, sends one control command to a running simulator.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <iostream>

#include "CommandLine.h"
#include "CommunicationsService/Version.h"
#include "CommunicationsService/desktop/Printable.h"
#include "ControlScript.h"
#include "ControlWords.h"
#include "Panel.h"
#include "PhoneService.h"
#include "ReadInput.h"
#include "Recorder.h"
#include "Replay.h"
#include "Server.h"

namespace {

// A record may hold a long session; it is read whole, but not past this.
constexpr std::size_t kRecordLimit = 256u << 20;

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> names;
    std::size_t start = 0;
    for (std::size_t comma; (comma = text.find(',', start)) != std::string::npos;
         start = comma + 1) {
        names.push_back(text.substr(start, comma - start));
    }
    names.push_back(text.substr(start));
    return names;
}

// Clients' bytes reach the log in many lines; escaped here, none can forge a line or
// steer the terminal that shows the log.
constexpr std::size_t kLogLineLimit = 1000;
desktop::LogLevel shownLevel = desktop::LogLevel::info;
void logLine(desktop::LogLevel level, const std::string& line) {
    if (level > shownLevel) return;
    std::cerr << "simulator: " << desktop::printable(line, kLogLineLimit) << std::endl;
}
void logLine(const std::string& line) { logLine(desktop::LogLevel::info, line); }

// What the program says on its own account quotes records, scripts and services too: it
// is escaped as the log is.
void complain(const std::string& line) {
    std::cerr << "comms-simulator: " << desktop::printable(line, kLogLineLimit) << std::endl;
}

// Runs the steps one after another, each after its wait, on the server's timers.
void runScript(simulator::Server& server, std::shared_ptr<std::vector<simulator::ScriptStep>> steps,
               std::size_t index, const std::string& source) {
    if (index >= steps->size()) {
        logLine("script " + source + " finished");
        return;
    }
    server.after((*steps)[index].wait, [&server, steps, index, source] {
        const simulator::ScriptStep& step = (*steps)[index];
        logLine("script " + source + ":" + std::to_string(step.lineNumber) + " " + step.command +
                " -> " + server.control(step.command));
        runScript(server, steps, index + 1, source);
    });
}

// The words as the shell passed them are pieces of one control line, joined by blanks and
// split again by the simulator's one rule: 'name="Erik Fischer"' is one value with a blank.
int sendControl(const std::string& socketPath, const std::vector<std::string>& words) {
    const std::string command = kit::joinFrom(words, 0);
    FrameworkContext context;
    desktop::ServiceChannel channel(context, socketPath, std::chrono::seconds(10), {},
                                    [](const std::string&) {});
    const std::string answer = channel.control(command);
    if (answer.empty()) {
        const std::string refusal = channel.refusalOfLastRequest();
        complain(refusal.empty() ? "no answer from " + socketPath : "not sent: " + refusal);
        return 2;
    }
    std::cout << desktop::terminalSafe(answer) << "\n";
    return answer.compare(0, 2, "ok") == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"Plays the phone's communications service for the desktop kit."};
    std::string socketPath = desktop::wire::defaultSocketPath();
    simulator::ServiceSettings settings;
    int ringTime = static_cast<int>(settings.ringTime.count());
    std::string scriptPath;
    bool verbose = false;
    simulator::ClientLimits limits;
    app.add_option("-s,--socket", socketPath, "Unix-domain socket to listen on")
        ->capture_default_str();
    // Read whole and split here: an empty name between commas is a mistake to report.
    std::string lines = "1001,1002";
    app.add_option("-l,--lines", lines, "The phone's lines, comma-separated")
        ->capture_default_str();
    app.add_option("--domain", settings.domain, "Domain of the SIP addresses")
        ->capture_default_str();
    app.add_option("--ring-time", ringTime,
                   "Milliseconds a far end rings before it answers or a caller gives up")
        ->check(kit::milliseconds(0, 600000))
        ->capture_default_str();
    app.add_option("--script", scriptPath, "Control script of timed steps to run once serving")
        ->check(kit::readableFile());
    app.add_flag("-v,--verbose", verbose, "Deprecated: --log-level debug");
    app.add_option("--max-outbox-bytes", limits.outboxBytes,
                   "Bytes waiting to be written to one client; a client that falls further "
                   "behind is disconnected")
        ->check(CLI::Range(std::size_t{1} << 16, std::size_t{1} << 30))
        ->capture_default_str();
    app.add_option("--max-total-bytes", limits.totalBytes,
                   "Bytes buffered for all clients together (frames being read, outboxes); "
                   "the client that would pass it is disconnected")
        ->check(CLI::Range(std::size_t{1} << 20, std::size_t{3} << 30))
        ->capture_default_str();
    app.add_option("--max-channels", limits.channels, "Channels one client may subscribe")
        ->check(CLI::Range(1, 1 << 20))
        ->capture_default_str();
    app.add_option("--max-name-bytes", settings.nameBytes,
                   "Longest channel, lamp, device or call name a client may have kept")
        ->check(CLI::Range(1, 1 << 22))
        ->capture_default_str();
    app.add_option("--max-table-entries", settings.tableEntries,
                   "Entries the lamp, device, feature call and in-service tables may hold each")
        ->check(CLI::Range(1, 1 << 24))
        ->capture_default_str();
    std::string recordPath;
    bool recordAppend = false;
    app.add_option("--record", recordPath,
                   "Write every frame served, and clients coming and going, to this file as JSON "
                   "lines; an existing file is refused");
    app.add_flag("--record-append", recordAppend, "Add to the --record file when it exists");
    std::string panelListen;
    const CLI::Option* panelOption = app.add_option(
        "--panel", panelListen,
        "Serve the panel, the simulated phone in a browser, at [ADDRESS:]PORT (address "
        "127.0.0.1 unless given; port 0 takes any free one)");
    std::string replayPath;
    bool replayFast = false;
    int replayTimeout = 10;
    app.add_option("--replay", replayPath,
                   "Serve the session recorded in this file to a new run of the application, "
                   "check that it sends the recorded requests in order, and exit: 0 when the "
                   "whole session matched, 1 at the first divergence or time-out")
        ->check(kit::readableFile());
    app.add_flag("--fast", replayFast,
                 "With --replay: play the recorded steps without their delays");
    app.add_option("--replay-timeout", replayTimeout,
                   "With --replay: seconds to wait for the next request before giving up")
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
    std::string logLevel = "info";
    kit::addLogLevel(app, logLevel,
                     "How much to log; debug and trace also log every request, answer and "
                     "event");
    app.set_version_flag("--version", "comms-simulator " COMMUNICATIONS_SERVICE_VERSION);

    std::vector<std::string> controlWords;
    CLI::App* controlCommand =
        app.add_subcommand("control", "Send one control command to a running simulator");
    controlCommand->fallthrough();
    controlCommand->add_option("-s,--socket", socketPath, "Unix-domain socket of the simulator")
        ->capture_default_str();
    controlCommand->add_option("command", controlWords, "The command and its arguments");
    app.footer("Control commands:\n" + simulator::controlHelp());

    if (const std::optional<int> status = kit::parse(app, "comms-simulator", argc, argv))
        return *status;
    if (*controlCommand) {
        if (controlWords.empty()) {
            std::cerr << "comms-simulator: control needs a command, for example 'control show' "
                         "(the command 'help' lists them)\n";
            return 2;
        }
    }
    if (const std::string problem = kit::socketPathProblem(socketPath); !problem.empty()) {
        complain(problem);
        return 2;
    }
    limits.channelNameBytes = settings.nameBytes;

    try {
        if (*controlCommand) return sendControl(socketPath, controlWords);
        settings.lines = splitLines(lines);
        for (const std::string& line : settings.lines) {
            if (std::count(settings.lines.begin(), settings.lines.end(), line) > 1)
                throw std::runtime_error("--lines: '" + line + "' is named more than once");
            if (line.empty()) {
                throw std::runtime_error("--lines: a line name is empty (names are separated "
                                         "by single commas, for example 1001,1002)");
            }
            if (line.find_first_of("<>& \t") != std::string::npos) {
                throw std::runtime_error("--lines: '" + line +
                                         "' cannot name a line (no blanks, <, > or &)");
            }
        }
        std::vector<simulator::ReplayStep> replaySteps;
        if (!replayPath.empty()) {
            const kit::record::Reading reading = kit::record::read(
                kit::readInput(replayPath, std::chrono::seconds(10), kRecordLimit));
            for (const std::string& problem : reading.problems)
                complain(replayPath + ": " + problem);
            replaySteps = simulator::replaySteps(reading.entries);
            if (replaySteps.empty())
                throw std::runtime_error(replayPath +
                                         " holds no request and no control command to replay");
        }
        std::vector<simulator::ScriptStep> steps;
        if (!scriptPath.empty())
            steps = simulator::parseControlScript(
                kit::readInput(scriptPath, std::chrono::seconds(10)), scriptPath);
        settings.ringTime = std::chrono::milliseconds(ringTime);

        std::signal(SIGPIPE, SIG_IGN);
        asio::io_context io;
        shownLevel = kit::logLevelNamed(logLevel);
        if (verbose) shownLevel = std::max(shownLevel, desktop::LogLevel::debug);
        std::optional<simulator::Recorder> recorder;
        if (!recordPath.empty()) {
            recorder.emplace(recordPath, recordAppend, [](const std::string& line) {
                logLine(desktop::LogLevel::warning, line);
            });
        }
        simulator::Server server(
            io, socketPath,
            [](desktop::LogLevel level, const std::string& line) { logLine(level, line); },
            shownLevel >= desktop::LogLevel::debug, limits);
        simulator::PhoneService service(settings, server, server);
        if (recorder)
            server.watch([&recorder](const simulator::Traffic& t) { recorder->write(t); });
        asio::signal_set stopSignals(io, SIGINT, SIGTERM);
        stopSignals.async_wait([&](const asio::error_code& error, int) {
            if (error) return;
            logLine("stopping");
            server.stop();
            io.stop();
        });
        server.serve(service);
        std::optional<simulator::Panel> panel;
        // Given, even empty, it is read: an empty one is a mistake to say, not a panel to skip.
        if (panelOption->count() > 0) {
            simulator::Panel::Options panelOptions = simulator::Panel::parseListen(panelListen);
            const asio::ip::address address = asio::ip::make_address(panelOptions.address);
            if (!address.is_loopback())
                logLine(desktop::LogLevel::warning,
                        "the panel listens on " + panelOptions.address +
                            ", not on loopback: whoever reaches it there can drive the simulator");
            panel.emplace(
                io, server, service, panelOptions,
                [](desktop::LogLevel level, const std::string& line) { logLine(level, line); });
            logLine("panel at " + panel->url());
        }
        int replayStatus = 0;
        std::optional<simulator::Replay> replay;
        if (!replaySteps.empty()) {
            replay.emplace(server, std::move(replaySteps), replayFast,
                           std::chrono::seconds(replayTimeout),
                           [&](int status, const std::string& report) {
                               complain("replay: " + report);
                               replayStatus = status;
                               server.stop();
                               io.stop();
                           });
            replay->start();
        }
        if (!steps.empty()) {
            runScript(server,
                      std::make_shared<std::vector<simulator::ScriptStep>>(std::move(steps)), 0,
                      scriptPath);
        }
        io.run();
        if (replay) return replayStatus;
    } catch (const std::exception& error) {
        complain(error.what());
        return 2;
    }
    return 0;
}
