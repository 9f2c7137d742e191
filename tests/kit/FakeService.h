#pragma once

// A service in the test's own process for the host to connect to: it answers every
// request, subscription and command with "sfiSuccess", and sends events when told. It can
// go away and come back on the same socket, as a restarted service does.

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace hosttest {

class FakeService {
public:
    FakeService();
    ~FakeService();
    FakeService(const FakeService&) = delete;
    FakeService& operator=(const FakeService&) = delete;

    const std::string& socketPath() const { return socket; }

    // Sends the event text to every client, @p count times, on a thread of its own;
    // stopFlood() ends it.
    void startFlood(const std::string& channel, const std::string& text, int count = 1 << 30);
    void stopFlood();

    // Drops every client and stops listening; start() listens again.
    void stop();
    void start();

    // Requests (not commands or subscriptions) answered so far.
    int requestsAnswered() const { return answered.load(); }

private:
    struct Client;
    void acceptClients(int listener);
    void serve(const std::shared_ptr<Client>& client);

    std::string folder;
    std::string socket;
    int listening = -1;
    std::thread acceptor;
    std::mutex clientsMutex;
    std::vector<std::shared_ptr<Client>> clients;
    std::vector<std::thread> readers;
    std::thread flooder;
    std::atomic<bool> flooding{false};
    std::atomic<int> answered{0};
};

} // namespace hosttest
