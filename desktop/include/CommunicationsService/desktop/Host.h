#pragma once

// The framework host of the desktop kit: loads the plug-in the way the phone's framework
// does, carries its requests to the service process over a Unix-domain socket and
// delivers the service's events to subscribers through the plug-in's invoker.

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "CommunicationsService/desktop/Wire.h"
#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/framework/ProxyRequest.h"

class CommunicationsServiceIfc;

namespace desktop {

// Receives the host's reports (a lost connection, an unanswered request, an event for an
// unknown channel), one line each, without a line end.
using Reporter = std::function<void(const std::string& line)>;

// The plug-in, opened with dlopen (RTLD_NOW) and closed again on destruction. The
// process must already hold the framework symbols, which linking libdesktopframework
// provides. Throws std::runtime_error naming the path and what is missing.
class PluginLibrary {
public:
    explicit PluginLibrary(const std::string& path);
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    Proxy* createProxy() const { return proxyFactory(); }
    Invoker* createInvoker() const { return invokerFactory(); }

private:
    void* handle = nullptr;
    Proxy* (*proxyFactory)() = nullptr;
    Invoker* (*invokerFactory)() = nullptr;
};

// The request channel to the service process. It connects on construction (throwing
// std::runtime_error when it cannot). When the service goes away the loss is reported
// once and every request gets an empty answer at once; the channel tries to connect again,
// at growing intervals of up to a second, and when the service is back reports that once,
// selects the protocol again and renews every subscription it made. A peer that sends
// what is not a frame is not tried again.
//
// Time-outs are in milliseconds: sendRequestTimed and sendSubscribe wait at most their
// timeout argument for the answer (a value of 0 or less means the channel's default),
// sendRequest waits at most the default given at construction. A request that gets no
// answer in time leaves its response empty, and its late answer is dropped.
class ServiceChannel : public ProxyRequest {
public:
    using EventSink = std::function<void(std::string channel, std::string text)>;

    ServiceChannel(FrameworkContext& owner, const std::string& socketPath,
                   std::chrono::milliseconds answerTimeout, EventSink events, Reporter report);
    ~ServiceChannel() override;
    ServiceChannel(const ServiceChannel&) = delete;
    ServiceChannel& operator=(const ServiceChannel&) = delete;

    // Each returns 0 when the service took the message (and answered, where one is
    // awaited) and -1 otherwise.
    int sendRequest(const std::string& request, std::string& response) override;
    int sendRequestTimed(const std::string& request, std::string& response, int timeout) override;
    int sendSubscribe(const std::string& request, std::string& response,
                      const std::string& channelName, int timeout) override;
    int sendOneWay(const std::string& message) override;
    int setProtocol(const std::string& protocolName) override;

    // A command for the service simulator; returns its answer, or "" when none came.
    std::string control(const std::string& command);

    // From now on no request waits longer than this, whatever time-out it asks for.
    void limitWaits(std::chrono::milliseconds longest);

    bool connected() const;

    // Why the service refused the last request or command this thread sent, as the
    // simulator tells it beside its answer; empty when it did not refuse, or did not say.
    std::string refusalOfLastRequest() const;

private:
    struct Connection;
    std::unique_ptr<Connection> connection;
};

// Everything an application on the phone gets from the framework: the plug-in loaded,
// its proxy bound to a channel to the service, and its invoker fed with the events for
// the subscribers attached here. Events are delivered on one delivery thread of the
// host, so callbacks run there, one at a time, in the order the service sent them.
class Host {
public:
    struct Options {
        std::string pluginPath;
        std::string socketPath = wire::defaultSocketPath();
        std::chrono::milliseconds answerTimeout{10000};
        Reporter report; // standard error when empty
    };

    explicit Host(Options options);
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    CommunicationsServiceIfc& service();
    ServiceChannel& channel();

    // Gives the subscriber its channel name, which the framework context then reports
    // to the proxy's subscribe, and routes the events for that channel to it. The
    // subscriber must outlive the host.
    void attach(Executable& subscriber, const std::string& channelName);

    // Events whose handling the invoker has confirmed through its InvokerResponse.
    std::size_t eventsHandled() const;

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace desktop
