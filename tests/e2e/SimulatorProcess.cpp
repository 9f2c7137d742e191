#include "SimulatorProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace kit {

namespace {

constexpr std::chrono::milliseconds kPoll{10};

bool accepts(const std::string& path) {
    const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const bool connected =
        connect(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(probe);
    return connected;
}

} // namespace

SimulatorProcess::SimulatorProcess(std::vector<std::string> extraArguments) {
    char pattern[] = "/tmp/comms-e2e.XXXXXX";
    if (mkdtemp(pattern) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    folder = pattern;
    socket = folder + "/service.sock";
    logPath = folder + "/simulator.log";

    std::vector<std::string> arguments = {SIMULATOR_PATH, "--socket", socket, "--ring-time", "100"};
    arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, logPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int failed = posix_spawn(&pid, SIMULATOR_PATH, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) throw std::runtime_error("cannot start " SIMULATOR_PATH);

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!accepts(socket)) {
        int status = 0;
        if (waitpid(pid, &status, WNOHANG) == pid) {
            pid = -1;
            throw std::runtime_error("the simulator stopped at once: " + log());
        }
        if (std::chrono::steady_clock::now() > deadline) {
            kill();
            throw std::runtime_error("the simulator did not listen within 10 s: " + log());
        }
        std::this_thread::sleep_for(kPoll);
    }
}

SimulatorProcess::~SimulatorProcess() {
    kill(SIGTERM);
    std::remove(logPath.c_str());
    std::remove(socket.c_str());
    rmdir(folder.c_str());
}

void SimulatorProcess::kill(int signal) {
    if (pid <= 0) return;
    ::kill(pid, signal);
    int status = 0;
    waitpid(pid, &status, 0);
    pid = -1;
}

std::string SimulatorProcess::log() const {
    std::ifstream file(logPath);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool SimulatorProcess::waitForLog(const std::string& text,
                                  std::chrono::milliseconds timeout) const {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (log().find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(kPoll);
    }
    return true;
}

} // namespace kit
