// The kit loses nothing and forgives: it removes only what it made, control commands are
// never held back by the answer steering they set, a reset returns the simulator to its
// start, and a refusal reaches the client and the simulator's log with its reason.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "Client.h"
#include "SimulatorProcess.h"

namespace {

// A temporary folder and a file in it, both gone with the object.
class PreciousFile {
public:
    PreciousFile() {
        char pattern[] = "/tmp/comms-safety.XXXXXX";
        folder = mkdtemp(pattern);
        path = folder + "/notes.txt";
        std::ofstream(path) << kContent;
    }
    ~PreciousFile() {
        std::remove(path.c_str());
        rmdir(folder.c_str());
    }
    bool untouched() const {
        struct stat status {};
        return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
               kit::readFile(path) == kContent;
    }

    static constexpr const char* kContent = "the only copy\n";
    std::string folder;
    std::string path;
};

TEST(Paths, AFileWhereTheSocketBelongsIsRefusedByNameAndLeftAsItIs) {
    PreciousFile file;
    // Bounded: a simulator that took the path over would listen on it for good.
    const kit::ProgramRun run =
        kit::runProgram("timeout 10 " + std::string(SIMULATOR_PATH) + " --socket " + file.path);
    EXPECT_EQ(run.status, 2) << run.output;
    EXPECT_NE(run.output.find("--socket " + file.path + " exists and is not a socket"),
              std::string::npos)
        << run.output;
    EXPECT_TRUE(file.untouched());
}

// A stale socket is taken over: the restart test starts a simulator where one was killed.
TEST(Paths, OnlyTheSimulatorsOwnSocketIsRemoved) {
    PreciousFile file;
    const std::string socket = file.folder + "/service.sock";
    kit::SimulatorProcess simulator({}, socket);
    // The socket listens a moment before the line is logged.
    EXPECT_TRUE(simulator.waitForLog("listening on " + socket)) << simulator.log();

    // Something else takes the path while the simulator runs: stopping leaves it alone.
    ASSERT_EQ(std::remove(socket.c_str()), 0);
    ASSERT_EQ(rename(file.path.c_str(), socket.c_str()), 0);
    simulator.kill(SIGTERM);
    ASSERT_EQ(rename(socket.c_str(), file.path.c_str()), 0);
    EXPECT_TRUE(file.untouched());
}

} // namespace

namespace {

TEST(Steering, AppliesToServiceRequestsAndNeverHoldsBackControlCommands) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    ASSERT_EQ(client.control("delayAnswers 1500"), "ok");
    kit::Stopwatch clock;
    EXPECT_EQ(client.control("delayAnswers 800"), "ok");
    EXPECT_EQ(client.control("nextAnswer sfiFailureCallBackToMany"), "ok");
    EXPECT_EQ(client.control("show").compare(0, 2, "ok"), 0);
    EXPECT_LT(clock.elapsedMs(), 500);

    clock = kit::Stopwatch();
    EXPECT_EQ(client.service().activate(), sfiFailureCallBackToMany);
    EXPECT_GE(clock.elapsedMs(), 800);
    EXPECT_EQ(client.service().deactivate(false), sfiSuccess);
}

TEST(Reset, ReturnsTheSimulatorToItsStartAndEndsAnswerSteering) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    ASSERT_TRUE(client.run({"subscribe => sfiSuccess", "activate => sfiSuccess",
                            "outgoingCallMake 1001 0 2002 0 0 0 => sfiSuccess",
                            "setForwardingConfiguration 1001 1 1 2003 0 0 => sfiSuccess",
                            "sim delayAnswers 2000", "sim nextAnswer sfiFailure", "sim reset"}));
    kit::Stopwatch clock;
    EXPECT_TRUE(
        client.run({"getForwardingConfiguration 1 => sfiSuccess status=false uri=",
                    "outgoingCallMake 1001 0 2002 0 0 0 => sfiFailure", "activate => sfiSuccess",
                    "outgoingCallMake 1001 0 2002 0 0 0 => sfiSuccess",
                    "await onCallStateChangeEvent callId=1 callState=ringingBack"}));
    EXPECT_LT(clock.elapsedMs(), 1500);
}

TEST(Refusals, ReachTheConsoleWithTheirReasonBesideTheUnchangedResult) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    ASSERT_TRUE(client.run({"activate => sfiSuccess", "answerCall 1001 77 => sfiFailure",
                            "holdCall 1009 1 0 0 => sfiFailure", "getDevices => sfiSuccess"}));
    const std::vector<std::string> printed = {
        "< answerCall: sfiFailure (refused: call 77 does not exist on line 1001)\n",
        "< holdCall: sfiFailure (refused: line '1009' does not exist (lines are 1001 1002))\n",
        "< getDevices: sfiSuccess devices=1001,1002\n",
    };
    for (const std::string& line : printed)
        EXPECT_NE(client.trace.find(line), std::string::npos) << client.trace;
    // The library sees the service's answer as it always was.
    EXPECT_EQ(client.service().answerCall("1001", 77), sfiFailure);
    EXPECT_EQ(client.host->channel().refusalOfLastRequest(), "call 77 does not exist on line 1001");
    // The simulator logs them with their reason also without --verbose.
    EXPECT_TRUE(
        simulator.waitForLog("AnswerCall -> sfiFailure: call 77 does not exist on line 1001"))
        << simulator.log();
}

TEST(Scripts, AreCheckedWholeBeforeTheFirstStepAndTheCheckNeedsNoService) {
    PreciousFile folder;
    const std::string script = folder.folder + "/day.txt";
    std::ofstream(script) << "sim incomingCall 1001 2005\nactivate => sfiSucess\n";
    kit::SimulatorProcess simulator;
    const std::string console = std::string(CONSOLE_PATH) + " --script " + script;

    kit::ProgramRun run = kit::runProgram(console + " --socket " + simulator.socketPath());
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find(script + ":2: activate gives no result 'sfiSucess'; did you mean "
                                       "'sfiSuccess'?"),
              std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find("nothing was run"), std::string::npos) << run.output;
    // The start-up probe is client 1; the console never connected.
    EXPECT_EQ(simulator.log().find("client 2"), std::string::npos) << simulator.log();

    run = kit::runProgram(console + " --check --socket /nonexistent/service.sock");
    EXPECT_EQ(run.status, 1) << run.output;
    std::ofstream(script) << "sim incomingCall 1001 2005\nactivate => sfiSuccess\n";
    run = kit::runProgram(console + " --check --socket /nonexistent/service.sock");
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(run.output.find("every line can run"), std::string::npos) << run.output;
    std::remove(script.c_str());
}

TEST(Safety, AScriptsMistakeIsReportedWithWhatATerminalWouldObeyEscaped) {
    char pattern[] = "/tmp/comms-script-XXXXXX";
    const std::string folder = mkdtemp(pattern);
    std::ofstream(folder + "/hostile.script") << "wait 5\n\x1b]0;owned\x07 \xc2\x9b"
                                                 "2J\n";
    const kit::ProgramRun run =
        kit::runProgram("timeout 10 " + std::string(SIMULATOR_PATH) + " -s " + folder +
                        "/sim.sock --script " + folder + "/hostile.script 2>&1");
    EXPECT_EQ(run.status, 2) << run.output;
    EXPECT_NE(run.output.find("hostile.script:2: unknown control command '\\x1b]0;owned\\x07'"),
              std::string::npos)
        << run.output;
    EXPECT_EQ(run.output.find_first_of("\x1b\x07"), std::string::npos) << run.output;
    kit::runProgram("rm -rf " + folder);
}

} // namespace
