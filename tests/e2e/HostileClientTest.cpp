// The simulator under clients that mean harm or have stopped caring: it keeps accepting
// when descriptors run out, its memory stays within its limits whatever clients announce,
// withhold or pile up, and nothing a client sends can forge a line of its log.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <thread>

#include "Client.h"
#include "RawSocket.h"
#include "SimulatorProcess.h"

namespace {

using desktop::wire::Frame;
using desktop::wire::FrameKind;
using kit::RawSocket;

constexpr const char* kProtocol = "CommunicationsServiceProtocol";
constexpr std::size_t kMiB = 1u << 20;

// The resident memory of a process, in bytes.
std::size_t residentBytes(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, 6, "VmRSS:") == 0) return std::stoul(line.substr(6)) * 1024;
    }
    return 0;
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

// A client that has selected the protocol, for asking and controlling.
std::unique_ptr<RawSocket> speaker(const std::string& socket) {
    auto client = std::make_unique<RawSocket>(socket);
    client->send({FrameKind::Protocol, 0, {}, kProtocol});
    return client;
}

// The simulator has read everything sent before: it answered a command sent after it.
void settle(const std::string& socket) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    RawSocket probe(socket);
    probe.send({FrameKind::Control, 1, {}, "clients"});
    ASSERT_TRUE(probe.receive());
}

TEST(Accepting, GoesOnOnceDescriptorsRunOutAndClientsLeave) {
    rlimit original{};
    getrlimit(RLIMIT_NOFILE, &original);
    rlimit low = original;
    low.rlim_cur = 32;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
    std::unique_ptr<kit::SimulatorProcess> started;
    try {
        started = std::make_unique<kit::SimulatorProcess>();
    } catch (...) {
        setrlimit(RLIMIT_NOFILE, &original);
        throw;
    }
    setrlimit(RLIMIT_NOFILE, &original);
    kit::SimulatorProcess& simulator = *started;
    {
        std::vector<std::unique_ptr<RawSocket>> crowd;
        for (int i = 0; i < 40; ++i)
            crowd.push_back(std::make_unique<RawSocket>(simulator.socketPath()));
        ASSERT_TRUE(simulator.waitForLog("accepting failed: Too many open files"))
            << simulator.log();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    RawSocket late(simulator.socketPath());
    ASSERT_TRUE(late.send({FrameKind::Control, 7, {}, "help"}));
    const std::optional<Frame> answer = late.receive();
    ASSERT_TRUE(answer) << simulator.log();
    EXPECT_EQ(answer->text.compare(0, 2, "ok"), 0);
    const std::string log = simulator.log();
    // Once per episode, however many attempts fail: on a loaded machine the crowd's leaving
    // can let the waiting clients in faster than descriptors come free, a second episode.
    const std::size_t episodes = occurrences(log, "accepting failed");
    EXPECT_GE(episodes, 1u) << log;
    EXPECT_LE(episodes, 3u) << log;
    EXPECT_EQ(occurrences(log, "accepting again after"), episodes) << log;
}

TEST(Memory, AnnouncedFramesReserveOnlyWhatArrives) {
    kit::reuseFreedMemoryAtOnce();
    kit::SimulatorProcess simulator;
    const std::size_t before = residentBytes(simulator.processId());
    std::vector<std::unique_ptr<RawSocket>> teasers;
    for (int i = 0; i < 100; ++i) {
        teasers.push_back(std::make_unique<RawSocket>(simulator.socketPath()));
        // Announces 4 MiB, sends one byte of it.
        teasers.back()->send(std::string("\x00\x40\x00\x00", 4) + "R");
    }
    settle(simulator.socketPath());
    const std::size_t after = residentBytes(simulator.processId());
    EXPECT_LT(after, before + 16 * kMiB) << before << " -> " << after;
}

TEST(Memory, WhatAllClientsHoldTogetherIsBounded) {
    kit::SimulatorProcess simulator({"--max-total-bytes", "1048576"});
    std::vector<std::unique_ptr<RawSocket>> halfSent;
    for (int i = 0; i < 3; ++i) {
        halfSent.push_back(std::make_unique<RawSocket>(simulator.socketPath()));
        halfSent.back()->send(std::string("\x00\x40\x00\x00", 4) + std::string(400 << 10, 'R'));
    }
    settle(simulator.socketPath());
    const std::string log = simulator.log();
    EXPECT_EQ(occurrences(log, "would take the bytes held for all clients past the limit of "
                               "1048576 (--max-total-bytes); disconnected"),
              1u)
        << log;
}

TEST(Memory, ASubscriberThatNeverReadsIsDisconnectedAndTheOthersGoOn) {
    kit::reuseFreedMemoryAtOnce();
    kit::SimulatorProcess simulator;
    auto sleeper = speaker(simulator.socketPath());
    sleeper->send({FrameKind::Subscribe, 1, "asleep", "<Method>Subscribe</Method>"});
    auto reader = speaker(simulator.socketPath());
    reader->send({FrameKind::Subscribe, 1, "awake", "<Method>Subscribe</Method>"});
    ASSERT_EQ(reader->receiveText(), "sfiSuccess");
    settle(simulator.socketPath());
    const std::size_t before = residentBytes(simulator.processId());

    const std::string info(kMiB, 'i');
    auto sender = speaker(simulator.socketPath());
    for (std::uint32_t i = 1; i <= 60; ++i) {
        ASSERT_TRUE(sender->send({FrameKind::Control, i, {}, "systemStatus degraded " + info}));
        ASSERT_EQ(sender->receiveText(), "ok");
        const std::optional<Frame> event = reader->receive();
        ASSERT_TRUE(event && event->kind == FrameKind::Event);
    }
    const std::size_t after = residentBytes(simulator.processId());
    EXPECT_LT(after, before + 40 * kMiB) << before << " -> " << after;
    EXPECT_TRUE(simulator.waitForLog("fell behind: ", std::chrono::seconds(2))) << simulator.log();
    EXPECT_NE(simulator.log().find("more than the outbox limit of 16777216 (--max-outbox-bytes)"),
              std::string::npos)
        << simulator.log();
}

TEST(Limits, RefuseWhatWouldGrowTheTablesAndSaySo) {
    kit::SimulatorProcess simulator(
        {"--max-channels", "4", "--max-table-entries", "4", "--max-name-bytes", "8"});
    auto client = speaker(simulator.socketPath());
    std::uint32_t id = 1;
    // The answers to five new keys and one too long; the device table starts with the two
    // lines.
    auto refusals = [&](auto frameFor) {
        std::vector<std::string> reasons;
        for (const std::string key : {"k1", "k2", "k3", "k4", "k5", "keyTooLong"}) {
            client->send(frameFor(key));
            const std::optional<Frame> answer = client->receive();
            reasons.push_back(answer ? answer->channel + answer->text : "no answer");
        }
        return reasons;
    };
    const auto lamp = [&](const std::string& key) {
        return Frame{FrameKind::Request,
                     id++,
                     {},
                     "<Method>setLampMode</Method><Line>1001</Line><lampId>" + key +
                         "</lampId><lampMode>1</lampMode>"};
    };
    const auto device = [&](const std::string& key) {
        return Frame{FrameKind::Control, id++, {}, "addDevice " + key};
    };
    const auto channel = [&](const std::string& key) {
        return Frame{FrameKind::Subscribe, id++, key, "<Method>Subscribe</Method>"};
    };
    struct Table {
        std::vector<std::string> reasons;
        std::string full;
        std::string tooLong;
    };
    const std::vector<Table> tables = {
        {refusals(lamp), "the lamp table is full: 4 entries, the limit (--max-table-entries)",
         "the lamp name of 10 bytes is longer than the limit of 8 (--max-name-bytes)"},
        {refusals(device), "error: the device table is full: 4 entries",
         "error: the device name of 10 bytes is longer than the limit of 8"},
        {refusals(channel), "this client already has 4 channels, the limit (--max-channels)",
         "a channel name of 10 bytes is longer than the limit of 8 (--max-name-bytes)"},
    };
    for (const Table& table : tables) {
        EXPECT_EQ(table.reasons[0].find("limit"), std::string::npos) << table.reasons[0];
        EXPECT_NE(table.reasons[4].find(table.full), std::string::npos) << table.reasons[4];
        EXPECT_NE(table.reasons[5].find(table.tooLong), std::string::npos) << table.reasons[5];
    }
}

TEST(FrameLimit, AnAnswerTooBigToSendBecomesARefusalAndTheHostStaysConnected) {
    kit::SimulatorProcess simulator({"--max-name-bytes", "2000000"});
    kit::Client client(simulator.socketPath());
    for (char name = 'a'; name < 'f'; ++name)
        ASSERT_EQ(client.control("addDevice " + std::string(kMiB, name)), "ok");
    EXPECT_TRUE(client.run({"getDevices"}));
    EXPECT_NE(client.trace.find("(refused: answer of 52"), std::string::npos) << client.trace;
    EXPECT_NE(client.trace.find("bytes is over the frame limit of 4194304 bytes)"),
              std::string::npos)
        << client.trace;
    EXPECT_TRUE(client.host->channel().connected());
    EXPECT_TRUE(client.run({"activate => sfiSuccess"}));
    EXPECT_TRUE(client.reports().empty());
}

TEST(FrameLimit, ARequestTooBigIsRefusedBeforeItIsSentAndCostsNoConnection) {
    kit::SimulatorProcess simulator;
    kit::Client client(simulator.socketPath());
    EXPECT_EQ(client.service().setLampMode("1001", std::string(5 * kMiB, 'x'), 1), sfiFailure);
    const std::string refusal = client.host->channel().refusalOfLastRequest();
    EXPECT_EQ(refusal.compare(0, 11, "request of "), 0) << refusal;
    EXPECT_NE(refusal.find(" bytes is over the frame limit of 4194304 bytes"), std::string::npos)
        << refusal;
    EXPECT_FALSE(client.run({"sim addDevice " + std::string(5 * kMiB, 'y')}));
    EXPECT_NE(client.trace.find("! sim: not sent: control command of 5242"), std::string::npos)
        << client.trace.substr(0, 300);
    EXPECT_TRUE(client.run({"activate => sfiSuccess"}));
    const std::vector<std::string> reports = client.reports();
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0], "setLampMode not sent: " + refusal);
    EXPECT_EQ(simulator.log().find("disconnected"), simulator.log().rfind("disconnected"))
        << "only the start-up probe left: " << simulator.log();
}

TEST(Log, ClientBytesAreEscapedSoNoLineCanBeForged) {
    kit::SimulatorProcess simulator({"--verbose"});
    auto client = speaker(simulator.socketPath());
    client->send({FrameKind::Protocol, 0, {}, "x\nsimulator: client 99 forged\x1b[2J\xff"});
    client->send({FrameKind::Control, 1, {}, "echo " + std::string(3000, 'l')});
    ASSERT_TRUE(client->receive());
    client->send({FrameKind::Answer, 2, {}, "ok"});
    ASSERT_TRUE(client->closedByPeer());
    ASSERT_TRUE(simulator.waitForLog("which only the service sends")) << simulator.log();
    const std::string log = simulator.log();
    EXPECT_EQ(log.find("\nsimulator: client 99"), std::string::npos) << log;
    EXPECT_EQ(log.find('\x1b'), std::string::npos) << log;
    EXPECT_NE(log.find("protocol 'x\\nsimulator: client 99 forged\\x1b[2J\\xff'"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("lll... (30"), std::string::npos) << log;
    EXPECT_NE(log.find("sent an answer frame, which only the service sends"), std::string::npos)
        << log;
}

} // namespace
