// The simulator's --record: a session as it happened, every frame one JSON line, read back
// with the record reader; an existing file is never overwritten, and a file that cannot be
// written costs the recording, not the service.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

#include "Client.h"
#include "Record.h"
#include "SimulatorProcess.h"

namespace {

struct Folder {
    Folder() {
        char pattern[] = "/tmp/comms-record-XXXXXX";
        path = mkdtemp(pattern);
    }
    ~Folder() { kit::runProgram("rm -rf " + path); }
    std::string path;
};

struct Expected {
    const char* kind;
    const char* direction;
    const char* method;
    kit::record::Fields fields; // those named must be there with these values
};

// What a client that activates, is rung and answers leaves in the record, in order (the
// line 1002's registration and the answers' results are left out of the table).
const std::vector<Expected> kSession = {
    {"connect", "", "", {}},
    {"protocol", "in", "", {}},
    {"subscribe", "in", "Subscribe", {}},
    {"answer", "out", "Subscribe", {}},
    {"request", "in", "Activate", {}},
    {"answer", "out", "Activate", {}},
    {"event",
     "out",
     "RegistrationStateChangeEvent",
     {{"lineId", "1001"}, {"registered", "1"}, {"registrationResult", "200"}}},
    {"control", "in", "incomingCall", {}},
    {"answer", "out", "incomingCall", {}},
    {"event",
     "out",
     "IncomingCallEvent",
     {{"lineId", "1001"}, {"callId", "1"}, {"uri", "sip:2005@pbx.example.com"}}},
    {"event",
     "out",
     "CallStateChangeEvent",
     {{"callId", "1"}, {"callState", "3"}, {"callingParty", "sip:2005@pbx.example.com"}}},
    {"request", "in", "AnswerCall", {{"line", "1001"}, {"callId", "1"}}},
    {"answer", "out", "AnswerCall", {}},
    {"event", "out", "CallStateChangeEvent", {{"callId", "1"}, {"callState", "4"}}},
    {"request", "in", "getForwardingConfiguration", {{"fwType", "0"}}},
    {"answer",
     "out",
     "getForwardingConfiguration",
     {{"result", "sfiSuccess"}, {"status", "0"}, {"cfnrRingCount", "0"}}},
    {"disconnect", "", "", {}},
};

TEST(Record, ASessionIsWrittenFrameByFrameAndReadsBackWithoutAProblem) {
    Folder folder;
    const std::string path = folder.path + "/session.jsonl";
    kit::SimulatorProcess simulator({"--record", path, "--lines", "1001"});
    {
        kit::Client client(simulator.socketPath());
        ASSERT_TRUE(client.run({"subscribe => sfiSuccess", "activate => sfiSuccess",
                                "sim incomingCall 1001 2005",
                                "await onCallStateChangeEvent callId=1 callState=ringing",
                                "answerCall 1001 1 => sfiSuccess",
                                "await onCallStateChangeEvent callId=1 callState=connected",
                                "getForwardingConfiguration 0 => sfiSuccess"}));
    }
    ASSERT_TRUE(simulator.waitForLog("client 1 disconnected")) << simulator.log();
    simulator.kill(SIGTERM);

    const kit::record::Reading reading = kit::record::read(kit::readFile(path));
    EXPECT_TRUE(reading.problems.empty()) << reading.problems.front();
    // The simulator's start-up check connects first.
    const auto application =
        std::find_if(reading.entries.begin(), reading.entries.end(),
                     [](const kit::record::Entry& entry) { return entry.kind == "protocol"; });
    ASSERT_NE(application, reading.entries.end());
    std::size_t next = 0;
    for (const kit::record::Entry& entry : reading.entries) {
        if (entry.client != application->client || next == kSession.size() ||
            entry.kind != kSession[next].kind || entry.method != kSession[next].method)
            continue;
        const Expected& expected = kSession[next++];
        EXPECT_EQ(entry.direction, expected.direction) << entry.text;
        for (const auto& field : expected.fields) {
            EXPECT_NE(std::find(entry.fields.begin(), entry.fields.end(), field),
                      entry.fields.end())
                << field.first << " in line " << entry.lineNumber << ": " << entry.text;
        }
    }
    EXPECT_EQ(next, kSession.size())
        << "missing from the record: " << kSession[next].kind << " " << kSession[next].method;
}

struct FileCase {
    const char* name;
    std::vector<std::string> options; // {path} stands for the record file
    bool existing;                    // the file holds a line before the simulator starts
    int status;                       // when the simulator exits by itself; -1 when it serves
    const char* message;              // in its output or log
};

const std::vector<FileCase> kFiles = {
    {"ExistingFileRefused", {"--record", "{path}"}, true, 2, "--record {path} exists"},
    {"ExistingFileAppended", {"--record", "{path}", "--record-append"}, true, -1, ""},
    {"UnwritablePath",
     {"--record", "/nonexistent/folder/r.jsonl"},
     false,
     -1,
     "recording to /nonexistent/folder/r.jsonl stopped: cannot open"},
    {"FullDisk",
     {"--record", "/dev/full", "--record-append"},
     false,
     -1,
     "recording to /dev/full stopped: cannot write: No space left on device"},
};

std::string replaced(std::string text, const std::string& path) {
    for (std::size_t at; (at = text.find("{path}")) != std::string::npos;)
        text.replace(at, 6, path);
    return text;
}

TEST(Record, FilesAreNeverOverwrittenAndAFailedFileCostsOnlyTheRecording) {
    const std::string kOldLine = "{\"kept\":true}\n";
    for (const FileCase& test : kFiles) {
        SCOPED_TRACE(test.name);
        Folder folder;
        const std::string path = folder.path + "/r.jsonl";
        if (test.existing) std::ofstream(path) << kOldLine;
        std::vector<std::string> options;
        for (const std::string& option : test.options)
            options.push_back(replaced(option, path));
        const std::string message = replaced(test.message, path);
        if (test.status >= 0) {
            std::string command =
                "timeout 10 " + std::string(SIMULATOR_PATH) + " --socket " + folder.path + "/s";
            for (const std::string& option : options)
                command += " " + option;
            const kit::ProgramRun run = kit::runProgram(command);
            EXPECT_EQ(run.status, test.status) << run.output;
            EXPECT_NE(run.output.find(message), std::string::npos) << run.output;
        } else {
            kit::SimulatorProcess simulator(options);
            // Each control command is two frames to record: the service answers them all.
            for (int i = 0; i < 3; ++i) {
                const kit::ProgramRun show =
                    kit::runProgram("timeout 10 " + std::string(SIMULATOR_PATH) + " control -s " +
                                    simulator.socketPath() + " show");
                EXPECT_EQ(show.status, 0) << show.output;
            }
            ASSERT_TRUE(simulator.waitForLog("client 4 disconnected")) << simulator.log();
            const std::string log = simulator.log();
            if (!message.empty()) {
                const std::size_t first = log.find(message);
                EXPECT_NE(first, std::string::npos) << log;
                EXPECT_EQ(log.find("recording to", first + 1), std::string::npos) << log;
            }
        }
        if (test.existing) {
            const std::string content = kit::readFile(path);
            EXPECT_EQ(content.compare(0, kOldLine.size(), kOldLine), 0) << content;
            const kit::record::Reading reading = kit::record::read(content);
            const auto controls = std::count_if(
                reading.entries.begin(), reading.entries.end(),
                [](const kit::record::Entry& entry) { return entry.kind == "control"; });
            EXPECT_EQ(controls, test.status >= 0 ? 0 : 3);
        }
    }
}

} // namespace
