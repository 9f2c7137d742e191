#pragma once

// The simulator's socket side: accepts clients on a Unix-domain socket, reads their
// frames, hands requests to the service and control commands to whoever runs them, and
// sends answers and events back.

#include <sys/types.h>

#include <asio.hpp>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CommunicationsService/desktop/Wire.h"
#include "PhoneService.h"

namespace simulator {

using Log = std::function<void(const std::string& line)>;

class Server : public EventSink, public Scheduler {
public:
    Server(asio::io_context& io, std::string socketPath, Log log, bool verbose);
    ~Server() override;

    // Starts accepting; the service must outlive the server.
    void serve(PhoneService& service);
    void stop();

    void publish(const std::string& event) override;
    void after(std::chrono::milliseconds delay, std::function<void()> step) override;

    // Runs a control command as if a client had sent it; the answer begins with "ok" or
    // "error:".
    std::string control(const std::string& command);
    static const char* controlHelp();

private:
    class Session;
    friend class Session;

    void accept();
    void received(const std::shared_ptr<Session>& session, desktop::wire::Frame frame);
    void serveRequest(const std::shared_ptr<Session>& session, const desktop::wire::Frame& frame);
    std::string control(const std::string& command, Session* session);
    void answer(const std::shared_ptr<Session>& session, std::uint32_t id, std::string text,
                std::chrono::milliseconds delay, const std::string& refusal = {});
    void flushEvents();
    void forget(int sessionNumber);

    asio::io_context& io;
    std::string socketPath;
    // The socket file this server made, removed on stop only while it is still there.
    std::optional<std::pair<dev_t, ino_t>> boundSocket;
    Log log;
    bool verbose;
    asio::local::stream_protocol::acceptor acceptor;
    PhoneService* service = nullptr;
    std::map<int, std::shared_ptr<Session>> sessions;
    int nextSessionNumber = 1;
    // Events published while a request is handled go out after its answer.
    bool holdingEvents = false;
    std::vector<std::string> heldEvents;
    std::chrono::milliseconds answerDelay{0};
};

} // namespace simulator
