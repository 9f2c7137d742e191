// Requests cross the socket byte for byte from the console's words, and their answers come
// back mapped the way the proxy maps them. The unit tests pin every request's text and the
// working-day demo reads every answer shape through the console; these rows cover each kind
// of argument the console binds and each way the host carries a request.

#include <gtest/gtest.h>

#include "Client.h"
#include "Operations.h"
#include "SimulatorProcess.h"

namespace {

struct RequestCase {
    std::vector<std::string> words; // console operation and its arguments
    std::string request;            // what the simulator must receive
    std::string answer;             // what it answers ("" for one-way messages)
    std::string outcome;            // the result in words, with its outputs
};

const std::vector<RequestCase> kRequests = {
    {{"outgoingCallMake", "1001", "12", "2002", "1", "0", "1"},
     "<Method>OutgoingCallMakeRequest</Method><Line>1001</Line><CallID>12</CallID>"
     "<Destination>2002</Destination><DSSDirectCall>1</DSSDirectCall><BridgeCall>0</BridgeCall>"
     "<CallCompletionCall>1</CallCompletionCall>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"sendUACSTAServerMessage", "1001", "PAYLOAD"},
     "<Method>SendUACSTAServerMessage</Method><Line>1001</Line>PAYLOAD",
     "",
     "sent"},
    {{"setLampMode", "1001", "lamp1", "flashing"},
     "<Method>setLampMode</Method><Line>1001</Line><lampId>lamp1</lampId><lampMode>2</lampMode>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"setServiceState", "sfiServiceDoNotDisturb"},
     "<Method>SetServiceState</Method><state>sfiServiceDoNotDisturb</state>",
     "sfiSuccess",
     "sfiSuccess"},
    {{"RemoveConfParticipant", "-1", "2002", "5"},
     "<Method>RemoveConfParticipant</Method><callID>-1</callID>"
     "<remoteParticipant>2002</remoteParticipant><conferenceMemberId>5</conferenceMemberId>",
     "",
     "sent"},
    {{"processSignallingComponentEvent", "ab\tc"}, "SigEvent:ab\tc", "", "sent"},
};

std::string describe(const console::Outcome& outcome) {
    std::string text = outcome.result;
    for (const console::NamedValue& output : outcome.outputs) {
        text += " " + output.name + "=" + output.value;
    }
    return text;
}

std::string lastRequest(kit::Client& client) {
    const std::string reply = client.control("lastRequest");
    EXPECT_EQ(reply.compare(0, 3, "ok\n"), 0) << reply;
    return reply.substr(std::min<std::size_t>(3, reply.size()));
}

TEST(Requests, EveryRequestArrivesByteExactAndItsAnswerMapsAsTheProxyMapsIt) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    for (const RequestCase& row : kRequests) {
        SCOPED_TRACE(row.words.front());
        const console::Operation* operation = console::findOperation(row.words.front());
        ASSERT_NE(operation, nullptr);
        if (!row.answer.empty()) {
            ASSERT_EQ(client.control("nextAnswer " + row.answer), "ok");
        }
        const std::vector<std::string> arguments(row.words.begin() + 1, row.words.end());
        const console::Outcome outcome = operation->run(
            client.service(), client.recorder, console::bindArguments(*operation, arguments));
        EXPECT_EQ(lastRequest(client), row.request);
        EXPECT_EQ(describe(outcome), row.outcome);
    }
}

TEST(Requests, SignallingDataKeepsItsZeroBytes) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    client.service().processSignallingComponentEvent("ab\0c", 4);
    EXPECT_EQ(lastRequest(client), std::string("SigEvent:ab\0c", 13));
}

} // namespace
