#include "FakeService.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <stdexcept>

#include "CommunicationsService/desktop/Wire.h"
#include "RawSocket.h"

namespace hosttest {

using desktop::wire::Frame;
using desktop::wire::FrameKind;

struct FakeService::Client {
    explicit Client(int descriptor) : descriptor(descriptor) {}
    ~Client() { close(descriptor); }

    bool send(const Frame& frame) {
        const std::string bytes = desktop::wire::encode(frame);
        std::lock_guard<std::mutex> lock(writing);
        return ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }

    bool receiveAll(void* into, std::size_t size) {
        return kit::receiveAll(descriptor, into, size);
    }

    const int descriptor;
    std::mutex writing;
};

FakeService::FakeService() {
    char pattern[] = "/tmp/comms-host.XXXXXX";
    if (mkdtemp(pattern) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    folder = pattern;
    socket = folder + "/service.sock";
    start();
}

FakeService::~FakeService() {
    stopFlood();
    stop();
    rmdir(folder.c_str());
}

void FakeService::start() {
    listening = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socket.copy(address.sun_path, sizeof address.sun_path - 1);
    if (bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listening, 8) != 0) {
        throw std::runtime_error("cannot listen on " + socket);
    }
    acceptor = std::thread([this, listener = listening] { acceptClients(listener); });
}

void FakeService::stop() {
    if (listening < 0) return;
    shutdown(listening, SHUT_RDWR);
    acceptor.join();
    close(listening);
    listening = -1;
    std::remove(socket.c_str());
    {
        std::lock_guard<std::mutex> lock(clientsMutex);
        for (const auto& client : clients)
            shutdown(client->descriptor, SHUT_RDWR);
    }
    for (std::thread& reader : readers)
        reader.join();
    readers.clear();
    std::lock_guard<std::mutex> lock(clientsMutex);
    clients.clear();
}

void FakeService::acceptClients(int listener) {
    for (;;) {
        const int descriptor = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0) return;
        auto client = std::make_shared<Client>(descriptor);
        std::lock_guard<std::mutex> lock(clientsMutex);
        clients.push_back(client);
        readers.emplace_back([this, client] { serve(client); });
    }
}

void FakeService::serve(const std::shared_ptr<Client>& client) {
    for (;;) {
        unsigned char header[desktop::wire::kHeaderSize];
        if (!client->receiveAll(header, sizeof header)) return;
        std::string body(desktop::wire::bodySize(header), '\0');
        if (!client->receiveAll(body.data(), body.size())) return;
        std::string problem;
        const auto frame = desktop::wire::decode(body, problem);
        if (!frame) return;
        if (frame->kind == FrameKind::Request) ++answered;
        if (frame->kind == FrameKind::Request || frame->kind == FrameKind::Subscribe ||
            frame->kind == FrameKind::Control) {
            client->send({FrameKind::Answer, frame->id, {}, "sfiSuccess"});
        }
    }
}

void FakeService::startFlood(const std::string& channel, const std::string& text, int count) {
    stopFlood();
    flooding = true;
    flooder = std::thread([this, channel, text, count] {
        // A client counts once the service has accepted it, which may be after the
        // client's connect returned.
        for (int sent = 0; sent < count && flooding;) {
            std::vector<std::shared_ptr<Client>> everyone;
            {
                std::lock_guard<std::mutex> lock(clientsMutex);
                everyone = clients;
            }
            for (const auto& client : everyone)
                client->send({FrameKind::Event, 0, channel, text});
            if (!everyone.empty()) ++sent;
            // Bursts, so that a slow subscriber's queue stays within memory.
            if (everyone.empty() || sent % 100 == 99)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
}

void FakeService::stopFlood() {
    flooding = false;
    if (flooder.joinable()) flooder.join();
}

} // namespace hosttest
