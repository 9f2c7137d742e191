#pragma once

/// @file
/// Runs the service simulator for an application's integration tests, on a socket in a
/// private temporary folder, so that tests running at once never share a service:
///
/// @code
/// class AnswerTest : public communications::testing::SimulatorTest {};
///
/// TEST_F(AnswerTest, AnswersTheCall) {
///     desktop::Host::Options options;
///     options.pluginPath = PLUGIN_PATH;
///     options.socketPath = simulator.socketPath();
///     desktop::Host host(options);
///     // ...
/// }
/// @endcode
///
/// The program run is the one named by the environment variable COMMS_SIMULATOR, else the
/// one the test was compiled with in the macro COMMS_SIMULATOR (the CMake package's
/// imported target gives it:
/// `COMMS_SIMULATOR="$<TARGET_FILE:CommunicationsService::comms-simulator>"`), else
/// `comms-simulator` as found on the PATH.

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace communications::testing {

/// The simulator program to run; see the file's description.
inline std::string simulatorProgram() {
    if (const char* program = std::getenv("COMMS_SIMULATOR"); program != nullptr && *program)
        return program;
#ifdef COMMS_SIMULATOR
    return COMMS_SIMULATOR;
#else
    return "comms-simulator";
#endif
}

/// The simulator as a child process, listening on its own socket for as long as the
/// object lives. Its standard error (its log) goes to a file beside the socket.
class SimulatorProcess {
public:
    /// Starts the program with `--socket` and @p arguments; throws std::runtime_error with
    /// the simulator's log when it does not listen within 30 seconds. The socket is made in
    /// the private folder unless @p socketPath names one.
    explicit SimulatorProcess(std::vector<std::string> arguments = {},
                              std::string program = simulatorProgram(), std::string socketPath = {})
        : program(std::move(program)), arguments(std::move(arguments)) {
        char pattern[] = "/tmp/comms-simulator.XXXXXX";
        if (mkdtemp(pattern) == nullptr)
            throw std::runtime_error("cannot make a temporary folder for the simulator");
        folder = pattern;
        socket = socketPath.empty() ? folder + "/service.sock" : std::move(socketPath);
        logPath = folder + "/simulator.log";
        start();
    }

    /// Stops the simulator and removes the private folder.
    ~SimulatorProcess() {
        stop();
        std::remove(logPath.c_str());
        // A simulator that was killed leaves its socket behind.
        if (socket.compare(0, folder.size(), folder) == 0) std::remove(socket.c_str());
        rmdir(folder.c_str());
    }
    SimulatorProcess(const SimulatorProcess&) = delete;
    SimulatorProcess& operator=(const SimulatorProcess&) = delete;

    /// Where it listens; give it to desktop::Host::Options::socketPath.
    const std::string& socketPath() const { return socket; }

    /// Its process, for tests that watch what it holds.
    pid_t processId() const { return pid; }

    /// What it has logged so far.
    std::string log() const {
        std::ifstream file(logPath);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    /// Stops it with @p signal (SIGKILL: as a crash) and waits until it is gone.
    void stop(int signal = SIGTERM) {
        if (pid <= 0) return;
        kill(pid, signal);
        int status = 0;
        waitpid(pid, &status, 0);
        pid = -1;
    }

    /// Starts it again on the same socket, a fresh service, after stop(). A socket that a
    /// killed simulator left behind is taken over.
    void start() {
        std::vector<std::string> words = {program, "--socket", socket};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);

        // The simulator ends with the test process, and holds none of its streams open.
        const pid_t parent = getpid();
        pid = fork();
        if (pid < 0) throw std::runtime_error("cannot start " + program);
        if (pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            if (getppid() != parent) _exit(1);
            const int logFile = open(logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
            const int nothing = open("/dev/null", O_RDWR);
            dup2(nothing, STDIN_FILENO);
            dup2(nothing, STDOUT_FILENO);
            dup2(logFile, STDERR_FILENO);
            execvp(argv[0], argv.data());
            std::fprintf(stderr, "cannot run %s\n", argv[0]);
            _exit(127);
        }
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!accepts()) {
            int status = 0;
            if (waitpid(pid, &status, WNOHANG) == pid) {
                pid = -1;
                throw std::runtime_error(program + " stopped at once: " + log());
            }
            if (std::chrono::steady_clock::now() > deadline) {
                stop(SIGKILL);
                throw std::runtime_error(program + " did not listen within 30 s: " + log());
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

private:
    bool accepts() const {
        const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socket.copy(address.sun_path, sizeof address.sun_path - 1);
        const bool connected =
            connect(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        close(probe);
        return connected;
    }

    std::string program;
    std::vector<std::string> arguments;
    std::string folder;
    std::string socket;
    std::string logPath;
    pid_t pid = -1;
};

/// A GoogleTest fixture that gives each test a simulator of its own in `simulator`.
class SimulatorTest : public ::testing::Test {
protected:
    /// Started before the test body, stopped after it.
    SimulatorProcess simulator;
};

} // namespace communications::testing
