#include "SimulatorProcess.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

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

SimulatorProcess::SimulatorProcess(std::vector<std::string> extraArguments,
                                   std::string socketPath) {
    char pattern[] = "/tmp/comms-e2e.XXXXXX";
    if (mkdtemp(pattern) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    folder = pattern;
    socket = socketPath.empty() ? folder + "/service.sock" : std::move(socketPath);
    logPath = folder + "/simulator.log";

    std::vector<std::string> arguments = {SIMULATOR_PATH, "--socket", socket, "--ring-time", "100"};
    arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    // The simulator must not outlive a test process that dies: it gets SIGTERM with its
    // parent, and holds none of the parent's output streams open.
    const pid_t parent = getpid();
    pid = fork();
    if (pid < 0) throw std::runtime_error("cannot start " SIMULATOR_PATH);
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) _exit(1);
        const int logFile = open(logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int nothing = open("/dev/null", O_RDWR);
        dup2(nothing, STDIN_FILENO);
        dup2(nothing, STDOUT_FILENO);
        dup2(logFile, STDERR_FILENO);
        execv(SIMULATOR_PATH, argv.data());
        _exit(127);
    }

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
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
    if (socket.compare(0, folder.size(), folder) == 0) std::remove(socket.c_str());
    rmdir(folder.c_str());
}

void SimulatorProcess::kill(int signal) {
    if (pid <= 0) return;
    ::kill(pid, signal);
    int status = 0;
    waitpid(pid, &status, 0);
    pid = -1;
}

std::string SimulatorProcess::log() const { return readFile(logPath); }

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
