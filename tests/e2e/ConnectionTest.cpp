// The connection between host and simulator under stress: two clients at once, a
// simulator that dies mid-session, garbage on the socket, answers that come too late,
// and a plug-in or service that is not there.

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <future>
#include <thread>

#include "Client.h"
#include "CommunicationsService/desktop/Wire.h"
#include "RawSocket.h"
#include "SimulatorProcess.h"

namespace {

using desktop::wire::Frame;
using desktop::wire::FrameKind;

using kit::RawSocket;

TEST(TwoClients, ShareTheServiceAndBothSeeItsEvents) {
    kit::SimulatorProcess simulator;
    kit::Client alice(simulator.socketPath(), "alice");
    kit::Client bob(simulator.socketPath(), "bob");
    ASSERT_TRUE(alice.run({"subscribe => sfiSuccess"}));
    ASSERT_TRUE(bob.run({"subscribe => sfiSuccess", "activate => sfiSuccess",
                         "sim incomingCall 1001 2005", "answerCall 1001 1 => sfiSuccess"}));
    for (kit::Client* client : {&alice, &bob}) {
        EXPECT_TRUE(client->run({"await onRegistrationStateChangeEvent lineId=1002 registered=true",
                                 "await onCallStateChangeEvent callId=1 callState=connected"}));
    }
    EXPECT_NE(alice.control("clients").find("channels alice"), std::string::npos);
    EXPECT_TRUE(alice.reports().empty());
}

TEST(LostService, CallersGetFailureAtOnceAndTheLossIsReportedOnce) {
    auto simulator =
        std::make_unique<kit::SimulatorProcess>(std::vector<std::string>{"--log-level", "debug"});
    const std::string socket = simulator->socketPath();
    kit::Client client(socket);
    ASSERT_TRUE(client.run({"subscribe => sfiSuccess", "sim delayAnswers 5000"}));

    // A caller blocked on an answer when the service dies is released.
    auto blocked =
        std::async(std::launch::async, [&] { return client.service().answerCall("1001", 1); });
    ASSERT_TRUE(simulator->waitForLog("AnswerCall -> sfiFailure")) << simulator->log();
    kit::Stopwatch clock;
    simulator->kill(SIGKILL);
    EXPECT_EQ(blocked.get(), sfiFailure);
    EXPECT_LT(clock.elapsedMs(), 3000);

    clock = kit::Stopwatch();
    bool status = false;
    std::string uri;
    int ringCount = 0;
    EXPECT_EQ(client.service().activate(), sfiFailure);
    EXPECT_EQ(
        client.service().getForwardingConfiguration(sfiForwardingBusy, status, uri, ringCount),
        sfiFailure);
    EXPECT_FALSE(client.service().isCallHoldPossible("1001"));
    client.service().setIsInServiceInitiatedState("1001", true);
    EXPECT_LT(clock.elapsedMs(), 1000);
    EXPECT_FALSE(client.host->channel().connected());

    const std::vector<std::string> reports = client.reports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_NE(reports[0].find("lost the connection to the communications service at " + socket),
              std::string::npos)
        << reports[0];
}

// Polls until the channel is or is not connected; false after five seconds.
bool waitForConnected(kit::Client& client, bool connected) {
    kit::Stopwatch clock;
    while (client.host->channel().connected() != connected) {
        if (clock.elapsedMs() > 5000) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

TEST(Restart, TheSameSessionGoesOnReceivingEventsOnceTheServiceIsBack) {
    kit::SimulatorProcess first;
    kit::Client client(first.socketPath());
    ASSERT_TRUE(client.run({"subscribe => sfiSuccess", "activate => sfiSuccess",
                            "await onRegistrationStateChangeEvent lineId=1001 registered=true"}));
    first.kill(SIGKILL);
    ASSERT_TRUE(waitForConnected(client, false));

    kit::SimulatorProcess second({}, first.socketPath());
    ASSERT_TRUE(waitForConnected(client, true));
    EXPECT_TRUE(client.run({"activate => sfiSuccess",
                            "await onRegistrationStateChangeEvent lineId=1001 registered=true",
                            "sim incomingCall 1001 2005", "await onIncomingCallEvent callId=1"}))
        << second.log();

    const std::vector<std::string> reports = client.reports();
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_NE(reports[1].find("is back; 1 subscription renewed"), std::string::npos) << reports[1];
}

TEST(Garbage, FromAClientCostsOnlyThatClient) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    ASSERT_TRUE(client.run({"activate => sfiSuccess"}));

    RawSocket oversized(simulator.socketPath());
    ASSERT_TRUE(oversized.send("GET / HTTP/1.1\r\nHost: x\r\n\r\n"));
    EXPECT_TRUE(oversized.closedByPeer());

    RawSocket unknownKind(simulator.socketPath());
    ASSERT_TRUE(unknownKind.send(std::string("\0\0\0\x0Bxyzwvutsrqp", 15)));
    EXPECT_TRUE(unknownKind.closedByPeer());

    {
        // Leaves in the middle of its request.
        RawSocket vanishing(simulator.socketPath());
        ASSERT_TRUE(vanishing.send(
            desktop::wire::encode({FrameKind::Request, 1, {}, "<Method>Activate</Method>"})
                .substr(0, 9)));
    }
    // The readiness probe, the two garbage senders and the vanishing client are gone.
    kit::Stopwatch clock;
    auto disconnections = [&] {
        const std::string log = simulator.log();
        int count = 0;
        for (std::size_t at = log.find("disconnected"); at != std::string::npos;
             at = log.find("disconnected", at + 1)) {
            ++count;
        }
        return count;
    };
    while (disconnections() < 4 && clock.elapsedMs() < 5000)
        std::this_thread::yield();
    EXPECT_EQ(disconnections(), 4) << simulator.log();

    // Well-framed but wrong: no protocol, then a malformed and an unknown request.
    RawSocket wrong(simulator.socketPath());
    ASSERT_TRUE(wrong.send({FrameKind::Request, 1, {}, "<Method>GetDevices</Method>"}));
    EXPECT_EQ(wrong.receiveText(), "sfiFailure");
    ASSERT_TRUE(wrong.send({FrameKind::Protocol, 0, {}, "CommunicationsServiceProtocol"}));
    ASSERT_TRUE(wrong.send({FrameKind::Request, 2, {}, "<Method>AnswerCall</Method><Line>1001"}));
    EXPECT_EQ(wrong.receiveText(), "sfiFailure");
    ASSERT_TRUE(wrong.send({FrameKind::Request, 3, {}, "<Method>FlyToMoon</Method>"}));
    EXPECT_EQ(wrong.receiveText(), "sfiFailure");
    ASSERT_TRUE(wrong.send({FrameKind::Request, 4, {}, "<Method>GetDevices</Method>"}));
    EXPECT_EQ(wrong.receiveText(), "<1001><1002>");

    const std::string log = simulator.log();
    EXPECT_NE(log.find("bytes, more than the limit of"), std::string::npos) << log;
    EXPECT_NE(log.find("sent a malformed frame (unknown frame kind byte 120)"), std::string::npos)
        << log;
    EXPECT_NE(log.find("-> sfiFailure: request on a channel bound to no protocol"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("-> sfiFailure: malformed request: AnswerCall: <Line> is not closed"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("malformed request: unknown method 'FlyToMoon'"), std::string::npos) << log;

    // The well-behaved client never noticed.
    EXPECT_TRUE(client.run({"getDevices => sfiSuccess devices=1001,1002"}));
    EXPECT_TRUE(client.reports().empty());
}

TEST(SimulatorLog, ShowsItsLevelAndTheOnesBeforeIt) {
    struct Level {
        const char* name;
        bool connections; // info
        bool requests;    // debug
    };
    for (const Level level :
         {Level{"warning", false, false}, Level{"info", true, false}, Level{"debug", true, true}}) {
        kit::SimulatorProcess simulator({"--log-level", level.name});
        {
            kit::Client client(simulator.socketPath());
            ASSERT_TRUE(client.run({"activate => sfiSuccess"}));
        }
        RawSocket garbage(simulator.socketPath());
        ASSERT_TRUE(garbage.send("GET / HTTP/1.1\r\n\r\n"));
        EXPECT_TRUE(garbage.closedByPeer());
        EXPECT_TRUE(simulator.waitForLog("more than the limit")) << level.name;
        const std::string log = simulator.log();
        EXPECT_EQ(log.find(" connected") != std::string::npos, level.connections) << log;
        EXPECT_EQ(log.find(" request <Method>") != std::string::npos, level.requests) << log;
    }
}

TEST(Garbage, FromTheServiceEndsTheConnectionWithOneReport) {
    char folder[] = "/tmp/comms-e2e.XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string path = std::string(folder) + "/fake.sock";
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    std::atomic<int> accepted{-1};
    std::thread fakeService([&] {
        accepted = accept(listener, nullptr, nullptr);
        const std::string junk = std::string("\0\0\0\x0D", 4) + std::string(13, 'z');
        ::send(accepted, junk.data(), junk.size(), MSG_NOSIGNAL);
    });

    kit::Client client(path);
    fakeService.join();
    kit::Stopwatch clock;
    EXPECT_EQ(client.service().answerCall("1001", 1), sfiFailure);
    EXPECT_LT(clock.elapsedMs(), 5000);
    const std::vector<std::string> reports = client.reports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_NE(reports[0].find("it sent a malformed frame: unknown frame kind byte 122"),
              std::string::npos)
        << reports[0];
    close(accepted);
    close(listener);
    unlink(path.c_str());
    rmdir(folder);
}

TEST(Timeouts, TimedRequestGivesUpInTimeAndItsLateAnswerIsDropped) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    ASSERT_EQ(client.control("delayAnswers 600"), "ok");
    std::string response = "stale";
    kit::Stopwatch clock;
    EXPECT_EQ(client.host->channel().sendRequestTimed("<Method>GetDevices</Method>", response, 100),
              -1);
    EXPECT_GE(clock.elapsedMs(), 90);
    EXPECT_LT(clock.elapsedMs(), 550);
    EXPECT_EQ(response, "");
    ASSERT_EQ(client.control("delayAnswers 0"), "ok");
    // The late "<1001><1002>" must not be taken for this answer.
    ASSERT_EQ(client.control("nextAnswer sfiServiceOutOfService"), "ok");
    sfiServiceState state = sfiServiceInService;
    EXPECT_EQ(client.service().getServiceState(state), sfiSuccess);
    EXPECT_EQ(state, sfiServiceOutOfService);
    const std::vector<std::string> reports = client.reports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0], "no answer from the communications service to GetDevices within 100 ms");
}

TEST(Subscription, WithoutAChannelNameIsRefused) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    console::EventRecorder stranger([](const console::RecordedEvent&) {});
    EXPECT_EQ(client.service().subscribe(&stranger), sfiFailure);
    EXPECT_TRUE(simulator.waitForLog("-> sfiFailure: Subscribe for an empty channel name"));
}

struct StartFailure {
    std::string plugin;
    bool serviceRunning;
    std::vector<std::string> mentions;
};

TEST(Start, FailsWithAMessageNamingWhatIsMissing) {
    const std::vector<StartFailure> cases = {
        {"/nonexistent/libCommunicationsService.so",
         true,
         {"cannot load plug-in /nonexistent/libCommunicationsService.so"}},
        {FRAMEWORK_PATH,
         true,
         {"plug-in " FRAMEWORK_PATH, "has no factory 'createCommunicationsServiceProxy'"}},
        {PLUGIN_PATH,
         false,
         {"cannot connect to the communications service at ",
          "start the simulator with: comms-simulator --socket "}},
    };
    for (const StartFailure& failure : cases) {
        SCOPED_TRACE(failure.plugin);
        kit::SimulatorProcess simulator;
        if (!failure.serviceRunning) simulator.kill();
        desktop::Host::Options options;
        options.pluginPath = failure.plugin;
        options.socketPath = simulator.socketPath();
        try {
            desktop::Host host(options);
            ADD_FAILURE() << "the host started";
        } catch (const std::runtime_error& error) {
            for (const std::string& mention : failure.mentions) {
                EXPECT_NE(std::string(error.what()).find(mention), std::string::npos)
                    << error.what();
            }
        }
    }
}

struct OptionMistake {
    std::string command;
    std::string message;
};

TEST(Options, EveryMistakeExitsWithTwoAndNamesTheOption) {
    const std::string simulator = SIMULATOR_PATH;
    const std::string console = CONSOLE_PATH;
    const std::vector<OptionMistake> cases = {
        {console + " --answer-timeout abc",
         "--answer-timeout: takes a number of milliseconds, not 'abc'"},
        {console + " --await-timeout", "--await-timeout needs a value"},
        {console + " --answer-timeout 0", "--answer-timeout: takes 1 to 3600000 milliseconds"},
        {console + " --sokcet /tmp/x.sock",
         "unknown option '--sokcet'; did you mean '--socket'? (options: "},
        {simulator + " --ring-tiem=5", "unknown option '--ring-tiem'; did you mean '--ring-time'?"},
        {console + " --script /nonexistent/day.txt", "--script: names no readable file"},
        {simulator + " --ring-time soon", "--ring-time: takes a number of milliseconds"},
        {console + " --log-level loud", "--log-level: names no log level: 'loud' (levels: "},
        {"COMMS_LOG_LEVEL=tarce " + simulator, "no log level: 'tarce'; did you mean 'trace'?"},
        {simulator + " --script /nonexistent/day.txt", "--script: names no readable file"},
        {simulator + " control", "control needs a command"},
        {simulator + " --lines", "--lines needs a value"},
        {simulator + " --lines 1001,,1002", "--lines: a line name is empty"},
        {simulator + " --lines ''", "--lines: a line name is empty"},
        {simulator + " --lines '1001,a b'", "--lines: 'a b' cannot name a line"},
        {simulator + " --lines 1001,1001", "--lines: '1001' is named more than once"},
    };
    for (const OptionMistake& mistake : cases) {
        const kit::ProgramRun run = kit::runProgram(mistake.command);
        EXPECT_EQ(run.status, 2) << mistake.command;
        EXPECT_NE(run.output.find(mistake.message), std::string::npos) << mistake.command << "\n"
                                                                       << run.output;
    }
}

} // namespace
