// The console and the simulator's command line under careless input: a script that cannot
// be read, never ends or never comes is an error naming it, socket paths that cannot work
// are refused by name, and whatever the service or the script holds reaches the terminal
// escaped. Values with blanks, quoted by the one rule, arrive whole whichever way they are
// sent, and a simulator script runs to its end.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "Client.h"
#include "SimulatorProcess.h"

namespace {

const std::string kConsole = CONSOLE_PATH;
const std::string kSimulator = SIMULATOR_PATH;

// A temporary folder, gone with the object together with the files named in it.
class Folder {
public:
    Folder() {
        char pattern[] = "/tmp/comms-input.XXXXXX";
        path = mkdtemp(pattern);
    }
    ~Folder() {
        for (const std::string& file : files)
            std::remove(file.c_str());
        rmdir(path.c_str());
    }
    std::string file(const std::string& name, const std::string& content) {
        files.push_back(path + "/" + name);
        std::ofstream(files.back(), std::ios::binary) << content;
        return files.back();
    }
    std::string fifo(const std::string& name) {
        files.push_back(path + "/" + name);
        mkfifo(files.back().c_str(), 0600);
        return files.back();
    }

    std::string path;

private:
    std::vector<std::string> files;
};

struct Refusal {
    std::string command;
    std::string message;
};

TEST(Input, ThatCannotBeHadIsAnErrorNamingItAndWhy) {
    Folder folder;
    const std::string fifo = folder.fifo("nobody-writes");
    const std::string longSocket = "/tmp/" + std::string(150, 's') + ".sock";
    const std::vector<Refusal> cases = {
        {kConsole + " --script /proc/self/clear_refs",
         "cannot read /proc/self/clear_refs: Invalid argument"},
        {kConsole + " --check --script /proc/self/clear_refs",
         "cannot read /proc/self/clear_refs: Invalid argument"},
        {kConsole + " --check --script /dev/zero",
         "cannot read /dev/zero: it holds more than the limit of 16777216 bytes"},
        {"sh -c '" + kConsole + " --check </dev/zero'",
         "cannot read standard input: it holds more than the limit of 16777216 bytes"},
        {kConsole + " --check --answer-timeout 300 --script " + fifo,
         "cannot read " + fifo + ": it is a FIFO and nothing was written to it within 300 ms"},
        {kSimulator + " --script /proc/self/clear_refs",
         "cannot read /proc/self/clear_refs: Invalid argument"},
        {kConsole + " --socket ''", "--socket: an empty path names no socket"},
        {kSimulator + " --socket ''", "--socket: an empty path names no socket"},
        {kConsole + " --socket " + longSocket,
         "--socket " + longSocket + ": a path of 160 bytes is longer than the 107"},
        {kSimulator + " control --socket " + longSocket + " show",
         "--socket " + longSocket + ": a path of 160 bytes is longer than the 107"},
    };
    for (const Refusal& refusal : cases) {
        const kit::ProgramRun run = kit::runProgram("timeout 20 " + refusal.command);
        EXPECT_EQ(run.status, 2) << refusal.command << "\n" << run.output;
        EXPECT_NE(run.output.find(refusal.message), std::string::npos) << refusal.command << "\n"
                                                                       << run.output;
    }
}

TEST(Input, AHugeOrOddWordIsShownShortAndEscapedAndCheckedInNoTime) {
    Folder folder;
    const std::string script = folder.file(
        "odd.txt", std::string(1 << 20, 'w') + "\n" + std::string("getServiceState\0", 16) + "\n");
    kit::Stopwatch clock;
    const kit::ProgramRun run = kit::runProgram(kConsole + " --check --script " + script);
    EXPECT_LT(clock.elapsedMs(), 2000);
    EXPECT_EQ(run.status, 1);
    EXPECT_LT(run.output.size(), 1000u) << run.output.size();
    EXPECT_NE(run.output.find(":1: no operation 'wwww"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("... (1048576 bytes)' (try help)"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find(":2: no operation 'getServiceState\\x00'; did you mean "
                              "'getServiceState'?"),
              std::string::npos)
        << run.output;
}

TEST(Output, OfTheServiceCannotSteerTheTerminal) {
    Folder folder;
    kit::SimulatorProcess simulator;
    const std::string script =
        folder.file("title.txt", "sim systemStatus \x1b]0;owned\x07\x1b[2J \xc2\x9b"
                                 "31m\nawait onSystemStatusEvent\n");
    const kit::ProgramRun run =
        kit::runProgram(kConsole + " --socket " + simulator.socketPath() + " --script " + script);
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(run.output.find('\x1b'), std::string::npos) << run.output;
    EXPECT_EQ(run.output.find("\xc2\x9b"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("* onSystemStatusEvent status=\\x1b]0;owned\\x07\\x1b[2J "
                              "statusInfo=\\u009b31m"),
              std::string::npos)
        << run.output;
}

TEST(Timeouts, TheAnswerTimeoutBoundsEveryWaitOfTheConsole) {
    kit::SimulatorProcess simulator;
    ASSERT_EQ(kit::runProgram(kSimulator + " control --socket " + simulator.socketPath() +
                              " delayAnswers 3000")
                  .status,
              0);
    Folder folder;
    const std::string script = folder.file("activate.txt", "activate => sfiSuccess\n");
    kit::Stopwatch clock;
    const kit::ProgramRun run = kit::runProgram(kConsole + " --answer-timeout 300 --socket " +
                                                simulator.socketPath() + " --script " + script);
    EXPECT_LT(clock.elapsedMs(), 2500) << run.output;
    EXPECT_EQ(run.status, 2) << run.output;
    EXPECT_NE(run.output.find("no answer from the communications service to Subscribe within "
                              "300 ms"),
              std::string::npos)
        << run.output;
}

TEST(ValuesWithBlanks, ReachTheApplicationWholeFromTheConsoleAndFromControl) {
    kit::SimulatorProcess simulator;
    kit::Client application(simulator.socketPath());
    ASSERT_TRUE(application.run(
        {"subscribe => sfiSuccess",
         "sim emit callStateChange lineId=1001 callId=1 name=\"Erik Fischer\"",
         "await onCallStateChangeEvent callId=1 name=\"Erik Fischer\" within=10000"}));
    const kit::ProgramRun run =
        kit::runProgram(kSimulator + " control --socket " + simulator.socketPath() +
                        " emit callStateChange lineId=1001 callId=2 'name=\"Erik Fischer\"'");
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_TRUE(application.run(
        {"await onCallStateChangeEvent callId=2 name=\"Erik Fischer\" within=10000"}));
}

TEST(SimulatorScript, RunsEachStepToItsEndAndTheServiceHoldsWhatItDid) {
    Folder folder;
    const std::string script = folder.file(
        "desk.txt", "# the front desk joins the device list\nwait 10\naddDevice 'Front desk'\n"
                    "systemStatus DEGRADED \"backup link\"\n");
    kit::SimulatorProcess simulator({"--script", script});
    ASSERT_TRUE(simulator.waitForLog("script " + script + " finished")) << simulator.log();
    EXPECT_NE(simulator.log().find(":3 addDevice \"Front desk\" -> ok"), std::string::npos)
        << simulator.log();
    EXPECT_NE(simulator.log().find(":4 systemStatus DEGRADED \"backup link\" -> ok"),
              std::string::npos)
        << simulator.log();
    kit::Client application(simulator.socketPath());
    EXPECT_TRUE(application.run({"subscribe => sfiSuccess", "activate => sfiSuccess",
                                 "getDevices => sfiSuccess devices='1001,1002,Front desk'"}));
}

} // namespace
