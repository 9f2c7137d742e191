#pragma once

// Runs comms-simulator as a child process on a socket in a fresh temporary folder (or on
// the socket path given), for as long as the object lives.

#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include "CommunicationsService/testing/Simulator.h"

namespace kit {

class SimulatorProcess {
public:
    explicit SimulatorProcess(std::vector<std::string> extraArguments = {},
                              std::string socketPath = {});

    const std::string& socketPath() const { return process.socketPath(); }
    pid_t processId() const { return process.processId(); }
    std::string log() const { return process.log(); }

    // Waits until the log holds the text; false after the timeout.
    bool waitForLog(const std::string& text,
                    std::chrono::milliseconds timeout = std::chrono::seconds(10)) const;

    void kill(int signal = SIGKILL) { process.stop(signal); }

private:
    communications::testing::SimulatorProcess process;
};

// The whole content of a file; empty when it cannot be read.
std::string readFile(const std::string& path);

// A program's exit status (-1 when it did not exit) and what it printed on either stream,
// run by the shell with no input.
struct ProgramRun {
    int status = -1;
    std::string output;
};
ProgramRun runProgram(const std::string& command);

// Under AddressSanitizer freed memory is held back for a while before it is used again;
// what is measured is what the simulator holds, so its children hold none back.
inline void reuseFreedMemoryAtOnce() {
    const char* options = std::getenv("ASAN_OPTIONS");
    setenv(
        "ASAN_OPTIONS",
        ((options != nullptr ? std::string(options) + ":" : "") + "quarantine_size_mb=0").c_str(),
        1);
}

// Milliseconds since the call, for checking that nothing hangs.
class Stopwatch {
public:
    long long elapsedMs() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::steady_clock::now() - start)
            .count();
    }

private:
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

} // namespace kit
