#include <algorithm>
#include <array>
#include <asio.hpp>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>

#include "CommunicationsService/desktop/Host.h"
#include "CommunicationsService/desktop/Printable.h"
#include "CommunicationsService/desktop/Trace.h"
#include "CommunicationsService/desktop/Wire.h"
#include "CommunicationsService/protocol/Description.h"

namespace desktop {

namespace {

using Socket = asio::local::stream_protocol::socket;
using wire::Frame;
using wire::FrameKind;

// Why the service refused the last request this thread sent; empty when it did not.
thread_local std::string lastRefusal;

// A request that begins with its method element is named by its method in reports; anything
// else by its first bytes.
std::string describe(const std::string& message) {
    constexpr std::string_view open = CommunicationsService::protocol::kMethodOpen;
    const std::size_t end = message.find(CommunicationsService::protocol::kMethodClose);
    if (message.compare(0, open.size(), open) == 0 && end != std::string::npos) {
        return printable(std::string_view(message).substr(open.size(), end - open.size()));
    }
    return "'" + printable(message, 24) + "'";
}

std::string describe(const Frame& frame) {
    if (frame.kind == FrameKind::Control) return "control command '" + printable(frame.text) + "'";
    return describe(frame.text);
}

} // namespace

// All socket work happens on one I/O thread; callers hand it frames and wait for the
// answer with their id under the mutex. When the service goes away the connection tries
// again, waiting longer each time up to a bound, and once it is back selects the protocol
// and renews the subscriptions it had; meanwhile every request fails at once.
struct ServiceChannel::Connection {
    struct Reply {
        std::string text;
        std::string refusal;
    };

    // Whether a lost connection is worth trying again: not when the peer spoke garbage,
    // since whatever listens there is not the service.
    enum class Retry { yes, no };

    static constexpr std::chrono::milliseconds kFirstRetry{50};
    static constexpr std::chrono::milliseconds kLongestRetry{1000};

    Connection(const std::string& path, std::chrono::milliseconds timeout, EventSink sink,
               Reporter reporter, StatusSink statusSink, Reporter tracer)
        : socketPath(path), defaultTimeout(timeout), events(std::move(sink)),
          report(std::move(reporter)), status(std::move(statusSink)), trace(std::move(tracer)) {}

    void connect() {
        asio::error_code error;
        socket.connect(asio::local::stream_protocol::endpoint(socketPath), error);
        if (error) {
            throw ServiceUnreachable("cannot connect to the communications service at " +
                                     socketPath + ": " + error.message() +
                                     " (is it running? start the simulator with: comms-simulator "
                                     "--socket " +
                                     socketPath + ")");
        }
        readHeader();
        ioThread = std::thread([this] { io.run(); });
    }

    void close() {
        {
            std::lock_guard<std::mutex> lock(mutex);
            closing = true;
        }
        asio::post(io, [this] {
            retry.cancel();
            lose({}, Retry::no);
            asio::error_code ignored;
            socket.close(ignored);
        });
        if (ioThread.joinable()) ioThread.join();
    }

    // Sends a frame that expects an answer; nothing when none came in time.
    std::optional<std::string> exchange(Frame frame, std::chrono::milliseconds timeout) {
        if (!fits(frame)) return std::nullopt;
        std::unique_lock<std::mutex> lock(mutex);
        if (lost) return std::nullopt;
        timeout = std::min(timeout, longestWait);
        frame.id = nextId++;
        const std::uint32_t id = frame.id;
        answers[id];
        if (frame.kind == FrameKind::Subscribe) subscriptions[frame.channel] = frame.text;
        const std::string what = describe(frame);
        const std::string traced = !trace                             ? std::string()
                                   : frame.kind == FrameKind::Control ? what
                                                                      : trace::request(frame.text);
        const auto sent = std::chrono::steady_clock::now();
        lock.unlock();
        send(std::move(frame));
        lock.lock();
        answered.wait_for(lock, timeout, [&] { return lost || answers[id].has_value(); });
        std::optional<Reply> reply = std::move(answers[id]);
        answers.erase(id);
        const bool timedOut = !reply && !lost;
        lock.unlock();
        if (timedOut) {
            report("no answer from the communications service to " + what + " within " +
                   std::to_string(timeout.count()) + " ms");
        }
        if (trace) {
            const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(
                                    std::chrono::steady_clock::now() - sent)
                                    .count();
            char elapsed[32];
            std::snprintf(elapsed, sizeof elapsed, "%.1f", static_cast<double>(micros) / 1000);
            trace(traced + " -> " + (reply ? trace::answer(reply->text) : "(no answer)") + " in " +
                  elapsed + " ms");
        }
        if (!reply) return std::nullopt;
        lastRefusal = std::move(reply->refusal);
        return std::move(reply->text);
    }

    bool post(Frame frame) {
        if (!fits(frame)) return false;
        if (trace && frame.kind == FrameKind::OneWay) trace(trace::request(frame.text) + " posted");
        {
            std::lock_guard<std::mutex> lock(mutex);
            if (lost) return false;
            if (frame.kind == FrameKind::Protocol) protocol = frame.text;
        }
        send(std::move(frame));
        return true;
    }

    // A frame over the limit is refused here, where it is made: sent, it would cost the
    // connection. Why is reported and kept as the refusal of the request.
    bool fits(const Frame& frame) {
        lastRefusal = wire::sizeProblem(frame);
        if (lastRefusal.empty()) return true;
        report(describe(frame) + " not sent: " + lastRefusal);
        return false;
    }

    bool isLost() const {
        std::lock_guard<std::mutex> lock(mutex);
        return lost;
    }

    bool isClosing() const {
        std::lock_guard<std::mutex> lock(mutex);
        return closing;
    }

    void send(Frame frame) {
        asio::post(io,
                   [this, bytes = wire::encode(frame)]() mutable { enqueue(std::move(bytes)); });
    }

    // I/O thread. Frames for a connection that is gone are dropped; their callers have
    // been released with a failure.
    void enqueue(std::string bytes) {
        if (away) return;
        outbox.push_back(std::make_shared<std::string>(std::move(bytes)));
        if (outbox.size() == 1) writeNext();
    }

    void writeNext() {
        auto bytes = outbox.front();
        asio::async_write(
            socket, asio::buffer(*bytes),
            [this, bytes, connection = generation](const asio::error_code& error, std::size_t) {
                if (connection != generation) return;
                if (error) return lose("writing failed: " + error.message());
                outbox.pop_front();
                if (!outbox.empty()) writeNext();
            });
    }

    void readHeader() {
        asio::async_read(
            socket, asio::buffer(header),
            [this, connection = generation](const asio::error_code& error, std::size_t) {
                if (connection != generation) return;
                if (error) return lose(readFailure(error));
                const std::uint32_t size = wire::bodySize(header.data());
                if (size > wire::kMaxBodySize) {
                    return lose("it announced a frame of " + std::to_string(size) +
                                    " bytes, more than the limit of " +
                                    std::to_string(wire::kMaxBodySize),
                                Retry::no);
                }
                body.resize(size);
                readBody();
            });
    }

    void readBody() {
        asio::async_read(
            socket, asio::buffer(body),
            [this, connection = generation](const asio::error_code& error, std::size_t) {
                if (connection != generation) return;
                if (error) return lose(readFailure(error));
                std::string problem;
                std::optional<Frame> frame = wire::decode(body, problem);
                if (!frame) return lose("it sent a malformed frame: " + problem, Retry::no);
                if (frame->kind == FrameKind::Event) {
                    events(std::move(frame->channel), std::move(frame->text));
                } else if (frame->kind == FrameKind::Answer) {
                    deliverAnswer(frame->id, {std::move(frame->text), std::move(frame->channel)});
                } else {
                    return lose(std::string("it sent a ") + wire::kindName(frame->kind) +
                                    " frame, which only clients send",
                                Retry::no);
                }
                readHeader();
            });
    }

    static std::string readFailure(const asio::error_code& error) {
        if (error == asio::error::eof) return "the service closed the connection";
        return "reading failed: " + error.message();
    }

    void deliverAnswer(std::uint32_t id, Reply reply) {
        std::lock_guard<std::mutex> lock(mutex);
        // An answer nobody waits for any more came after its time-out: dropped.
        auto waiting = answers.find(id);
        if (waiting != answers.end()) waiting->second = std::move(reply);
        answered.notify_all();
    }

    // Ends the connection. The loss is reported, unless the channel is being closed,
    // before any waiting caller is released, so a caller that sees its request fail can
    // already find the report.
    void lose(const std::string& reason, Retry retrying = Retry::yes) {
        if (away) return;
        away = true;
        ++generation;
        const bool wasClosing = isClosing();
        const bool comesBack = retrying == Retry::yes && !wasClosing;
        if (!wasClosing) {
            report("lost the connection to the communications service at " + socketPath + " (" +
                   reason + ")" +
                   (comesBack ? "; requests fail until it is back"
                              : "; from now on every request fails"));
            if (status) status(false, reason);
        }
        {
            std::lock_guard<std::mutex> lock(mutex);
            lost = true;
        }
        answered.notify_all();
        asio::error_code ignored;
        socket.close(ignored);
        outbox.clear();
        if (comesBack) scheduleReconnect(kFirstRetry);
    }

    void scheduleReconnect(std::chrono::milliseconds wait) {
        retry.expires_after(wait);
        retry.async_wait([this, wait](const asio::error_code& error) {
            if (error || isClosing()) return;
            socket.async_connect(asio::local::stream_protocol::endpoint(socketPath),
                                 [this, wait](const asio::error_code& failed) {
                                     if (isClosing()) return;
                                     if (failed) {
                                         asio::error_code ignored;
                                         socket.close(ignored);
                                         return scheduleReconnect(
                                             std::min(wait * 2, kLongestRetry));
                                     }
                                     comeBack();
                                 });
        });
    }

    // I/O thread: the service is back. The protocol and the subscriptions go out before
    // any request made from now on.
    void comeBack() {
        away = false;
        readHeader();
        std::size_t renewed = 0;
        {
            std::lock_guard<std::mutex> lock(mutex);
            if (!protocol.empty()) enqueue(wire::encode({FrameKind::Protocol, 0, {}, protocol}));
            for (const auto& [channel, request] : subscriptions) {
                enqueue(wire::encode({FrameKind::Subscribe, nextId++, channel, request}));
                ++renewed;
            }
            lost = false;
        }
        report("the communications service at " + socketPath + " is back; " +
               std::to_string(renewed) + " subscription" + (renewed == 1 ? "" : "s") + " renewed");
        if (status) status(true, {});
    }

    const std::string socketPath;
    const std::chrono::milliseconds defaultTimeout;
    const EventSink events;
    const Reporter report;
    const StatusSink status;
    const Reporter trace;

    asio::io_context io;
    Socket socket{io};
    asio::steady_timer retry{io};
    std::thread ioThread;
    std::array<unsigned char, wire::kHeaderSize> header{};
    std::string body;
    std::deque<std::shared_ptr<std::string>> outbox;
    bool away = false;       // I/O thread only
    unsigned generation = 0; // I/O thread only; handlers of an earlier connection stop

    mutable std::mutex mutex;
    std::condition_variable answered;
    std::map<std::uint32_t, std::optional<Reply>> answers;
    std::uint32_t nextId = 1;
    bool lost = false;
    bool closing = false;
    std::chrono::milliseconds longestWait = std::chrono::milliseconds::max();
    // What the connection renews when the service comes back.
    std::string protocol;
    std::map<std::string, std::string> subscriptions;
};

ServiceChannel::ServiceChannel(FrameworkContext& owner, const std::string& socketPath,
                               std::chrono::milliseconds answerTimeout, EventSink events,
                               Reporter report, StatusSink status, Reporter trace)
    : ProxyRequest(&owner),
      connection(std::make_unique<Connection>(socketPath, answerTimeout, std::move(events),
                                              std::move(report), std::move(status),
                                              std::move(trace))) {
    connection->connect();
}

ServiceChannel::~ServiceChannel() { connection->close(); }

namespace {

std::chrono::milliseconds chooseTimeout(int timeout, std::chrono::milliseconds fallback) {
    return timeout > 0 ? std::chrono::milliseconds(timeout) : fallback;
}

int settle(std::optional<std::string> answer, std::string& response) {
    if (!answer) {
        response.clear();
        return -1;
    }
    response = std::move(*answer);
    return 0;
}

} // namespace

int ServiceChannel::sendRequest(const std::string& request, std::string& response) {
    return settle(
        connection->exchange({FrameKind::Request, 0, {}, request}, connection->defaultTimeout),
        response);
}

int ServiceChannel::sendRequestTimed(const std::string& request, std::string& response,
                                     int timeout) {
    return settle(connection->exchange({FrameKind::Request, 0, {}, request},
                                       chooseTimeout(timeout, connection->defaultTimeout)),
                  response);
}

int ServiceChannel::sendSubscribe(const std::string& request, std::string& response,
                                  const std::string& channelName, int timeout) {
    return settle(connection->exchange({FrameKind::Subscribe, 0, channelName, request},
                                       chooseTimeout(timeout, connection->defaultTimeout)),
                  response);
}

int ServiceChannel::sendOneWay(const std::string& message) {
    return connection->post({FrameKind::OneWay, 0, {}, message}) ? 0 : -1;
}

int ServiceChannel::setProtocol(const std::string& protocolName) {
    return connection->post({FrameKind::Protocol, 0, {}, protocolName}) ? 0 : -1;
}

std::string ServiceChannel::control(const std::string& command) {
    return connection->exchange({FrameKind::Control, 0, {}, command}, connection->defaultTimeout)
        .value_or(std::string());
}

void ServiceChannel::limitWaits(std::chrono::milliseconds longest) {
    std::lock_guard<std::mutex> lock(connection->mutex);
    connection->longestWait = longest;
}

bool ServiceChannel::connected() const { return !connection->isLost(); }

std::string ServiceChannel::refusalOfLastRequest() const { return lastRefusal; }

} // namespace desktop
