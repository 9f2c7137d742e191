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

#include "CommunicationsService/desktop/Host.h"
#include "CommunicationsService/desktop/Wire.h"
#include "PhoneService.h"
#include "Traffic.h"

namespace simulator {

// Each line with how much it matters; the program decides which it shows.
using Log = std::function<void(desktop::LogLevel level, const std::string& line)>;

// What clients may hold in the server; a client that goes past a limit is refused or,
// for what it makes the server buffer, disconnected, so that no client can make the others
// wait or the simulator grow without bound.
struct ClientLimits {
    // Bytes of answers and events waiting to be written to a client that does not read.
    std::size_t outboxBytes = 16u << 20;
    std::size_t channels = 64;
    // The longest channel name a client may subscribe.
    std::size_t channelNameBytes = 256;
    // Bytes held for all clients together: frames being read and outboxes. The client
    // that would pass it is disconnected.
    std::size_t totalBytes = 128u << 20;
};

class Server : public EventSink, public Scheduler, public ControlServer {
public:
    // The log gets the clients' bytes as they are: it must escape them itself.
    Server(asio::io_context& io, std::string socketPath, Log log, bool verbose,
           ClientLimits limits = {});
    ~Server() override;

    // Starts accepting; the service must outlive the server.
    void serve(PhoneService& service);
    void stop();

    void publish(const std::string& event) override;
    void after(std::chrono::milliseconds delay, std::function<void()> step) override;

    // Runs a control command as if a client had sent it; the answer begins with "ok" or
    // "error:".
    std::string control(const std::string& command);

    std::string clientList() const override;
    void delayAnswers(std::chrono::milliseconds delay) override;
    void clearAnswerSteering() override;

    // Watchers are told of all traffic from then on, in the order they were added.
    void watch(TrafficWatcher watcher);

    // The clients connected now, each with its protocol and the channels it subscribed.
    struct ClientView {
        int number;
        std::string protocol;
        std::vector<std::string> channels;
    };
    std::vector<ClientView> clients() const;

    // Control commands that clients send go to `take` first; the answer it gives, if any,
    // is theirs and the command is not run (a replay plays the far end itself).
    using ClientControl = std::function<std::optional<std::string>(const std::string& command)>;
    void takeClientControl(ClientControl take);

private:
    class Session;
    friend class Session;

    void accept();
    void acceptFailed(const asio::error_code& error);
    void received(const std::shared_ptr<Session>& session, desktop::wire::Frame frame);
    void serveRequest(const std::shared_ptr<Session>& session, const desktop::wire::Frame& frame);
    std::string control(const std::string& command, Session* session);
    void answer(const std::shared_ptr<Session>& session, const desktop::wire::Frame& question,
                std::string text, std::chrono::milliseconds delay, const std::string& refusal = {});
    void flushEvents();
    void forget(int sessionNumber);
    void tell(Traffic::Happening happening, int client, const desktop::wire::Frame& frame,
              const desktop::wire::Frame* question = nullptr);

    asio::io_context& io;
    std::string socketPath;
    // The socket file this server made, removed on stop only while it is still there.
    std::optional<std::pair<dev_t, ino_t>> boundSocket;
    Log log;
    bool verbose;
    const ClientLimits limits;
    asio::local::stream_protocol::acceptor acceptor;
    // Accepting fails in episodes (no descriptors left, for one); each is logged once and
    // accepting is tried again, at growing intervals, until it works.
    asio::steady_timer acceptRetry;
    unsigned acceptFailures = 0;
    PhoneService* service = nullptr;
    std::map<int, std::shared_ptr<Session>> sessions;
    std::size_t heldBytes = 0;
    int nextSessionNumber = 1;
    // Events published while a request is handled go out after its answer.
    bool holdingEvents = false;
    std::vector<std::string> heldEvents;
    std::chrono::milliseconds answerDelay{0};
    std::vector<TrafficWatcher> watchers;
    ClientControl clientControl;
};

} // namespace simulator
