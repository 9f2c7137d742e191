#include "SimulatorProcess.h"

#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <thread>

namespace kit {

namespace {

constexpr std::chrono::milliseconds kPoll{10};

// Far ends answer quickly, so that tests wait little for them.
std::vector<std::string> withShortRings(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--ring-time", "100"});
    return arguments;
}

} // namespace

SimulatorProcess::SimulatorProcess(std::vector<std::string> extraArguments, std::string socketPath)
    : process(withShortRings(std::move(extraArguments)), SIMULATOR_PATH, std::move(socketPath)) {}

bool SimulatorProcess::waitForLog(const std::string& text,
                                  std::chrono::milliseconds timeout) const {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (log().find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(kPoll);
    }
    return true;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

ProgramRun runProgram(const std::string& command) {
    ProgramRun run;
    FILE* pipe = popen((command + " 2>&1 </dev/null").c_str(), "r");
    if (pipe == nullptr) return run;
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, pipe) != nullptr)
        run.output += buffer;
    const int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

} // namespace kit
