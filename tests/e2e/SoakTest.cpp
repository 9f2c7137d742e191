// The simulator under load: many clients at once, each making requests while the
// simulator publishes events to all of them. Clients speak the frames themselves, so
// that every frame that arrives is accounted for: each answer exactly once and to the
// client that asked, each event exactly once and in the order it was published.
// Bounded in count and time; it reports requests per second and the worst answer time.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <set>
#include <thread>

#include "CommunicationsService/desktop/Wire.h"
#include "RawSocket.h"
#include "SimulatorProcess.h"

namespace {

using desktop::wire::Frame;
using desktop::wire::FrameKind;
using Clock = std::chrono::steady_clock;

constexpr int kClients = 50;
constexpr int kRequestsPerClient = 1000;
constexpr int kEvents = 1000;
constexpr int kFirstLine = 1000;

// Counts down once per subscribed client; the publisher waits for all of them.
class Latch {
public:
    explicit Latch(int count) : remaining(count) {}
    void countDown() {
        std::lock_guard<std::mutex> lock(mutex);
        if (--remaining == 0) zero.notify_all();
    }
    bool wait(std::chrono::seconds timeout) {
        std::unique_lock<std::mutex> lock(mutex);
        return zero.wait_for(lock, timeout, [this] { return remaining <= 0; });
    }

private:
    std::mutex mutex;
    std::condition_variable zero;
    int remaining;
};

struct ClientResult {
    std::string problem; // the first thing that went wrong; empty when nothing did
    std::vector<int> events;
    Clock::duration worstAnswer{};
    int answered = 0;
};

// The published event's sequence number, from "<status>SOAK-n</status>".
int sequenceOf(const std::string& event) {
    const std::string marker = "<status>SOAK-";
    const std::size_t at = event.find(marker);
    return at == std::string::npos ? -1 : std::atoi(event.c_str() + at + marker.size());
}

// The request k of a client and the answer it must get. Every fourth answer is steered
// to a text only this request can get, which proves it reached the client that asked.
struct Exchange {
    std::string control;
    std::string request;
    std::string answer;
};

Exchange exchangeFor(int client, int k) {
    const std::string line = std::to_string(kFirstLine + client);
    switch (k % 4) {
    case 0: {
        const std::string token = "token-" + std::to_string(client) + "-" + std::to_string(k);
        return {"nextAnswer " + token, "<Method>GetDevices</Method>", token};
    }
    case 1:
        return {{}, "<Method>GetDoNotDisturb</Method><deviceID>" + line + "</deviceID>", "false"};
    case 2:
        return {{},
                "<Method>setLampMode</Method><Line>" + line + "</Line><lampId>k" +
                    std::to_string(k) + "</lampId><lampMode>" + std::to_string(k % 5) +
                    "</lampMode>",
                "sfiSuccess"};
    default:
        return {{}, "<Method>isCallHoldPossible</Method><Line>" + line + "</Line>", "false"};
    }
}

class Client {
public:
    Client(const std::string& path, int number) : socket(path), number(number) {}

    // Subscribes, makes every request in turn, then waits for the rest of the events.
    ClientResult run(Latch& subscribed) {
        if (!socket.connected) {
            fail("cannot connect");
            return result;
        }
        socket.send({FrameKind::Protocol, 0, {}, "CommunicationsServiceProtocol"});
        const std::string channel = "soak-" + std::to_string(number);
        if (!ask({FrameKind::Subscribe, nextId++, channel, "<Method>Subscribe</Method>"},
                 "sfiSuccess"))
            return result;
        subscribed.countDown();
        for (int k = 0; k < kRequestsPerClient && result.problem.empty(); ++k) {
            const Exchange exchange = exchangeFor(number, k);
            if (!exchange.control.empty() &&
                !ask({FrameKind::Control, nextId++, {}, exchange.control}, "ok")) {
                break;
            }
            const Clock::time_point sent = Clock::now();
            if (ask({FrameKind::Request, nextId++, {}, exchange.request}, exchange.answer)) {
                result.worstAnswer = std::max(result.worstAnswer, Clock::now() - sent);
                ++result.answered;
            }
        }
        while (result.problem.empty() && static_cast<int>(result.events.size()) < kEvents) {
            const std::optional<Frame> frame = socket.receive();
            if (!frame) {
                fail("events stopped after " + std::to_string(result.events.size()));
                break;
            }
            take(*frame);
        }
        return result;
    }

private:
    // Keeps the first problem; false, for returning at once.
    bool fail(const std::string& problem) {
        if (result.problem.empty())
            result.problem = "client " + std::to_string(number) + ": " + problem;
        return false;
    }

    // Sends the frame and reads until its answer, taking the events that come first.
    bool ask(const Frame& frame, const std::string& expected) {
        if (!socket.send(frame)) return fail("cannot send");
        for (;;) {
            const std::optional<Frame> reply = socket.receive();
            if (!reply) return fail("no answer to " + frame.text);
            if (reply->kind == FrameKind::Event) {
                take(*reply);
                continue;
            }
            if (reply->kind != FrameKind::Answer || !answeredIds.insert(reply->id).second)
                return fail("answer " + std::to_string(reply->id) + " twice");
            if (reply->id != frame.id || reply->text != expected) {
                return fail("request " + std::to_string(frame.id) + " got answer " +
                            std::to_string(reply->id) + " '" + reply->text + "'");
            }
            return true;
        }
    }

    void take(const Frame& event) {
        const int sequence = sequenceOf(event.text);
        if (sequence < 0) return; // an event of another kind, not counted
        const int expected = static_cast<int>(result.events.size());
        if (sequence != expected) {
            fail("event " + std::to_string(sequence) + " arrived where " +
                 std::to_string(expected) + " belonged");
        }
        result.events.push_back(sequence);
    }

    kit::RawSocket socket;
    const int number;
    std::uint32_t nextId = 1;
    std::set<std::uint32_t> answeredIds;
    ClientResult result;
};

std::string lineList() {
    std::string lines;
    for (int i = 0; i < kClients; ++i)
        lines += (i == 0 ? "" : ",") + std::to_string(kFirstLine + i);
    return lines;
}

TEST(Soak, EveryAnswerAndEventReachesItsClientOnceAndInOrder) {
    // Every client sets lamps of its own: more than the lamp table holds by default.
    kit::SimulatorProcess simulator({"--lines", lineList(), "--max-table-entries", "20000"});
    Latch subscribed(kClients);
    std::vector<ClientResult> results(kClients);
    const Clock::time_point start = Clock::now();

    std::vector<std::thread> clients;
    for (int i = 0; i < kClients; ++i) {
        clients.emplace_back([&, i] {
            Client client(simulator.socketPath(), i);
            results[i] = client.run(subscribed);
        });
    }
    std::string publisherProblem;
    std::thread publisher([&] {
        if (!subscribed.wait(std::chrono::seconds(30))) {
            publisherProblem = "not every client subscribed within 30 s";
            return;
        }
        kit::RawSocket control(simulator.socketPath());
        for (int n = 0; n < kEvents && publisherProblem.empty(); ++n) {
            control.send({FrameKind::Control,
                          static_cast<std::uint32_t>(n + 1),
                          {},
                          "systemStatus SOAK-" + std::to_string(n)});
            const std::optional<Frame> reply = control.receive();
            if (!reply || reply->text != "ok") publisherProblem = "systemStatus not accepted";
        }
    });
    for (std::thread& client : clients)
        client.join();
    publisher.join();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();

    EXPECT_EQ(publisherProblem, "");
    int answered = 0;
    Clock::duration worst{};
    for (const ClientResult& result : results) {
        EXPECT_EQ(result.problem, "");
        EXPECT_EQ(result.events.size(), static_cast<std::size_t>(kEvents));
        answered += result.answered;
        worst = std::max(worst, result.worstAnswer);
    }
    EXPECT_EQ(answered, kClients * kRequestsPerClient);
    EXPECT_LT(seconds, 60.0);
    const auto worstMs = std::chrono::duration_cast<std::chrono::milliseconds>(worst).count();
    std::cout << "soak: " << kClients << " clients, " << answered << " requests and "
              << kClients * kEvents << " events in " << seconds
              << " s: " << static_cast<long>(answered / seconds)
              << " requests per second, worst answer " << worstMs << " ms\n";
    RecordProperty("requests_per_second", static_cast<int>(answered / seconds));
    RecordProperty("worst_answer_ms", static_cast<int>(worstMs));
}

} // namespace
