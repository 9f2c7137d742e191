// comms-simulator --replay: a recorded session served to a new run of the application,
// which passes when it sends the same requests, and otherwise gets the first divergence or
// a time-out, never a hang.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <fstream>

#include "Client.h"
#include "SimulatorProcess.h"

namespace {

struct Folder {
    Folder() {
        char pattern[] = "/tmp/comms-replay-XXXXXX";
        path = mkdtemp(pattern);
    }
    ~Folder() { kit::runProgram("rm -rf " + path); }
    std::string path;
};

// The simulator's exit status once it ends by itself; -1 if it has not within 20 s.
int exitStatus(const kit::SimulatorProcess& simulator) {
    for (int tries = 0; tries < 400; ++tries) {
        int status = 0;
        if (waitpid(simulator.processId(), &status, WNOHANG) == simulator.processId())
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        usleep(50000);
    }
    return -1;
}

// A session in which the far end rings line 1001 and the application answers.
std::string recordSession(const std::string& folder) {
    const std::string path = folder + "/session.jsonl";
    kit::SimulatorProcess simulator({"--record", path, "--lines", "1001"});
    kit::Client client(simulator.socketPath());
    EXPECT_TRUE(client.run({"subscribe => sfiSuccess", "activate => sfiSuccess",
                            "sim incomingCall 1001 2005",
                            "await onCallStateChangeEvent callId=1 callState=ringing",
                            "answerCall 1001 1 => sfiSuccess"}));
    return path;
}

// The application's part of the session, with the far end left to the replay.
const std::vector<std::string> kApplication = {
    "subscribe => sfiSuccess", "activate => sfiSuccess",
    "await onCallStateChangeEvent callId=1 callState=ringing"};

// The recorded application's whole part sent to a replay of the record: the simulator's
// exit status and its log.
std::pair<int, std::string> replayedToTheSameApplication(const std::string& record) {
    kit::SimulatorProcess simulator({"--replay", record, "--lines", "1001"});
    std::vector<std::string> steps = kApplication;
    steps.push_back("answerCall 1001 1 => sfiSuccess");
    kit::Client client(simulator.socketPath());
    EXPECT_TRUE(client.run(steps)) << simulator.log();
    const int status = exitStatus(simulator);
    return {status, simulator.log()};
}

TEST(Replay, ASessionSentAgainMatchesAndTheSimulatorEndsWithZero) {
    Folder folder;
    const auto [status, log] = replayedToTheSameApplication(recordSession(folder.path));
    EXPECT_EQ(status, 0) << log;
    EXPECT_NE(log.find("replay: the whole session matched: 3 requests"), std::string::npos) << log;
}

TEST(Replay, AChangedApplicationGetsItsFirstDivergenceAndStatusOne) {
    Folder folder;
    const std::string record = recordSession(folder.path);
    kit::SimulatorProcess simulator({"--replay", record, "--lines", "1001", "--fast"});
    std::vector<std::string> steps = kApplication;
    steps.push_back("holdCall 1001 1 0 true");
    kit::Client client(simulator.socketPath());
    client.run(steps);
    EXPECT_EQ(exitStatus(simulator), 1) << simulator.log();
    EXPECT_NE(simulator.log().find("replay: first divergence at line "), std::string::npos)
        << simulator.log();
    EXPECT_NE(simulator.log().find(" of the record: expected answerCall(line=\"1001\", callId=1), "
                                   "received holdCall(line=\"1001\", callId=1"),
              std::string::npos)
        << simulator.log();
}

TEST(Replay, AnAnswerOtherThanTheRecordedOneIsADivergenceToo) {
    Folder folder;
    const std::string record = recordSession(folder.path);
    // As if the session had been recorded where the service refused the answer.
    std::string content = kit::readFile(record);
    const std::size_t answered = content.find("\"kind\":\"answer\"", content.find("AnswerCall"));
    ASSERT_NE(answered, std::string::npos);
    const std::size_t word = content.find("sfiSuccess", answered);
    content.replace(word, std::string("sfiSuccess").size(), "sfiFailure");
    std::ofstream(record, std::ios::trunc) << content;
    kit::SimulatorProcess simulator({"--replay", record, "--lines", "1001", "--fast"});
    std::vector<std::string> steps = kApplication;
    steps.push_back("answerCall 1001 1 => sfiSuccess");
    kit::Client client(simulator.socketPath());
    client.run(steps);
    EXPECT_EQ(exitStatus(simulator), 1) << simulator.log();
    EXPECT_NE(simulator.log().find("replay: the simulator answered answerCall(line=\"1001\", "
                                   "callId=1) with 'sfiSuccess' where line "),
              std::string::npos)
        << simulator.log();
}

TEST(Replay, AnApplicationThatStopsSendingEndsInATimeOutNotAHang) {
    Folder folder;
    const std::string record = recordSession(folder.path);
    kit::SimulatorProcess simulator(
        {"--replay", record, "--lines", "1001", "--replay-timeout", "1"});
    kit::Client client(simulator.socketPath());
    EXPECT_TRUE(client.run({"subscribe => sfiSuccess"}));
    EXPECT_EQ(exitStatus(simulator), 1) << simulator.log();
    EXPECT_NE(simulator.log().find("replay: time-out: the application sent nothing for 1 s; "
                                   "expected activate()"),
              std::string::npos)
        << simulator.log();
}

TEST(Replay, ARequestWhoseAnswerLineWasCutIsNotHeldToAnAnswer) {
    Folder folder;
    const std::string record = recordSession(folder.path);
    std::string kept;
    {
        std::ifstream input(record);
        for (std::string line; std::getline(input, line);) {
            const bool answerToAnswerCall =
                line.find("\"kind\":\"answer\"") != std::string::npos &&
                line.find("\"method\":\"AnswerCall\"") != std::string::npos;
            kept += (answerToAnswerCall ? line.substr(0, 40) : line) + "\n";
        }
    }
    std::ofstream(record) << kept;
    const auto [status, log] = replayedToTheSameApplication(record);
    EXPECT_EQ(status, 0) << log;
    EXPECT_NE(log.find("not a whole JSON object"), std::string::npos) << log;
}

// Two control commands, the second as far after the first as the record's clock reaches, with
// what a terminal would obey in its text and in a member's name.
std::string hostileRecord(const std::string& folder) {
    const std::string path = folder + "/hostile.jsonl";
    std::ofstream(path)
        << R"({"time":"1970-01-01T00:00:00.000000Z","client":0,"direction":"in","kind":"control",)"
        << R"("text":"show","\u001b]0;owned\u0007":1})"
        << "\n"
        << R"({"time":"2261-12-31T23:59:59.000000Z","client":0,"direction":"in","kind":"control",)"
        << R"("text":"show \u009b2J\u001b[31m\u007f"})"
        << "\n";
    return path;
}

TEST(Replay, ARecordedPauseLongerThanTheTimeOutEndsInATimeOutAndHostileTextIsEscaped) {
    Folder folder;
    kit::SimulatorProcess simulator(
        {"--replay", hostileRecord(folder.path), "--lines", "1001", "--replay-timeout", "1"});
    EXPECT_EQ(exitStatus(simulator), 1) << simulator.log();
    const std::string log = simulator.log();
    for (const char* expected :
         {"line 1: unknown member '\\x1b]0;owned\\x07' ignored",
          "replay: time-out: line 2 of the record plays the control command 'show "
          "\\u009b2J\\x1b[31m\\x7f' 9214646399 s after the step before, longer than the "
          "time-out of 1 s"})
        EXPECT_NE(log.find(expected), std::string::npos) << expected << "\n" << log;
    for (const char* raw : {"\x1b", "\x07", "\x7f", "\xc2\x9b"})
        EXPECT_EQ(log.find(raw), std::string::npos) << log;
}

} // namespace
