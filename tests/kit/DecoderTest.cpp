// comms-decode's reading of log lines and record lines: what the application was given,
// with each default, each cut and each prefix match marked, and every other line named as
// the problem it is.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "Decoder.h"

namespace {

struct Line {
    const char* what;
    std::string input;
    std::string printed;
};

std::string decoded(const std::string& input) {
    decode::Decoder decoder;
    return decode::toText(decoder.line(input, 7));
}

class Decoding : public testing::TestWithParam<Line> {};

TEST_P(Decoding, PrintsWhatTheApplicationSeesAndMarksWhatTheServiceDidNotSay) {
    EXPECT_EQ(decoded(GetParam().input), GetParam().printed);
}

const Line kLines[] = {
    {"whole event", "<Method>CallHeldEvent</Method><LineID>1001</LineID><CallID>4</CallID>",
     "line 7: onCallHeldEvent(lineId=\"1001\", callId=4)\n"},
    {"missing number and text",
     "<Method>IncomingPickupCallEvent</Method><LineID>1001</LineID><Name>Bo</Name>",
     "line 7: onIncomingPickupCallEvent(lineId=\"1001\", callId=-1 (default: no <CallID>), "
     "uri=\"\" (default: no <URI>, so empty), name=\"Bo\", fullPai=\"\" (default: no <FullPAI>, "
     "so empty))\n"},
    {"missing flag", "<Method>DoNotDisturbEvent</Method><deviceId>d</deviceId>",
     "line 7: onDoNotDisturbEvent(deviceId=\"d\", doNotDisturbOn=true (default: no "
     "<doNotDisturbOn>, so -1, which is true))\n"},
    {"missing counter",
     "<Method>messageWaitingEvent</Method><LineID>1</LineID><type>2</type>"
     "<old_messages>3</old_messages><new_urgent_messages>0</new_urgent_messages>"
     "<old_urgent_messages>0</old_urgent_messages><return_type>1</return_type>"
     "<avail_info>1</avail_info><messages_waiting>1</messages_waiting>"
     "<voiceMailNumber>8000</voiceMailNumber>",
     "line 7: onMessageWaitingEvent(lineId=\"1\", type=2, newMessages=4294967295 (default: no "
     "<new_messages>), oldMessages=3, newUrgentMessages=0, oldUrgentMessages=0, returnType=1, "
     "availInfo=1, messagesWaiting=1, voiceMailNumber=\"8000\")\n"},
    {"payload without its anchor", "<Method>b2buaCSTAResponse</Method><lineURI>u</lineURI>",
     "line 7: onB2buaCSTAResponse(lineURI=\"u\", success=true (default: no <success>, so -1, "
     "which is true), cstaResponse=\"b2buaCSTAResponse</Method><lineURI>u</lineURI>\" (default: no "
     "/success>, so the first 8 bytes cut "
     "off))\n"},
    {"prefix match", "<Method>CallHeldEventLater</Method><LineID>1</LineID><CallID>2</CallID>",
     "line 7: onCallHeldEvent(lineId=\"1\", callId=2)\n"
     "line 7: note: \"CallHeldEventLater\" ran the handler of CallHeldEvent as a prefix\n"},
    {"exact name only", "<Method>CallStateChangeEventX</Method>",
     "line 7: not a message of this protocol: no event or request is called "
     "\"CallStateChangeEventX\"\n"},
    {"case counts", "<Method>callHeldEvent</Method>",
     "line 7: not a message of this protocol: no event or request is called \"callHeldEvent\"\n"},
    {"no method", "hello <LineID>1</LineID>",
     "line 7: not a message of this protocol: it has no <Method> element\n"},
    {"text after a NUL unseen",
     std::string("<Method>CallHeldEvent</Method>\0<CallID>4</CallID>", 49),
     "line 7: onCallHeldEvent(lineId=\"\" (default: no <LineID>, so empty), callId=-1 (default: "
     "no <CallID>))\n"},
    {"request", "<Method>AnswerCall</Method><Line>1001</Line><CallID>1</CallID>",
     "line 7: answerCall(line=\"1001\", callId=1)\n"},
    {"request named apart from its method",
     "<Method>Consult</Method><Line>1001</Line><CallID>3</CallID>",
     "line 7: consultationCall(line=\"1001\", callId=3, destination=\"\" (missing: no "
     "<Destination>))\n"},
    {"missing request number", "<Method>HoldCall</Method><Line>1001</Line>",
     "line 7: holdCall(line=\"1001\", callId=(missing: no <CallID>), holdCallReason=(missing: no "
     "<HoldCallReason>), manual=(missing: no <Manual>))\n"},
    {"signalling", "SigEvent:INVITE",
     "line 7: processSignallingComponentEvent(message=\"INVITE\")\n"},
    {"result word", "sfiFailureCallBackToMany",
     "line 7: answer(result=3 (sfiFailureCallBackToMany))\n"},
    {"record event",
     R"({"time":"2026-11-24T19:00:00.000001Z","client":1,"direction":"out","kind":"event","id":0,)"
     R"("channel":"ch","method":"CallHeldEvent","fields":{},"text":"<Method>CallHeldEvent</Method>)"
     R"(<LineID>9</LineID><CallID>1</CallID>"})",
     "line 7: onCallHeldEvent(lineId=\"9\", callId=1)\n"},
    {"record answer of a query",
     R"({"time":"2026-11-24T19:00:00.000001Z","client":1,"direction":"out","kind":"answer","id":3,)"
     R"("channel":"","method":"getForwardingConfiguration","fields":{},"text":"<sfiResult>)"
     R"(sfiSuccess</sfiResult><status>1</status><uri>sip:x</uri>"})",
     "line 7: answer(result=\"sfiSuccess\", status=\"1\", uri=\"sip:x\")\n"},
    {"record control",
     R"({"time":"2026-11-24T19:00:00.000001Z","client":0,"direction":"in","kind":"control","id":1,)"
     R"("channel":"","method":"incomingCall","fields":{},"text":"incomingCall 1001 2002"})",
     "line 7: control(command=\"incomingCall 1001 2002\")\n"},
    {"record cut short", R"({"time":"2026-11-24T19:00:00.000001Z","cli)",
     "line 7: not a line of a record: not a whole JSON object (a line cut short?)\n"},
};

INSTANTIATE_TEST_SUITE_P(EachKind, Decoding, testing::ValuesIn(kLines),
                         [](const testing::TestParamInfo<Line>& info) {
                             std::string name;
                             for (const char* at = info.param.what; *at != '\0'; ++at)
                                 if (std::isalnum(static_cast<unsigned char>(*at)) != 0)
                                     name += *at;
                             return name;
                         });

TEST(DecodingParties, MarksATextCutOnlyWhenItIsLongerThanTheSixtyFourCharactersThatFit) {
    const std::string fits(64, 'f');
    const std::string cut(65, 'c');
    const std::string printed = decoded("<Method>CallStateChangeEvent</Method><GPUCLG>" + fits +
                                        "</GPUCLG><GPUCLD>" + cut + "</GPUCLD>");
    EXPECT_NE(printed.find("callingParty=\"" + fits + "\", "), std::string::npos) << printed;
    EXPECT_NE(printed.find("calledParty=\"" + cut.substr(0, 64) +
                           "\" (cut from 65 to 64 characters to fit the record)"),
              std::string::npos)
        << printed;
}

TEST(DecodingParties, MarksTheTextCutToFitTheRecordAndTheOnesMissing) {
    const std::string longName(70, 'n');
    const std::string printed = decoded("<Method>CallStateChangeEvent</Method><LineID>1</LineID>"
                                        "<GPUCLGName>" +
                                        longName + "</GPUCLGName>");
    EXPECT_NE(printed.find("callingPartyName=\"" + longName.substr(0, 64) +
                           "\" (cut from 70 to 64 characters to fit the record)"),
              std::string::npos)
        << printed;
    EXPECT_NE(printed.find("callingParty=\"\" (default: no <GPUCLG>, so empty)"), std::string::npos)
        << printed;
    EXPECT_NE(printed.find("reservedValue=0,"), std::string::npos) << printed;
}

TEST(DecodingAsJson, GivesEachArgumentWithItsNoteAndTheLine) {
    decode::Decoder decoder;
    const auto json = nlohmann::json::parse(
        decode::toJson(decoder.line("<Method>CallHeldEvent</Method><LineID>1</LineID>", 12)));
    EXPECT_EQ(json["line"], 12);
    EXPECT_EQ(json["kind"], "event");
    EXPECT_EQ(json["calls"][0]["name"], "onCallHeldEvent");
    EXPECT_EQ(json["calls"][0]["arguments"][1]["value"], "-1");
    EXPECT_EQ(json["calls"][0]["arguments"][1]["note"], "default: no <CallID>");
    const auto problem = nlohmann::json::parse(decode::toJson(decoder.line("\xff\xfe", 13)));
    EXPECT_EQ(problem["kind"], "problem");
}

struct Hostile {
    const char* what;
    std::string input;
    std::string printed; // found in the text form
};

const Hostile kHostile[] = {
    {"method name", "<Method>Call\x1b]0;x\x07HeldEvent</Method>",
     "called \"Call\\x1b]0;x\\x07HeldEvent\""},
    {"unquoted value and 8-bit CSI",
     "<Method>AnswerCall</Method><Line>10\xc2\x9b"
     "01</Line><CallID>1\x1b[31m</CallID>",
     "answerCall(line=\"10\\u009b01\", callId=1\\x1b[31m)"},
    {"record text with DEL and a quote",
     R"({"time":"2026-11-24T19:00:00.000000Z","client":0,"kind":"control",)"
     R"("text":"show\u009b\u007f\"q"})",
     "control(command=\"show\\u009b\\x7f\\\"q\")"},
    {"record member name",
     R"({"time":"2026-11-24T19:00:00.000000Z","client":1,"kind":"connect","\u001b[2J":1})",
     "note: unknown member '\\x1b[2J' ignored"},
    {"bytes that are not UTF-8", "<Method>CallHeldEvent</Method><LineID>\xff\xc2</LineID>",
     "lineId=\"\\xff\\xc2\""},
};

TEST(DecodingHostileText, WritesEveryControlCharacterAndStrayByteAsAnEscapeInBothForms) {
    decode::Decoder decoder;
    for (const Hostile& test : kHostile) {
        SCOPED_TRACE(test.what);
        const decode::Decoded decoded = decoder.line(test.input, 1);
        const std::string printed = decode::toText(decoded);
        EXPECT_NE(printed.find(test.printed), std::string::npos) << printed;
        for (const std::string& written : {printed, decode::toJson(decoded)}) {
            for (const char c : written)
                EXPECT_TRUE((c >= 0x20 && c < 0x7f) || c == '\n')
                    << "byte " << static_cast<int>(static_cast<unsigned char>(c)) << " in "
                    << written;
        }
    }
}

} // namespace
