// The desktop kit under load: 50 subscribed clients and an open panel while the simulator
// sends 1,000 events a second for 10 s, timed from each event's sending to its trace line
// reaching the page; the simulator's memory with a panel page that stops reading; and a
// request's round trip through the desktop host and the simulator against a bare
// Unix-socket ping-pong of the same bytes (the floor).

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <thread>
#include <vector>

#include "CommunicationsService/desktop/Host.h"
#include "CommunicationsService/desktop/Wire.h"
#include "CommunicationsService/protocol/Requests.h"
#include "CommunicationsService/testing/Simulator.h"

namespace {

using Clock = std::chrono::steady_clock;
using desktop::wire::Frame;
using desktop::wire::FrameKind;

constexpr int kClients = 50;
constexpr int kEventsPerSecond = 1000;
constexpr int kSeconds = 10;

double percentile(std::vector<double> values, double share) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, static_cast<std::size_t>(share * values.size()))];
}

long residentKilobytes(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
    return -1;
}

long long nowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

int connectUnix(const std::string& path) {
    const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("cannot connect to " + path);
    return descriptor;
}

void sendAll(int descriptor, const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count =
            ::send(descriptor, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) return;
        sent += static_cast<std::size_t>(count);
    }
}

// A panel page that reads (or not) and times each event's trace line.
class Page {
public:
    Page(int port, bool reading) : descriptor(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address);
        const std::string host = "127.0.0.1:" + std::to_string(port);
        sendAll(descriptor, "GET / HTTP/1.1\r\nHost: " + host +
                                "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nOrigin: http://" +
                                host +
                                "\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                                "Sec-WebSocket-Version: 13\r\n\r\n");
        if (reading) reader = std::thread([this] { read(); });
    }
    ~Page() {
        stopping = true;
        shutdown(descriptor, SHUT_RDWR);
        if (reader.joinable()) reader.join();
        close(descriptor);
    }
    std::vector<double> latencies() {
        stopping = true;
        shutdown(descriptor, SHUT_RDWR);
        if (reader.joinable()) reader.join();
        return delays;
    }

private:
    void read() {
        std::string buffer;
        char chunk[65536];
        bool upgraded = false;
        while (!stopping) {
            const ssize_t count = recv(descriptor, chunk, sizeof chunk, 0);
            if (count <= 0) return;
            buffer.append(chunk, static_cast<std::size_t>(count));
            if (!upgraded) {
                const std::size_t end = buffer.find("\r\n\r\n");
                if (end == std::string::npos) continue;
                buffer.erase(0, end + 4);
                upgraded = true;
            }
            for (;;) {
                if (buffer.size() < 2) break;
                std::size_t length = static_cast<unsigned char>(buffer[1]) & 0x7F;
                std::size_t at = 2;
                if (length == 126) {
                    if (buffer.size() < 4) break;
                    length = (static_cast<unsigned char>(buffer[2]) << 8) |
                             static_cast<unsigned char>(buffer[3]);
                    at = 4;
                } else if (length == 127) {
                    if (buffer.size() < 10) break;
                    length = 0;
                    for (int i = 2; i < 10; ++i)
                        length = (length << 8) | static_cast<unsigned char>(buffer[i]);
                    at = 10;
                }
                if (buffer.size() < at + length) break;
                const long long arrived = nowMs();
                const auto message =
                    nlohmann::json::parse(buffer.substr(at, length), nullptr, false);
                buffer.erase(0, at + length);
                if (message.is_discarded() || !message.contains("trace")) continue;
                for (const auto& entry : message["trace"])
                    if (entry.value("kind", "") == "event")
                        delays.push_back(static_cast<double>(arrived - entry.value("time", 0LL)));
            }
        }
    }

    int descriptor;
    std::atomic<bool> stopping{false};
    std::thread reader;
    std::vector<double> delays;
};

// Subscribed clients that read every event they are sent.
class Subscribers {
public:
    explicit Subscribers(const std::string& socketPath) {
        for (int i = 0; i < kClients; ++i) {
            const int descriptor = connectUnix(socketPath);
            sendAll(descriptor, desktop::wire::encode(
                                    {FrameKind::Protocol,
                                     0,
                                     {},
                                     std::string(CommunicationsService::protocol::kProtocolName)}));
            sendAll(
                descriptor,
                desktop::wire::encode(
                    {FrameKind::Subscribe, 1, "load" + std::to_string(i),
                     std::string(CommunicationsService::protocol::kMethodOpen) +
                         std::string(CommunicationsService::protocol::requests::subscribe.method) +
                         std::string(CommunicationsService::protocol::kMethodClose)}));
            descriptors.push_back(descriptor);
        }
        drainer = std::thread([this] {
            std::vector<pollfd> polled;
            for (const int descriptor : descriptors)
                polled.push_back({descriptor, POLLIN, 0});
            char chunk[65536];
            while (!stopping) {
                if (poll(polled.data(), polled.size(), 50) <= 0) continue;
                for (pollfd& one : polled)
                    if (one.revents & POLLIN) recv(one.fd, chunk, sizeof chunk, 0);
            }
        });
    }
    ~Subscribers() {
        stopping = true;
        drainer.join();
        for (const int descriptor : descriptors)
            close(descriptor);
    }

private:
    std::vector<int> descriptors;
    std::atomic<bool> stopping{false};
    std::thread drainer;
};

int panelPort(const communications::testing::SimulatorProcess& simulator) {
    for (int tries = 0; tries < 200; ++tries) {
        std::smatch found;
        const std::string log = simulator.log();
        if (std::regex_search(log, found, std::regex("panel at http://127.0.0.1:(\\d+)/")))
            return std::stoi(found[1]);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    throw std::runtime_error("the simulator printed no panel URL");
}

// Sends 1,000 events a second for 10 s through control commands, paced by the clock.
void sendEvents(const std::string& socketPath) {
    const int control = connectUnix(socketPath);
    std::atomic<bool> done{false};
    std::thread drain([&] {
        char chunk[65536];
        while (!done && recv(control, chunk, sizeof chunk, 0) > 0) {
        }
    });
    const auto start = Clock::now();
    for (int sent = 0; sent < kEventsPerSecond * kSeconds; ++sent) {
        std::this_thread::sleep_until(
            start + std::chrono::microseconds(sent * 1000000LL / kEventsPerSecond));
        sendAll(control, desktop::wire::encode({FrameKind::Control,
                                                static_cast<std::uint32_t>(sent + 1),
                                                {},
                                                "emit systemStatus status=load"}));
    }
    done = true;
    shutdown(control, SHUT_RDWR);
    drain.join();
    close(control);
}

void PanelUnderLoad(benchmark::State& state) {
    const bool reading = state.range(0) != 0;
    for (auto _ : state) {
        communications::testing::SimulatorProcess simulator({"--panel", "0", "--lines", "1001"});
        const int port = panelPort(simulator);
        Subscribers subscribers(simulator.socketPath());
        Page page(port, reading);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        const long before = residentKilobytes(simulator.processId());
        sendEvents(simulator.socketPath());
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        const long after = residentKilobytes(simulator.processId());
        state.counters["rss_growth_MiB"] = static_cast<double>(after - before) / 1024;
        if (reading) {
            const std::vector<double> delays = page.latencies();
            state.counters["page_lines"] = static_cast<double>(delays.size());
            state.counters["page_median_ms"] = percentile(delays, 0.5);
            state.counters["page_p99_ms"] = percentile(delays, 0.99);
        }
    }
}
BENCHMARK(PanelUnderLoad)->Arg(1)->Arg(0)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

constexpr int kRoundTrips = 20000;

void reportRoundTrips(benchmark::State& state, std::vector<double> micros) {
    state.counters["median_us"] = percentile(micros, 0.5);
    state.counters["p99_us"] = percentile(micros, 0.99);
}

void RoundTripThroughHostAndSimulator(benchmark::State& state) {
    communications::testing::SimulatorProcess simulator({"--lines", "1001"});
    desktop::Host::Options options;
    options.pluginPath = PLUGIN_PATH;
    options.socketPath = simulator.socketPath();
    options.report = [](const std::string&) {};
    desktop::Host host(options);
    host.service().activate();
    std::vector<double> micros;
    for (auto _ : state) {
        for (int i = 0; i < kRoundTrips; ++i) {
            bool muted = false;
            const auto start = Clock::now();
            benchmark::DoNotOptimize(host.service().getMicrophoneMute(muted));
            micros.push_back(
                std::chrono::duration<double, std::micro>(Clock::now() - start).count());
        }
    }
    reportRoundTrips(state, micros);
}
BENCHMARK(RoundTripThroughHostAndSimulator)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// The same bytes each way over a Unix-domain socket pair, answered by a thread at once.
void UnixSocketPingPong(benchmark::State& state) {
    namespace protocol = CommunicationsService::protocol;
    const std::string request =
        desktop::wire::encode({FrameKind::Request,
                               1,
                               {},
                               std::string(protocol::kMethodOpen) +
                                   std::string(protocol::requests::getMicrophoneMute.method) +
                                   std::string(protocol::kMethodClose)});
    const std::string answer =
        desktop::wire::encode({FrameKind::Answer, 1, {}, std::string(protocol::kFalseWord)});
    int pair[2];
    socketpair(AF_UNIX, SOCK_STREAM, 0, pair);
    std::thread echo([&] {
        std::string buffer(request.size(), '\0');
        for (;;) {
            std::size_t got = 0;
            while (got < request.size()) {
                const ssize_t count = recv(pair[1], buffer.data() + got, request.size() - got, 0);
                if (count <= 0) return;
                got += static_cast<std::size_t>(count);
            }
            sendAll(pair[1], answer);
        }
    });
    std::vector<double> micros;
    std::string buffer(answer.size(), '\0');
    for (auto _ : state) {
        for (int i = 0; i < kRoundTrips; ++i) {
            const auto start = Clock::now();
            sendAll(pair[0], request);
            std::size_t got = 0;
            while (got < answer.size())
                got += static_cast<std::size_t>(
                    recv(pair[0], buffer.data() + got, answer.size() - got, 0));
            micros.push_back(
                std::chrono::duration<double, std::micro>(Clock::now() - start).count());
        }
    }
    shutdown(pair[0], SHUT_RDWR);
    echo.join();
    close(pair[0]);
    close(pair[1]);
    reportRoundTrips(state, micros);
}
BENCHMARK(UnixSocketPingPong)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
