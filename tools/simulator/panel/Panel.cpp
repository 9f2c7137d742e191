#include "Panel.h"

#include <websocketpp/config/asio_no_tls.hpp>
#include <websocketpp/server.hpp>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "CommunicationsService/desktop/CallbackRecorder.h"
#include "CommunicationsService/desktop/MessageText.h"
#include "CommunicationsService/desktop/Trace.h"
#include "CommunicationsService/protocol/Events.h"
#include "ControlCommands.h"
#include "EmittedEvent.h"
#include "PanelMessage.h"
#include "PanelPage.h"
#include "Record.h"

namespace simulator {

namespace {

using Json = nlohmann::ordered_json;
using WebServer = websocketpp::server<websocketpp::config::asio>;
using Handle = websocketpp::connection_hdl;
using desktop::wire::FrameKind;
namespace protocol = CommunicationsService::protocol;

constexpr std::chrono::milliseconds kStatePeriod{50};

std::string dump(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string_view kindName(protocol::FieldKind kind) {
    switch (kind) {
    case protocol::FieldKind::text:
        return "text";
    case protocol::FieldKind::number:
        return "number";
    case protocol::FieldKind::counter:
        return "counter";
    case protocol::FieldKind::flag:
        return "flag";
    case protocol::FieldKind::numberList:
        return "numberList";
    case protocol::FieldKind::textList:
        return "textList";
    case protocol::FieldKind::payload:
        return "payload";
    case protocol::FieldKind::parties:
        break;
    }
    return "parties";
}

// Every event the page's form can emit, with its arguments named and typed.
// The commands the page can run, with their arguments: those of a client's own connection
// and of scripts cannot run from here.
Json controlVocabulary() {
    Json commands = Json::array();
    for (const ControlCommand& command : controlCommands()) {
        if (command.reach != Reach::anywhere) continue;
        Json arguments = Json::array();
        for (const ControlArgument& argument : command.arguments) {
            arguments.push_back({{"name", argument.name},
                                 {"kind", kindText(argument.kind)},
                                 {"optional", argument.optional}});
        }
        commands.push_back(
            {{"name", command.name}, {"help", command.help}, {"arguments", arguments}});
    }
    return commands;
}

Json eventVocabulary() {
    Json events = Json::array();
    std::apply(
        [&](const auto&... entry) {
            (
                [&](const auto& row) {
                    Json arguments = Json::array();
                    std::apply(
                        [&](const auto&... field) {
                            (
                                [&](const auto& one) {
                                    if (one.kind != protocol::FieldKind::parties) {
                                        arguments.push_back(
                                            {{"name", one.argument}, {"kind", kindName(one.kind)}});
                                        return;
                                    }
                                    for (const char* name : desktop::kPartyFieldNames)
                                        arguments.push_back(
                                            {{"name", name},
                                             {"kind", std::string_view(name) == "reservedValue"
                                                          ? "number"
                                                          : "text"}});
                                }(field),
                                ...);
                        },
                        row.fields);
                    const std::string callback(row.name);
                    events.push_back({{"event", eventOfCallback(callback)},
                                      {"callback", callback},
                                      {"arguments", arguments}});
                }(entry),
                ...);
        },
        protocol::events::all);
    return events;
}

// The method of a frame a client sent or an event, the line and the call it is about (for
// the trace's filters) and the call it stands for.
void describe(Json& entry, const desktop::wire::Frame& frame) {
    if (frame.kind == FrameKind::Control || frame.kind == FrameKind::Protocol) {
        entry["method"] = kit::record::describeFrame(frame).method;
        entry["typed"] = std::string(kit::record::kindWord(frame.kind)) + " " + frame.text;
        return;
    }
    const desktop::message::Description described =
        frame.kind == FrameKind::Event ? desktop::message::describeEvent(frame.text)
                                       : desktop::message::describeRequest(frame.text);
    entry["method"] = described.method;
    for (const desktop::message::Value& value : described.values) {
        if (!value.text) continue;
        const std::string_view name = value.name;
        if ((name == "line" || name == "lineId" || name == "lineURI" || name == "deviceId") &&
            !entry.contains("line"))
            entry["line"] = *value.text;
        if ((name == "callId" || name == "currentCallId") && !entry.contains("call"))
            entry["call"] = *value.text;
    }
    entry["typed"] = desktop::trace::call(described, frame.text);
}

std::string_view kindShown(FrameKind kind) {
    switch (kind) {
    case FrameKind::Request:
    case FrameKind::Subscribe:
    case FrameKind::OneWay:
        return "request";
    default:
        return kit::record::kindWord(kind);
    }
}

} // namespace

class Panel::Site {
public:
    Site(asio::io_context& io, Server& server, const PhoneService& service, Options options,
         Log log)
        : server(server), service(service), options(std::move(options)), log(std::move(log)),
          tick(io) {
        web.clear_access_channels(websocketpp::log::alevel::all);
        web.clear_error_channels(websocketpp::log::elevel::all);
        web.init_asio(&io);
        web.set_reuse_addr(true);
        web.set_max_message_size(this->options.messageBytes);
        web.set_max_http_body_size(this->options.messageBytes);
        web.set_http_handler([this](Handle page) { http(page); });
        web.set_validate_handler([this](Handle page) { return validate(page); });
        web.set_open_handler([this](Handle page) { opened(page); });
        web.set_close_handler([this](Handle page) { pages.erase(page); });
        web.set_message_handler(
            [this](Handle page, WebServer::message_ptr message) { received(page, message); });
        asio::error_code error;
        asio::ip::address address = asio::ip::make_address(this->options.address, error);
        if (!error) web.listen(asio::ip::tcp::endpoint(address, this->options.port), error);
        if (!error) web.start_accept(error);
        if (error)
            throw std::runtime_error("--panel: cannot listen on " + this->options.address + ":" +
                                     std::to_string(this->options.port) + ": " + error.message());
        const auto endpoint = web.get_local_endpoint(error);
        const std::string portText = ":" + std::to_string(endpoint.port());
        const std::string shown =
            address.is_v6() ? "[" + this->options.address + "]" : this->options.address;
        ownHosts = {shown + portText};
        // Any address includes the loopback one, which a browser on this machine can open.
        home = (address.is_unspecified() ? (address.is_v6() ? "[::1]" : "127.0.0.1") : shown) +
               portText;
        if (address.is_loopback() || address.is_unspecified())
            ownHosts.insert({"127.0.0.1" + portText, "localhost" + portText, "[::1]" + portText});
        server.watch([this](const Traffic& traffic) { carried(traffic); });
        schedule();
    }

    ~Site() {
        tick.cancel();
        asio::error_code error;
        web.stop_listening(error);
        for (const auto& [page, state] : pages) {
            web.close(page, websocketpp::close::status::going_away, "the simulator stops", error);
        }
    }

    std::string url() const { return "http://" + home + "/"; }

private:
    struct PageState {
        std::string lastState;
        std::size_t dropped = 0;
    };

    bool ownHost(const std::string& host) const { return ownHosts.count(host) != 0; }
    bool ownOrigin(const std::string& origin) const {
        return origin.rfind("http://", 0) == 0 && ownHost(origin.substr(7));
    }

    // Why a request may not be served; empty when it may.
    std::string refusal(WebServer::connection_ptr connection, bool needsOrigin) const {
        const std::string host = connection->get_request_header("Host");
        const std::string origin = connection->get_request_header("Origin");
        if (!ownHost(host))
            return "the Host '" + host + "' is not the panel's own (" + *ownHosts.begin() + ")";
        if (!origin.empty() && !ownOrigin(origin))
            return "the Origin '" + origin + "' is not the panel's own page";
        if (needsOrigin && origin.empty()) return "a WebSocket without the panel's Origin";
        return {};
    }

    void http(Handle page) {
        const WebServer::connection_ptr connection = web.get_con_from_hdl(page);
        if (const std::string why = refusal(connection, false); !why.empty()) {
            connection->set_status(websocketpp::http::status_code::forbidden);
            connection->set_body("403 Forbidden: " + why + "\n");
            connection->append_header("Content-Type", "text/plain; charset=utf-8");
            log(desktop::LogLevel::warning, "panel: refused a request: " + why);
            return;
        }
        const std::string resource = connection->get_resource();
        for (const PanelFile& file : panelFiles()) {
            if (resource != file.path) continue;
            connection->set_status(websocketpp::http::status_code::ok);
            connection->append_header("Content-Type", std::string(file.type));
            connection->append_header("Cache-Control", "no-store");
            connection->append_header("X-Frame-Options", "DENY");
            connection->append_header("Content-Security-Policy",
                                      "default-src 'self'; connect-src 'self' ws://" +
                                          connection->get_request_header("Host"));
            connection->set_body(std::string(file.content));
            return;
        }
        // The path is not repeated: the page is the only thing the panel shows.
        connection->set_status(websocketpp::http::status_code::not_found);
        connection->append_header("Content-Type", "text/plain; charset=utf-8");
        connection->set_body("404 Not Found: the panel serves only its own page\n");
    }

    bool validate(Handle page) {
        const WebServer::connection_ptr connection = web.get_con_from_hdl(page);
        const std::string why = refusal(connection, true);
        if (why.empty()) return true;
        connection->set_status(websocketpp::http::status_code::forbidden);
        log(desktop::LogLevel::warning, "panel: refused a WebSocket: " + why);
        return false;
    }

    void opened(Handle page) {
        pages[page] = PageState{};
        Json hello;
        hello["vocabulary"] = {{"events", eventVocabulary()}, {"controls", controlVocabulary()}};
        hello["trace"] = Json::array();
        for (const Json& entry : trace)
            hello["trace"].push_back(entry);
        hello["evicted"] = evicted;
        send(page, dump(hello), true);
        sendState(page, currentState());
    }

    void received(Handle page, const WebServer::message_ptr& message) {
        send(page,
             panelReply(message->get_payload(),
                        [this](const std::string& command) { return server.control(command); }),
             true);
    }

    void carried(const Traffic& traffic) {
        dirty = true;
        Json entry{{"n", ++sequence},
                   {"time", std::chrono::duration_cast<std::chrono::milliseconds>(
                                traffic.time.time_since_epoch())
                                .count()},
                   {"client", traffic.client}};
        const desktop::wire::Frame& frame = traffic.frame;
        switch (traffic.happening) {
        case Traffic::Happening::connected:
        case Traffic::Happening::disconnected:
            entry["kind"] = "client";
            entry["typed"] = std::string("client ") + std::to_string(traffic.client) +
                             (traffic.happening == Traffic::Happening::connected
                                  ? " connected"
                                  : " disconnected: " + frame.text);
            break;
        case Traffic::Happening::received:
        case Traffic::Happening::sent:
            entry["direction"] = traffic.happening == Traffic::Happening::received ? "in" : "out";
            entry["kind"] = kindShown(frame.kind);
            if (frame.kind != FrameKind::Answer) {
                describe(entry, frame);
            } else if (traffic.question == nullptr) {
                entry["typed"] = "answer -> " + desktop::trace::answer(frame.text);
            } else {
                describe(entry, *traffic.question);
                entry["typed"] =
                    entry["typed"].get<std::string>() + " -> " + desktop::trace::answer(frame.text);
            }
            break;
        }
        entry["raw"] = frame.text;
        trace.push_back(entry);
        if (trace.size() > options.traceLines) {
            trace.pop_front();
            ++evicted;
        }
        const std::string line = dump({{"trace", Json::array({entry})}, {"evicted", evicted}});
        for (auto& [page, state] : pages)
            send(page, line, false);
    }

    // Sends, unless the page has more unread than the backlog allows: then a trace line
    // is dropped and counted, and the count is told with the next line that goes out.
    void send(Handle page, const std::string& text, bool always) {
        asio::error_code error;
        const WebServer::connection_ptr connection = web.get_con_from_hdl(page, error);
        if (error) return;
        PageState& state = pages[page];
        if (!always && connection->get_buffered_amount() > options.backlogBytes) {
            ++state.dropped;
            return;
        }
        if (state.dropped > 0) {
            web.send(page,
                     dump({{"notice", std::to_string(state.dropped) +
                                          " trace lines were dropped: the page fell behind"},
                           {"dropped", state.dropped}}),
                     websocketpp::frame::opcode::text, error);
            state.dropped = 0;
        }
        web.send(page, text, websocketpp::frame::opcode::text, error);
    }

    std::string currentState() const {
        Json clients = Json::array();
        for (const Server::ClientView& client : server.clients())
            clients.push_back({{"number", client.number},
                               {"protocol", client.protocol},
                               {"channels", client.channels}});
        return "{\"state\":" + service.stateJson() + ",\"clients\":" + dump(clients) + "}";
    }

    void sendState(Handle page, const std::string& state) {
        PageState& known = pages[page];
        if (known.lastState == state) return;
        asio::error_code error;
        const WebServer::connection_ptr connection = web.get_con_from_hdl(page, error);
        if (error || connection->get_buffered_amount() > options.backlogBytes) return;
        known.lastState = state;
        web.send(page, state, websocketpp::frame::opcode::text, error);
    }

    void schedule() {
        tick.expires_after(kStatePeriod);
        tick.async_wait([this](const asio::error_code& error) {
            if (error) return;
            if (dirty && !pages.empty()) {
                dirty = false;
                const std::string state = currentState();
                for (auto& [page, known] : pages)
                    sendState(page, state);
            }
            schedule();
        });
    }

    Server& server;
    const PhoneService& service;
    Options options;
    Log log;
    WebServer web;
    asio::steady_timer tick;
    // The address and port the panel is opened at.
    std::string home;
    std::set<std::string> ownHosts;
    std::map<Handle, PageState, std::owner_less<Handle>> pages;
    std::deque<Json> trace;
    std::size_t evicted = 0;
    std::uint64_t sequence = 0;
    bool dirty = true;
};

Panel::Panel(asio::io_context& io, Server& server, const PhoneService& service, Options options,
             Log log)
    : site(std::make_unique<Site>(io, server, service, std::move(options), std::move(log))) {}

Panel::~Panel() = default;

std::string Panel::url() const { return site->url(); }

Panel::Options Panel::parseListen(const std::string& listen) {
    Options options;
    const std::size_t colon = listen.rfind(':');
    std::string portText = listen;
    if (colon != std::string::npos) {
        options.address = listen.substr(0, colon);
        portText = listen.substr(colon + 1);
        if (options.address.size() > 2 && options.address.front() == '[' &&
            options.address.back() == ']')
            options.address = options.address.substr(1, options.address.size() - 2);
        if (options.address.empty())
            throw std::runtime_error("--panel: '" + listen + "' names no address before ':'");
    }
    int port = -1;
    if (!portText.empty() && portText.size() <= 5 &&
        std::all_of(portText.begin(), portText.end(), [](char c) { return c >= '0' && c <= '9'; }))
        port = std::stoi(portText);
    if (port < 0 || port > 65535)
        throw std::runtime_error("--panel: '" + portText +
                                 "' is not a port from 0 to 65535, 0 for any free one (the "
                                 "option takes "
                                 "[ADDRESS:]PORT, for example 8080 or 127.0.0.1:8080)");
    options.port = static_cast<unsigned short>(port);
    asio::error_code error;
    asio::ip::make_address(options.address, error);
    if (error)
        throw std::runtime_error("--panel: '" + options.address +
                                 "' is not an IP address (the option takes [ADDRESS:]PORT)");
    return options;
}

} // namespace simulator
