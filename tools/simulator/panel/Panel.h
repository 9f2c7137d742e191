#pragma once

// The simulated phone in a browser: one page, built into the simulator, that shows the
// phone's state and the decoded traffic live over a WebSocket and drives the far end with
// the control commands. It answers only requests addressed to itself (Host) from its own
// page (Origin), so that no other site and no rebound name can reach it; a page that stops
// reading loses trace lines, with a count, and never holds up the simulator.

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>

#include "Server.h"

namespace simulator {

class Panel {
public:
    struct Options {
        std::string address = "127.0.0.1";
        unsigned short port = 0;
        // Trace lines kept for a page that opens later.
        std::size_t traceLines = 1000;
        // Bytes a page may leave unread before its trace lines are dropped.
        std::size_t backlogBytes = 1u << 20;
        // The largest message a page may send.
        std::size_t messageBytes = 64u << 10;
    };

    // Listens at once; throws std::runtime_error naming the address when it cannot.
    Panel(asio::io_context& io, Server& server, const PhoneService& service, Options options,
          Log log);
    ~Panel();
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    // "http://127.0.0.1:8080/"
    std::string url() const;

    // "[ADDRESS:]PORT" as the option gives it; throws std::runtime_error saying what is
    // wrong with it.
    static Options parseListen(const std::string& listen);

private:
    class Site;
    std::unique_ptr<Site> site;
};

} // namespace simulator
