// The console at a terminal, driven through a pseudo-terminal: Ctrl-C, completion, and a
// history file that sessions only ever append to.

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <thread>

#include "SimulatorProcess.h"

namespace {

// comms-console on a pseudo-terminal with its own HOME, killed if a test leaves it running.
class Terminal {
public:
    Terminal(const std::string& socket, const std::string& home) {
        pid = forkpty(&master, nullptr, nullptr, nullptr);
        if (pid == 0) {
            setenv("HOME", home.c_str(), 1);
            execl(CONSOLE_PATH, "comms-console", "--socket", socket.c_str(),
                  static_cast<char*>(nullptr));
            _exit(127);
        }
    }
    ~Terminal() {
        if (pid > 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
        close(master);
    }

    void type(const std::string& keys) {
        [[maybe_unused]] const ssize_t written = write(master, keys.data(), keys.size());
    }

    // Reads until the screen shows the text; false after twenty seconds, a bound meant for
    // a loaded machine under the sanitizers, not for a healthy run.
    bool shows(const std::string& text) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (screen.find(text, seen) == std::string::npos) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            pollfd source{master, POLLIN, 0};
            if (poll(&source, 1, 50) <= 0) continue;
            char bytes[512];
            const ssize_t got = read(master, bytes, sizeof bytes);
            if (got <= 0) return false;
            screen.append(bytes, static_cast<std::size_t>(got));
        }
        seen = screen.find(text, seen) + text.size();
        return true;
    }

    // Whether the console ended within twenty seconds.
    bool ended() {
        for (int i = 0; i < 2000; ++i) {
            if (waitpid(pid, nullptr, WNOHANG) == pid) {
                pid = -1;
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    std::string screen;

private:
    int master = -1;
    pid_t pid = -1;
    std::size_t seen = 0;
};

TEST(Terminal, CtrlCCancelsTheLineOrTheAwaitAndTwiceAtAnEmptyPromptQuits) {
    kit::SimulatorProcess simulator;
    char pattern[] = "/tmp/comms-home.XXXXXX";
    const std::string home = mkdtemp(pattern);
    const std::string history = home + "/.comms_console_history";
    std::ofstream(history) << "an earlier session's line\n";

    Terminal terminal(simulator.socketPath(), home);
    ASSERT_TRUE(terminal.shows("comms> ")) << terminal.screen;
    terminal.type("await onCallHeldEvent within=20000\r");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    terminal.type("\x03");
    EXPECT_TRUE(terminal.shows("await onCallHeldEvent cancelled")) << terminal.screen;
    ASSERT_TRUE(terminal.shows("comms> ")) << terminal.screen;
    {
        // A session that ends first: both sessions' lines stay in the history.
        Terminal other(simulator.socketPath(), home);
        ASSERT_TRUE(other.shows("comms> ")) << other.screen;
        other.type("echo from the other session\r");
        ASSERT_TRUE(other.shows("# from the other session")) << other.screen;
        ASSERT_TRUE(other.shows("comms> ")) << other.screen;
        other.type("\x04");
        EXPECT_TRUE(other.ended()) << other.screen;
    }
    terminal.type("help onIncomingAssociatedCallEvent\r");
    EXPECT_TRUE(terminal.shows("onIncomingAssociatedCallEvent lineId currentCallId newCallId"))
        << terminal.screen;
    ASSERT_TRUE(terminal.shows("comms> ")) << terminal.screen;
    for (const auto& [typed, completed] :
         {std::pair("answerCa\t", "answerCall "), std::pair("sim incom\t", "sim incomingCall ")}) {
        terminal.type(typed);
        EXPECT_TRUE(terminal.shows(completed)) << terminal.screen;
        terminal.type("\x03");
        ASSERT_TRUE(terminal.shows("comms> ")) << terminal.screen;
    }
    terminal.type("\x03");
    EXPECT_TRUE(terminal.shows("Ctrl-C again")) << terminal.screen;
    ASSERT_TRUE(terminal.shows("comms> ")) << terminal.screen;
    terminal.type("\x03");
    EXPECT_TRUE(terminal.ended()) << terminal.screen;

    EXPECT_EQ(kit::readFile(history), "an earlier session's line\necho from the other session\n"
                                      "await onCallHeldEvent within=20000\n"
                                      "help onIncomingAssociatedCallEvent\n");
    std::remove(history.c_str());
    rmdir(home.c_str());
}

TEST(Terminal, AHistoryThatCannotBeWrittenIsReportedOnce) {
    kit::SimulatorProcess simulator;
    Terminal terminal(simulator.socketPath(), "/nonexistent/home");
    ASSERT_TRUE(terminal.shows("comms> ")) << terminal.screen;
    terminal.type("echo one\r");
    ASSERT_TRUE(terminal.shows("comms> ")) << terminal.screen;
    terminal.type("echo two\r");
    ASSERT_TRUE(terminal.shows("comms> ")) << terminal.screen;
    terminal.type("\x04");
    EXPECT_TRUE(terminal.shows("! history /nonexistent/home/.comms_console_history could not be "
                               "written (No such file or directory); this session's lines are "
                               "not kept"))
        << terminal.screen;
    EXPECT_TRUE(terminal.ended());
    EXPECT_EQ(terminal.screen.find("could not be written"),
              terminal.screen.rfind("could not be written"));
}

} // namespace
