#pragma once

// Serves a recorded session to a new run of the application: plays the record's control
// commands in their places, with their recorded delays (none with `fast`), and checks that
// the application sends the recorded requests in order. The session ends with the first
// divergence, with a time-out when the application sends nothing for `timeout`, or, once
// every step is done, with success.

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ReplayScript.h"
#include "Server.h"

namespace simulator {

class Replay {
public:
    // Called once, on the server's thread: 0 and a summary when the session matched, 1 and
    // what went wrong when it did not.
    using Finish = std::function<void(int status, const std::string& report)>;

    Replay(Server& server, std::vector<ReplayStep> steps, bool fast,
           std::chrono::milliseconds timeout, Finish finish);

    // Watches the server's traffic from now on and plays what is due before the first
    // expected request.
    void start();

private:
    void received(const Traffic& traffic);
    void playDue();
    void play(std::vector<ReplayStep> due, std::size_t index);
    void awaitNext();
    void end(int status, const std::string& report);

    Server& server;
    ReplayScript script;
    bool fast;
    std::chrono::milliseconds timeout;
    Finish finish;
    std::size_t requests = 0;
    // The requests waiting for their answers, by client and frame, to hold each answer to
    // the recorded one.
    std::map<std::pair<int, std::uint32_t>, ReplayStep> answering;
    // Each wait gets its own number, so that a time-out of an earlier wait does nothing.
    std::uint64_t wait = 0;
    bool playing = false;
    bool over = false;
};

} // namespace simulator
