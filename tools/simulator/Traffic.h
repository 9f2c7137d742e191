#pragma once

// What the simulator's server carries, told to whoever watches it (a recorder, a panel):
// every frame a client sends and every frame it is sent, in the order they happen, and
// each client's coming and going.

#include <chrono>
#include <functional>
#include <string>

#include "CommunicationsService/desktop/Wire.h"

namespace simulator {

struct Traffic {
    enum class Happening { connected, disconnected, received, sent };

    Happening happening;
    // 0 for the simulator's own commands (its standard input, a script).
    int client;
    // The frame received or sent; for a disconnection, its text says why.
    desktop::wire::Frame frame;
    std::chrono::system_clock::time_point time;
    // For an answer: the request or control command it answers, so that no watcher has to
    // pair them itself.
    const desktop::wire::Frame* question = nullptr;
};

// Called on the server's thread, before the frame is handled or written: a watcher that
// takes long holds up every client.
using TrafficWatcher = std::function<void(const Traffic& traffic)>;

} // namespace simulator
