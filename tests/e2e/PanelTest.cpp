// The panel's door: only its own Host and Origin get in, a page's messages are checked,
// a page that stops reading neither slows the simulator nor makes it grow, and each answer
// the trace shows follows the request it answers, whatever became of the client.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <regex>
#include <string>
#include <thread>

#include "Client.h"
#include "RawSocket.h"
#include "SimulatorProcess.h"

namespace {

using desktop::wire::FrameKind;

// A TCP connection to the panel that reads with a time-out.
class Connection {
public:
    explicit Connection(int port) : descriptor(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        timeval wait{10, 0};
        setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
        connected = connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~Connection() { close(descriptor); }

    void send(const std::string& bytes) {
        [[maybe_unused]] const ssize_t sent = ::send(descriptor, bytes.data(), bytes.size(), 0);
    }

    // What arrives until `enough` says it is enough, the peer closes or ten seconds pass.
    std::string receive(const std::function<bool(const std::string&)>& enough) {
        std::string got;
        char buffer[4096];
        while (!enough(got)) {
            const ssize_t count = recv(descriptor, buffer, sizeof buffer, 0);
            if (count <= 0) break;
            got.append(buffer, static_cast<std::size_t>(count));
        }
        return got;
    }

    bool connected = false;

private:
    int descriptor;
};

std::string request(const std::string& host, const std::string& extra = {}) {
    return "GET / HTTP/1.1\r\nHost: " + host + "\r\n" + extra + "Connection: close\r\n\r\n";
}

std::string upgrade(const std::string& host, const std::string& origin) {
    return "GET / HTTP/1.1\r\nHost: " + host +
           "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
           "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n" +
           (origin.empty() ? "" : "Origin: " + origin + "\r\n") + "\r\n";
}

// A client's text frame, masked as a browser sends it.
std::string textFrame(const std::string& payload) {
    std::string frame(1, '\x81');
    // The length in the fewest bytes, as the protocol requires.
    if (payload.size() < 126) {
        frame += static_cast<char>(0x80 | payload.size());
    } else {
        const bool sixteenBits = payload.size() <= 0xFFFF;
        frame += static_cast<char>(0x80 | (sixteenBits ? 126 : 127));
        for (int shift = sixteenBits ? 8 : 56; shift >= 0; shift -= 8)
            frame += static_cast<char>((payload.size() >> shift) & 0xFF);
    }
    const char mask[4] = {1, 2, 3, 4};
    frame.append(mask, 4);
    for (std::size_t i = 0; i < payload.size(); ++i)
        frame += static_cast<char>(payload[i] ^ mask[i % 4]);
    return frame;
}

bool headersDone(const std::string& got) { return got.find("\r\n\r\n") != std::string::npos; }

struct Panel {
    Panel() : simulator({"--panel", "0", "--lines", "1001"}) {
        EXPECT_TRUE(simulator.waitForLog("panel at http://127.0.0.1:")) << simulator.log();
        std::smatch found;
        const std::string log = simulator.log();
        if (std::regex_search(log, found, std::regex("panel at http://127.0.0.1:(\\d+)/")))
            port = std::stoi(found[1]);
        own = "127.0.0.1:" + std::to_string(port);
    }
    kit::SimulatorProcess simulator;
    int port = 0;
    std::string own;
};

TEST(PanelDoor, ServesOnlyItsOwnHostAndOriginAndSaysWhyNot) {
    Panel panel;
    const struct {
        std::string sent;
        std::string status;
    } cases[] = {
        {request(panel.own), "HTTP/1.1 200"},
        {request("localhost:" + std::to_string(panel.port)), "HTTP/1.1 200"},
        {request("attacker.example"), "HTTP/1.1 403"},
        {request(panel.own, "Origin: http://attacker.example\r\n"), "HTTP/1.1 403"},
        {upgrade(panel.own, "http://" + panel.own), "HTTP/1.1 101"},
        {upgrade(panel.own, "http://attacker.example"), "HTTP/1.1 403"},
        {upgrade(panel.own, ""), "HTTP/1.1 403"},
        {upgrade("rebound.example:" + std::to_string(panel.port), "http://rebound.example"),
         "HTTP/1.1 403"},
    };
    for (const auto& [sent, status] : cases) {
        Connection connection(panel.port);
        ASSERT_TRUE(connection.connected);
        connection.send(sent);
        const std::string got = connection.receive(headersDone);
        EXPECT_EQ(got.substr(0, status.size()), status) << sent << "\n" << got;
    }
    EXPECT_NE(panel.simulator.log().find("panel: refused a request: the Host 'attacker.example' "
                                         "is not the panel's own"),
              std::string::npos)
        << panel.simulator.log();
}

TEST(PanelAddress, IsPrintedAsTheAddressItListensOnAndAnEmptyOneIsRefused) {
    const std::pair<const char*, const char*> kListens[] = {
        {"127.0.0.2:0", "panel at http://127.0.0.2:"},
        {"[::1]:0", "panel at http://[::1]:"},
        {"0.0.0.0:0", "panel at http://127.0.0.1:"},
    };
    for (const auto& [listen, printed] : kListens) {
        kit::SimulatorProcess simulator({"--panel", listen});
        EXPECT_TRUE(simulator.waitForLog(printed)) << listen << "\n" << simulator.log();
    }
    char pattern[] = "/tmp/comms-panel-XXXXXX";
    const std::string folder = mkdtemp(pattern);
    const kit::ProgramRun run = kit::runProgram("timeout 10 " + std::string(SIMULATOR_PATH) +
                                                " -s " + folder + "/sim.sock --panel '' 2>&1");
    EXPECT_EQ(run.status, 2) << run.output;
    EXPECT_NE(run.output.find("--panel: '' is not a port"), std::string::npos) << run.output;
    kit::runProgram("rm -rf " + folder);
}

TEST(PanelDoor, AnswersAPathItDoesNotServeInPlainTextWithoutRepeatingIt) {
    Panel panel;
    Connection connection(panel.port);
    connection.send("GET /reflected%3Cb%3E HTTP/1.1\r\nHost: " + panel.own +
                    "\r\nConnection: close\r\n\r\n");
    const std::string answer = connection.receive([](const std::string&) { return false; });
    EXPECT_NE(answer.find("HTTP/1.1 404"), std::string::npos) << answer;
    EXPECT_NE(answer.find("Content-Type: text/plain; charset=utf-8"), std::string::npos) << answer;
    EXPECT_EQ(answer.find("reflected"), std::string::npos) << answer;
}

TEST(PanelMessages, AMalformedOrDeepOneGetsAnErrorAndAnOversizedOneClosesThePage) {
    Panel panel;
    Connection page(panel.port);
    page.send(upgrade(panel.own, "http://" + panel.own));
    ASSERT_NE(page.receive(headersDone).find("101"), std::string::npos);
    page.send(textFrame("{\"shout\": 1}"));
    EXPECT_NE(page.receive([](const std::string& got) {
                      return got.find("malformed message") != std::string::npos;
                  })
                  .find("malformed message: the panel takes {\\\"control\\\": \\\"COMMAND\\\"}"),
              std::string::npos);
    // Nested as deep as a message may be long: refused without recursing, and the page goes on.
    page.send(textFrame("{\"control\":\"help\",\"id\":" + std::string(32000, '[') +
                        std::string(32000, ']') + "}"));
    EXPECT_NE(page.receive([](const std::string& got) {
                      return got.find("malformed message") != std::string::npos;
                  })
                  .find("malformed message"),
              std::string::npos);
    page.send(textFrame("{\"control\":\"help\",\"id\":1}"));
    EXPECT_NE(page.receive([](const std::string& got) {
                      return got.find("\"id\":1}") != std::string::npos;
                  })
                  .find("{\"reply\":{\"command\":\"help\""),
              std::string::npos);
    page.send(textFrame(std::string(70000, 'x')));
    // The close frame carries 1009, "message too big".
    const std::string closing = page.receive([](const std::string& got) {
        return got.find(std::string("\x88", 1)) != std::string::npos &&
               got.size() > got.find(std::string("\x88", 1)) + 3;
    });
    const std::size_t at = closing.find(std::string("\x88", 1));
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ((static_cast<unsigned char>(closing[at + 2]) << 8) |
                  static_cast<unsigned char>(closing[at + 3]),
              1009);
}

// A client of the simulator that has selected the protocol.
void speakProtocol(kit::RawSocket& client) {
    client.send({FrameKind::Protocol, 0, {}, "CommunicationsServiceProtocol"});
}

long residentKilobytes(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
    return -1;
}

TEST(PanelBacklog, APageThatStopsReadingNeitherSlowsTheSimulatorNorMakesItGrow) {
    kit::reuseFreedMemoryAtOnce();
    Panel panel;
    Connection stalled(panel.port);
    stalled.send(upgrade(panel.own, "http://" + panel.own));
    ASSERT_NE(stalled.receive(headersDone).find("101"), std::string::npos);
    kit::Client client(panel.simulator.socketPath());
    ASSERT_TRUE(client.run({"subscribe => sfiSuccess", "activate => sfiSuccess"}));
    const long before = residentKilobytes(panel.simulator.processId());
    const std::string payload(4000, 'p');
    std::vector<std::string> flood;
    for (int i = 0; i < 3000; ++i)
        flood.push_back("sim emit systemStatus status=" + payload);
    const kit::Stopwatch stopwatch;
    EXPECT_TRUE(client.run(flood));
    EXPECT_TRUE(client.run({"getMicrophoneMute => sfiSuccess muted=false"}));
    const long grown = residentKilobytes(panel.simulator.processId()) - before;
    // 3,000 events of 4 kB, each a trace line of twice that, went to a page that reads none.
    EXPECT_LT(grown, 40 * 1024) << "kB";
    EXPECT_LT(stopwatch.elapsedMs(), 30000);
}

TEST(PanelTrace, ShowsEachAnswerAfterTheRequestItAnswersThoughAClientUsesAFrameIdTwice) {
    Panel panel;
    Connection page(panel.port);
    page.send(upgrade(panel.own, "http://" + panel.own));
    ASSERT_NE(page.receive(headersDone).find("101"), std::string::npos);
    kit::RawSocket client(panel.simulator.socketPath());
    speakProtocol(client);
    client.send({FrameKind::Control, 1, {}, "delayAnswers 200"});
    ASSERT_TRUE(client.receive());
    // Both are asked before either is answered, under the same frame id.
    for (const char* call : {"1", "2"})
        client.send({FrameKind::Request,
                     7,
                     {},
                     std::string("<Method>AnswerCall</Method><Line>1001</Line><CallID>") + call +
                         "</CallID>"});
    ASSERT_TRUE(client.receive());
    ASSERT_TRUE(client.receive());
    const std::string first = R"(answerCall(line=\"1001\", callId=1) -> )";
    const std::string second = R"(answerCall(line=\"1001\", callId=2) -> )";
    const std::string shown = page.receive([&](const std::string& got) {
        return got.find(first) != std::string::npos && got.find(second) != std::string::npos;
    });
    EXPECT_NE(shown.find(first), std::string::npos) << shown;
    EXPECT_NE(shown.find(second), std::string::npos) << shown;
}

TEST(PanelTrace, KeepsNothingOfAClientThatLeftBeforeItsAnswer) {
    kit::reuseFreedMemoryAtOnce();
    // Long texts go back to the system as soon as they are freed, so that what is measured
    // is what the simulator still holds.
    setenv("MALLOC_MMAP_THRESHOLD_", "65536", 1);
    Panel panel;
    unsetenv("MALLOC_MMAP_THRESHOLD_");
    kit::RawSocket speaker(panel.simulator.socketPath());
    speakProtocol(speaker);
    speaker.send({FrameKind::Control, 1, {}, "delayAnswers 100"});
    ASSERT_TRUE(speaker.receive());
    const long before = residentKilobytes(panel.simulator.processId());
    const std::string longLine(1u << 20, 'l');
    for (int i = 0; i < 30; ++i) {
        kit::RawSocket leaving(panel.simulator.socketPath());
        speakProtocol(leaving);
        leaving.send({FrameKind::Request,
                      1,
                      {},
                      "<Method>AnswerCall</Method><Line>" + longLine + "</Line>"});
    }
    // 1,200 short trace lines push the long ones out of those kept for pages that open later.
    for (int i = 0; i < 600; ++i) {
        speaker.send({FrameKind::Control, 2, {}, "clients"});
        ASSERT_TRUE(speaker.receive());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const long grown = residentKilobytes(panel.simulator.processId()) - before;
    // Each request shown is twice its megabyte of text.
    EXPECT_LT(grown, 16 * 1024) << "kB";
}

} // namespace
