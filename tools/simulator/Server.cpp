#include "Server.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <stdexcept>

#include "CommunicationsService/protocol/Requests.h"
#include "ControlWords.h"
#include "RequestParser.h"

namespace simulator {

namespace {

using desktop::wire::Frame;
using desktop::wire::FrameKind;
using Socket = asio::local::stream_protocol::socket;

const std::string kFailure(CommunicationsService::protocol::kFailureWord);
constexpr std::string_view kProtocol = CommunicationsService::protocol::kProtocolName;

// Removes nothing but a stale socket: a path that is not a socket is refused and left as
// it is, and a socket that another service still serves is not taken over.
void claimSocketPath(asio::io_context& io, const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        if (errno == ENOENT) return;
        throw std::runtime_error("cannot use --socket " + path + ": " + std::strerror(errno));
    }
    if (!S_ISSOCK(status.st_mode)) {
        throw std::runtime_error("--socket " + path +
                                 " exists and is not a socket; it is left as it is");
    }
    Socket probe(io);
    asio::error_code error;
    probe.connect(asio::local::stream_protocol::endpoint(path), error);
    if (!error) throw std::runtime_error("another service already listens on " + path);
    ::unlink(path.c_str());
}

// The identity of the socket file at the path, if a socket is there.
std::optional<std::pair<dev_t, ino_t>> socketIdentity(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return std::nullopt;
    return std::make_pair(status.st_dev, status.st_ino);
}

} // namespace

class Server::Session : public std::enable_shared_from_this<Session>, public ControlClient {
public:
    Session(Server& owner, Socket connected, int sessionNumber)
        : server(owner), socket(std::move(connected)), number(sessionNumber) {}

    void start() { readHeader(); }

    // The frame must fit the frame limit; an answer comes with the frame it answers. A
    // client whose outbox would pass its limit has stopped reading: it is disconnected
    // rather than left to grow.
    void send(const Frame& frame, const Frame* question = nullptr) {
        if (!socket.is_open()) return;
        std::string bytes = desktop::wire::encode(frame);
        const std::size_t limit = server.limits.outboxBytes;
        if (!outbox.empty() && waitingBytes + bytes.size() > limit) {
            return close("fell behind: " + std::to_string(waitingBytes + bytes.size()) +
                         " bytes would wait to be written, more than the outbox limit of " +
                         std::to_string(limit) + " (--max-outbox-bytes); disconnected");
        }
        if (!hold(body.size() + waitingBytes + bytes.size())) return closeOverTotal();
        waitingBytes += bytes.size();
        outbox.push_back(std::move(bytes));
        server.tell(Traffic::Happening::sent, number, frame, question);
        if (outbox.size() == 1) writeNext();
    }

    // A client that leaves is news; one that is sent away, a warning.
    void close(const std::string& reason, desktop::LogLevel level = desktop::LogLevel::warning) {
        if (!socket.is_open()) return;
        asio::error_code ignored;
        socket.close(ignored);
        outbox.clear();
        waitingBytes = 0;
        std::string().swap(body);
        hold(0);
        server.log(level, "client " + std::to_string(number) + " " + reason);
        server.tell(Traffic::Happening::disconnected, number, {FrameKind::Control, 0, {}, reason});
        server.forget(number);
    }

    std::string lastRequest() const override { return lastRequestText; }
    void forceNextAnswer(std::string text) override { forcedAnswer = std::move(text); }

    Server& server;
    Socket socket;
    const int number;
    std::string protocol;
    std::string lastRequestText;
    std::vector<std::string> channels;
    std::optional<std::string> forcedAnswer;

private:
    // A body is read as its bytes arrive, a piece at a time: a header alone reserves
    // nothing, whatever size it announces.
    static constexpr std::size_t kReadPiece = 16 * 1024;

    void readHeader() {
        asio::async_read(socket, asio::buffer(header),
                         [self = shared_from_this()](const asio::error_code& error, std::size_t) {
                             if (error) return self->readFailed(error);
                             const std::uint32_t size =
                                 desktop::wire::bodySize(self->header.data());
                             if (size > desktop::wire::kMaxBodySize) {
                                 return self->close("sent a frame of " + std::to_string(size) +
                                                    " bytes, more than the limit of " +
                                                    std::to_string(desktop::wire::kMaxBodySize) +
                                                    "; disconnected");
                             }
                             self->bodySize = size;
                             self->body.clear();
                             self->hold(self->waitingBytes);
                             self->readBody();
                         });
    }

    void readBody() {
        if (body.size() == bodySize) return bodyRead();
        const std::size_t had = body.size();
        const std::size_t wanted = std::min<std::size_t>(bodySize, had + kReadPiece);
        if (!hold(wanted + waitingBytes)) return closeOverTotal();
        body.resize(wanted);
        socket.async_read_some(
            asio::buffer(&body[had], body.size() - had),
            [self = shared_from_this(), had](const asio::error_code& error, std::size_t got) {
                // Closed meanwhile: the buffer and the outbox are gone, and counted as such.
                if (!self->socket.is_open()) return;
                if (error) return self->readFailed(error);
                self->body.resize(had + got);
                self->hold(self->body.size() + self->waitingBytes);
                self->readBody();
            });
    }

    void bodyRead() {
        std::string problem;
        std::optional<Frame> frame = desktop::wire::decode(body, problem);
        // A large frame's buffer is not kept for the next, small ones.
        if (body.capacity() > kReadPiece) std::string().swap(body);
        if (!frame) return close("sent a malformed frame (" + problem + "); disconnected");
        server.received(shared_from_this(), std::move(*frame));
        if (socket.is_open()) readHeader();
    }

    // Counts what this client holds (its frame being read and its outbox) in what the
    // server holds for all; false, counting nothing, when that would pass the limit.
    bool hold(std::size_t bytes) {
        const std::size_t others = server.heldBytes - held;
        if (bytes > held && others + bytes > server.limits.totalBytes) return false;
        server.heldBytes = others + bytes;
        held = bytes;
        return true;
    }

    void closeOverTotal() {
        close("would take the bytes held for all clients past the limit of " +
              std::to_string(server.limits.totalBytes) + " (--max-total-bytes); disconnected");
    }

    void readFailed(const asio::error_code& error) {
        if (error == asio::error::operation_aborted) return;
        close(error == asio::error::eof ? "disconnected" : "lost: " + error.message(),
              desktop::LogLevel::info);
    }

    void writeNext() {
        asio::async_write(socket, asio::buffer(outbox.front()),
                          [self = shared_from_this()](const asio::error_code& error, std::size_t) {
                              if (!self->socket.is_open()) return;
                              if (error) {
                                  return self->close("could not be written to: " + error.message());
                              }
                              self->waitingBytes -= self->outbox.front().size();
                              self->hold(self->body.size() + self->waitingBytes);
                              self->outbox.pop_front();
                              if (!self->outbox.empty()) self->writeNext();
                          });
    }

    std::array<unsigned char, desktop::wire::kHeaderSize> header{};
    std::uint32_t bodySize = 0;
    std::string body;
    std::deque<std::string> outbox;
    std::size_t waitingBytes = 0;
    std::size_t held = 0;
};

Server::Server(asio::io_context& context, std::string path, Log logger, bool verboseLog,
               ClientLimits clientLimits)
    : io(context), socketPath(std::move(path)), log(std::move(logger)), verbose(verboseLog),
      limits(clientLimits), acceptor(context), acceptRetry(context) {
    claimSocketPath(io, socketPath);
    asio::local::stream_protocol::endpoint endpoint(socketPath);
    try {
        acceptor.open(endpoint.protocol());
        acceptor.bind(endpoint);
        acceptor.listen();
        boundSocket = socketIdentity(socketPath);
    } catch (const asio::system_error& error) {
        throw std::runtime_error("cannot listen on " + socketPath + ": " + error.code().message());
    }
}

Server::~Server() { stop(); }

void Server::serve(PhoneService& phoneService) {
    service = &phoneService;
    log(desktop::LogLevel::info, "listening on " + socketPath);
    accept();
}

void Server::stop() {
    if (!acceptor.is_open()) return;
    asio::error_code ignored;
    acceptor.close(ignored);
    acceptRetry.cancel();
    // Whatever replaced the socket file since is someone else's.
    if (boundSocket && socketIdentity(socketPath) == boundSocket) ::unlink(socketPath.c_str());
    for (auto& [number, session] : std::map<int, std::shared_ptr<Session>>(sessions)) {
        session->socket.close(ignored);
    }
    sessions.clear();
}

void Server::accept() {
    acceptor.async_accept([this](const asio::error_code& error, Socket socket) {
        if (error == asio::error::operation_aborted) return;
        if (error) return acceptFailed(error);
        if (acceptFailures > 0) {
            log(desktop::LogLevel::info, "accepting again after " + std::to_string(acceptFailures) +
                                             " failed attempt" + (acceptFailures == 1 ? "" : "s"));
            acceptFailures = 0;
        }
        const int number = nextSessionNumber++;
        auto session = std::make_shared<Session>(*this, std::move(socket), number);
        sessions[number] = session;
        log(desktop::LogLevel::info, "client " + std::to_string(number) + " connected");
        tell(Traffic::Happening::connected, number, {});
        session->start();
        accept();
    });
}

void Server::acceptFailed(const asio::error_code& error) {
    constexpr std::chrono::milliseconds kFirstWait{10};
    constexpr std::chrono::milliseconds kLongestWait{500};
    if (acceptFailures == 0) {
        log(desktop::LogLevel::warning,
            "accepting failed: " + error.message() +
                "; trying again until it works (clients wait meanwhile)");
    }
    const unsigned doublings = std::min(acceptFailures++, 6u);
    acceptRetry.expires_after(std::min(kFirstWait * (1 << doublings), kLongestWait));
    acceptRetry.async_wait([this](const asio::error_code& cancelled) {
        if (!cancelled && acceptor.is_open()) accept();
    });
}

void Server::forget(int sessionNumber) { sessions.erase(sessionNumber); }

void Server::takeClientControl(ClientControl take) { clientControl = std::move(take); }

std::vector<Server::ClientView> Server::clients() const {
    std::vector<ClientView> all;
    for (const auto& [number, client] : sessions)
        all.push_back({number, client->protocol, client->channels});
    return all;
}

void Server::watch(TrafficWatcher watcher) { watchers.push_back(std::move(watcher)); }

void Server::tell(Traffic::Happening happening, int client, const Frame& frame,
                  const Frame* question) {
    if (watchers.empty()) return;
    const Traffic traffic{happening, client, frame, std::chrono::system_clock::now(), question};
    for (const TrafficWatcher& watcher : watchers)
        watcher(traffic);
}

void Server::received(const std::shared_ptr<Session>& session, Frame frame) {
    const std::string client = "client " + std::to_string(session->number);
    tell(Traffic::Happening::received, session->number, frame);
    switch (frame.kind) {
    case FrameKind::Protocol:
        session->protocol = frame.text;
        if (frame.text != kProtocol) {
            log(desktop::LogLevel::warning, client + " selected the unknown protocol '" +
                                                frame.text + "'; its requests will fail");
        }
        return;
    case FrameKind::Control: {
        holdingEvents = true;
        // Answer steering is for service requests: control commands are answered at once.
        std::string reply = control(frame.text, session.get());
        if (std::string problem = desktop::wire::sizeProblem({FrameKind::Answer, 0, {}, reply});
            !problem.empty()) {
            log(desktop::LogLevel::warning,
                client + " control '" + frame.text + "' -> error: " + problem);
            reply = "error: " + problem;
        }
        if (verbose)
            log(desktop::LogLevel::debug, client + " control '" + frame.text + "' -> " + reply);
        answer(session, frame, std::move(reply), std::chrono::milliseconds(0));
        flushEvents();
        return;
    }
    case FrameKind::Request:
    case FrameKind::Subscribe:
    case FrameKind::OneWay:
        holdingEvents = true;
        serveRequest(session, frame);
        flushEvents();
        return;
    case FrameKind::Answer:
    case FrameKind::Event:
        session->close("sent " + desktop::wire::kindWithArticle(frame.kind) +
                       " frame, which only the service sends; disconnected");
        return;
    }
}

void Server::serveRequest(const std::shared_ptr<Session>& session, const Frame& frame) {
    const std::string client = "client " + std::to_string(session->number);
    const bool awaited = frame.kind != FrameKind::OneWay;
    session->lastRequestText = frame.text;
    if (verbose) log(desktop::LogLevel::debug, client + " request " + frame.text);
    auto refuse = [&](const std::string& problem) {
        log(desktop::LogLevel::warning,
            client + (awaited ? " -> " + kFailure + ": " : std::string(" -> ignored: ")) + problem);
        if (awaited) answer(session, frame, kFailure, answerDelay, problem);
    };
    if (awaited && session->forcedAnswer) {
        log(desktop::LogLevel::info,
            client + " -> " + *session->forcedAnswer + ": forced by nextAnswer");
        answer(session, frame, *session->forcedAnswer, answerDelay);
        session->forcedAnswer.reset();
        return;
    }
    if (session->protocol != kProtocol) {
        return refuse("request on " + (session->protocol.empty()
                                           ? std::string("a channel bound to no protocol")
                                           : "the unknown protocol '" + session->protocol + "'"));
    }
    const ParsedRequest request = parseRequest(frame.text);
    if (!request.valid()) return refuse("malformed request: " + request.error);
    const bool subscription =
        request.method == CommunicationsService::protocol::requests::subscribe.method;
    if (subscription != (frame.kind == FrameKind::Subscribe)) {
        return refuse(subscription ? "Subscribe sent without a channel name"
                                   : request.method + " sent as a subscription");
    }
    if (subscription) {
        if (frame.channel.empty()) return refuse("Subscribe for an empty channel name");
        if (frame.channel.size() > limits.channelNameBytes) {
            return refuse("a channel name of " + std::to_string(frame.channel.size()) +
                          " bytes is longer than the limit of " +
                          std::to_string(limits.channelNameBytes) + " (--max-name-bytes)");
        }
        auto& channels = session->channels;
        if (std::find(channels.begin(), channels.end(), frame.channel) == channels.end()) {
            if (channels.size() >= limits.channels) {
                return refuse("this client already has " + std::to_string(channels.size()) +
                              " channels, the limit (--max-channels)");
            }
            channels.push_back(frame.channel);
        }
        log(desktop::LogLevel::info, client + " subscribed channel '" + frame.channel + "'");
    }
    std::optional<std::string> reply = service->handle(request);
    if (!service->refusal().empty()) {
        log(desktop::LogLevel::info, client + " " + request.method + " -> " +
                                         reply.value_or("ignored") + ": " + service->refusal());
    } else if (verbose) {
        log(desktop::LogLevel::debug, client + " answer " + reply.value_or("(none, one way)"));
    }
    if (awaited) {
        answer(session, frame, reply.value_or(std::string()), answerDelay, service->refusal());
    }
}

void Server::answer(const std::shared_ptr<Session>& session, const Frame& question,
                    std::string text, std::chrono::milliseconds delay, const std::string& refusal) {
    // The answer text stays the service's; why it refused rides in the channel field.
    const std::uint32_t id = question.id;
    Frame frame{FrameKind::Answer, id, refusal, std::move(text)};
    if (std::string problem = desktop::wire::sizeProblem(frame); !problem.empty()) {
        log(desktop::LogLevel::warning,
            "client " + std::to_string(session->number) + " -> refused: " + problem);
        frame = {FrameKind::Answer, id, problem, {}};
    }
    if (delay.count() == 0) return session->send(frame, &question);
    auto timer = std::make_shared<asio::steady_timer>(io, delay);
    timer->async_wait([timer, session, frame, question](const asio::error_code&) {
        session->send(frame, &question);
    });
}

void Server::publish(const std::string& event) {
    if (holdingEvents) {
        heldEvents.push_back(event);
        return;
    }
    if (verbose) log(desktop::LogLevel::debug, "event " + event);
    // Sending may disconnect a client that fell behind, which takes it out of the sessions.
    std::vector<std::shared_ptr<Session>> receivers;
    for (const auto& [number, session] : sessions)
        receivers.push_back(session);
    std::string tooLarge;
    for (const std::shared_ptr<Session>& session : receivers) {
        for (const std::string& channel : std::vector<std::string>(session->channels)) {
            const Frame frame{FrameKind::Event, 0, channel, event};
            if (std::string problem = desktop::wire::sizeProblem(frame); !problem.empty()) {
                tooLarge = problem;
                continue;
            }
            session->send(frame);
        }
    }
    if (!tooLarge.empty()) log(desktop::LogLevel::warning, "not sent: " + tooLarge + ": " + event);
}

void Server::flushEvents() {
    holdingEvents = false;
    std::vector<std::string> events;
    events.swap(heldEvents);
    for (const std::string& event : events)
        publish(event);
}

void Server::after(std::chrono::milliseconds delay, std::function<void()> step) {
    auto timer = std::make_shared<asio::steady_timer>(io, delay);
    timer->async_wait([timer, step = std::move(step)](const asio::error_code& error) {
        if (!error) step();
    });
}

std::string Server::control(const std::string& command) {
    const Frame question{FrameKind::Control, 0, {}, command};
    tell(Traffic::Happening::received, 0, question);
    holdingEvents = true;
    std::string reply = control(command, nullptr);
    tell(Traffic::Happening::sent, 0, {FrameKind::Answer, 0, {}, reply}, &question);
    flushEvents();
    return reply;
}

std::string Server::control(const std::string& command, Session* session) {
    if (session != nullptr && clientControl) {
        if (std::optional<std::string> reply = clientControl(command)) return *reply;
    }
    Words words;
    try {
        words = kit::splitWords(command);
    } catch (const std::invalid_argument& error) {
        return std::string("error: ") + error.what();
    }
    ControlTarget target{*service, this, session};
    return runControl(target, words);
}

std::string Server::clientList() const {
    std::string list = "ok";
    for (const auto& [number, client] : sessions) {
        list +=
            "\nclient " + std::to_string(number) + " protocol '" + client->protocol + "' channels";
        for (const std::string& channel : client->channels)
            list += " " + channel;
    }
    return list;
}

void Server::delayAnswers(std::chrono::milliseconds delay) { answerDelay = delay; }

void Server::clearAnswerSteering() {
    answerDelay = std::chrono::milliseconds(0);
    for (auto& [number, client] : sessions)
        client->forcedAnswer.reset();
}

} // namespace simulator
