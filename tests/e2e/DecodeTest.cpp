// comms-decode on what a developer has: a record of a session, and lines copied from a log
// among lines that are no message at all.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

#include "Client.h"
#include "SimulatorProcess.h"

namespace {

std::string decode(const std::string& arguments) {
    const kit::ProgramRun run =
        kit::runProgram(std::string(DECODE_PATH) + " " + arguments + " 2>&1");
    EXPECT_EQ(run.status, 0) << run.output;
    return run.output;
}

TEST(Decode, ARecordedSessionReadsAsTheCallbacksAndOperationsOfTheApplication) {
    char pattern[] = "/tmp/comms-decode-XXXXXX";
    const std::string folder = mkdtemp(pattern);
    const std::string record = folder + "/session.jsonl";
    {
        kit::SimulatorProcess simulator({"--record", record, "--lines", "1001"});
        kit::Client client(simulator.socketPath());
        ASSERT_TRUE(client.run({"subscribe => sfiSuccess", "activate => sfiSuccess",
                                "sim incomingCall 1001 2005",
                                "await onCallStateChangeEvent callId=1 callState=ringing",
                                "answerCall 1001 1 => sfiSuccess"}));
    }
    const std::string printed = decode(record);
    for (const char* expected :
         {": activate()\n", ": answer(result=5 (sfiSuccess))\n",
          ": control(command=\"incomingCall 1001 2005\")\n",
          ": onIncomingCallEvent(lineId=\"1001\", callId=1, uri=\"sip:2005@pbx.example.com\"",
          ": answerCall(line=\"1001\", callId=1)\n"})
        EXPECT_NE(printed.find(expected), std::string::npos) << expected << "\n" << printed;
    EXPECT_EQ(printed.find("problem"), std::string::npos) << printed;
    kit::runProgram("rm -rf " + folder);
}

TEST(Decode, NamesEachLineThatIsNoMessageByItsNumberAndGoesOn) {
    char pattern[] = "/tmp/comms-decode-XXXXXX";
    const std::string folder = mkdtemp(pattern);
    const std::string log = folder + "/app.log";
    std::ofstream(log) << "<Method>CallHeldEvent</Method><LineID>1001</LineID>\n"
                          "12:00:01 started\n"
                          "\n"
                          "{\"time\":\"yesterday\"}\n"
                          "sfiFailureCallBackNoCallInfo\n";
    EXPECT_EQ(decode(log),
              "line 1: onCallHeldEvent(lineId=\"1001\", callId=-1 (default: no <CallID>))\n"
              "line 2: not a message of this protocol: it has no <Method> element\n"
              "line 4: not a line of a record: \"time\" 'yesterday' is not a time such as "
              "2026-11-24T19:00:00.123456Z\n"
              "line 5: answer(result=2 (sfiFailureCallBackNoCallInfo))\n");
    const std::string json = decode("--json " + log);
    EXPECT_NE(json.find("{\"line\":2,\"kind\":\"problem\""), std::string::npos) << json;
    kit::runProgram("rm -rf " + folder);
}

TEST(Decode, WritesNoByteOfTheInputThatATerminalWouldObeyInEitherForm) {
    char pattern[] = "/tmp/comms-decode-XXXXXX";
    const std::string folder = mkdtemp(pattern);
    const std::string log = folder + "/hostile.log";
    std::ofstream(log) << "<Method>Call\x1b]0;x\x07HeldEvent</Method>\n"
                          "<Method>AnswerCall</Method><Line>\xc2\x9b"
                          "2J</Line><CallID>1\x7f</CallID>\n"
                       << R"({"time":"2026-11-24T19:00:00.000000Z","client":0,"kind":"control",)"
                       << R"("text":"\u009b2J","\u001b[2J":1})"
                       << "\n";
    for (const std::string& printed : {decode(log), decode("--json " + log)}) {
        EXPECT_EQ(printed.find_first_of("\x1b\x07\x7f"), std::string::npos) << printed;
        EXPECT_EQ(printed.find("\xc2\x9b"), std::string::npos) << printed;
        EXPECT_NE(printed.find("u009b2J"), std::string::npos) << printed;
    }
    kit::runProgram("rm -rf " + folder);
}

} // namespace
