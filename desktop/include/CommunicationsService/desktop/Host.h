#pragma once

/// @file
/// The framework host of the desktop kit: loads the plug-in the way the phone's framework
/// does, carries its requests to the service process over a Unix-domain socket and
/// delivers the service's events to subscribers through the plug-in's invoker.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/framework/ProxyRequest.h"

class CommunicationsServiceIfc;

namespace desktop {

namespace wire {
/// Where the service simulator listens unless told otherwise: comms-simulator.sock in
/// $XDG_RUNTIME_DIR, or in /tmp when that is not set. (Defined with the framing, which the
/// host's users never see.)
std::string defaultSocketPath();
} // namespace wire

/// Receives the host's reports (a lost connection, an unanswered request, an event for an
/// unknown channel), one line each, without a line end.
using Reporter = std::function<void(const std::string& line)>;

/// The plug-in cannot be used: no path given, the file cannot be loaded, or it lacks a
/// factory or its objects are not the communications service's. Permanent: trying again
/// with the same path fails the same way.
class PluginLoadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The service cannot be reached now: nothing listens on the socket, or refuses the
/// connection. Transient: the service may be starting, so trying again later may succeed.
class ServiceUnreachable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The plug-in, opened with dlopen (RTLD_NOW) and closed again on destruction. The
/// process must already hold the framework symbols, which linking libdesktopframework
/// provides.
class PluginLibrary {
public:
    /// Opens the plug-in; throws PluginLoadError naming the path and what is missing.
    explicit PluginLibrary(const std::string& path);
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    /// A new proxy from the plug-in's factory.
    Proxy* createProxy() const { return proxyFactory(); }
    /// A new event invoker from the plug-in's factory.
    Invoker* createInvoker() const { return invokerFactory(); }

private:
    void* handle = nullptr;
    Proxy* (*proxyFactory)() = nullptr;
    Invoker* (*invokerFactory)() = nullptr;
};

/// The request channel to the service process, which the host binds the plug-in's proxy
/// to. It connects on construction (throwing ServiceUnreachable when it cannot). When the
/// service goes away the loss is reported once and every request gets an empty answer at
/// once; the channel tries to connect again, at growing intervals of up to a second, and
/// when the service is back reports that once, selects the protocol again and renews every
/// subscription it made. A peer that sends what is not a frame is not tried again.
///
/// Time-outs are in milliseconds: sendRequestTimed and sendSubscribe wait at most their
/// timeout argument for the answer (a value of 0 or less means the channel's default),
/// sendRequest waits at most the default given at construction. A request that gets no
/// answer in time leaves its response empty, and its late answer is dropped.
///
/// Every operation may be called from any thread, callbacks on the host's delivery thread
/// included. The channel lives as long as its host.
class ServiceChannel : public ProxyRequest {
public:
    /// Receives each event: the subscriber's channel name and the event text.
    using EventSink = std::function<void(std::string channel, std::string text)>;
    /// Told when the service is lost (with the reason) and when it is back (reason empty).
    using StatusSink = std::function<void(bool available, const std::string& reason)>;

    /// Connects to the service at @p socketPath; throws ServiceUnreachable when it cannot.
    /// When @p trace is given it receives each request with its answer and how long that
    /// took, and each posted message, as typed calls.
    ServiceChannel(FrameworkContext& owner, const std::string& socketPath,
                   std::chrono::milliseconds answerTimeout, EventSink events, Reporter report,
                   StatusSink status = {}, Reporter trace = {});
    ~ServiceChannel() override;
    ServiceChannel(const ServiceChannel&) = delete;
    ServiceChannel& operator=(const ServiceChannel&) = delete;

    /// Each send returns 0 when the service took the message (and answered, where one is
    /// awaited) and -1 otherwise.
    int sendRequest(const std::string& request, std::string& response) override;
    /// As sendRequest, waiting at most @p timeout ms.
    int sendRequestTimed(const std::string& request, std::string& response, int timeout) override;
    /// Subscribes @p channelName; renewed whenever the service comes back.
    int sendSubscribe(const std::string& request, std::string& response,
                      const std::string& channelName, int timeout) override;
    /// Sends without waiting for an answer.
    int sendOneWay(const std::string& message) override;
    /// Selects the protocol; selected again whenever the service comes back.
    int setProtocol(const std::string& protocolName) override;

    /// A command for the service simulator; returns its answer, or "" when none came.
    std::string control(const std::string& command);

    /// From now on no request waits longer than this, whatever time-out it asks for.
    void limitWaits(std::chrono::milliseconds longest);

    /// Whether the service is reachable now.
    bool connected() const;

    /// Why the service refused the last request or command this thread sent, as the
    /// simulator tells it beside its answer; empty when it did not refuse, or did not say.
    /// The result codes of the proxy stay as the service answered.
    std::string refusalOfLastRequest() const;

private:
    struct Connection;
    std::unique_ptr<Connection> connection;
};

/// How much the host writes to its Reporter; each level includes the ones before it.
enum class LogLevel {
    error,   ///< only what stops the host from working
    warning, ///< also a lost service, an unanswered request, an event nobody receives, a
             ///< subscribe for a subscriber that is not attached
    info,    ///< also the service's return
    debug,   ///< also events dropped for detached subscribers
    trace,   ///< also every request with its answer and time, and every event, as typed calls
};

/// A log level and the word that names it.
struct NamedLogLevel {
    std::string_view name; ///< as options and COMMS_LOG_LEVEL give it
    LogLevel level;        ///< the level it names
};

/// Every log level, least first, under its name.
inline constexpr NamedLogLevel kLogLevels[] = {{"error", LogLevel::error},
                                               {"warning", LogLevel::warning},
                                               {"info", LogLevel::info},
                                               {"debug", LogLevel::debug},
                                               {"trace", LogLevel::trace}};

/// The level of kLogLevels named @p name; nothing for any other word.
std::optional<LogLevel> logLevelNamed(std::string_view name);

/// The level named by the environment variable COMMS_LOG_LEVEL, info when it is not set;
/// throws std::runtime_error naming the variable and the levels when it names none.
LogLevel logLevelFromEnvironment();

/// Told when the connection to the service is lost and when it is back. A subscriber that
/// also derives from this class is told through these calls, on the host's delivery
/// thread and in order with its events, so it may send requests from them.
///
/// After a return the host has already renewed every subscription it carried, so an
/// application does not subscribe again (that would subscribe twice). The service that
/// comes back may have restarted with its lines unregistered, so an application activates
/// again in onServiceBack().
class ServiceWatcher {
public:
    virtual ~ServiceWatcher() = default;
    /// The connection is gone; until onServiceBack() every request fails at once.
    /// @p reason says why, as the host's log does.
    virtual void onServiceLost(const std::string& reason) { (void)reason; }
    /// The service accepts requests again.
    virtual void onServiceBack() {}
};

class SubscriberRegistry;

/// Owns one subscriber's attachment to a host: its end detaches the subscriber and then
/// calls the subscriber's shutdown(). Keep it in a variable declared after the subscriber
/// (or as the subscriber's last member), so that it ends first. Detaching waits for a
/// callback of that subscriber that runs on the delivery thread, unless it is called from
/// that callback itself; after it nothing is delivered to the subscriber. It may outlive
/// the host, whose end has already shut the subscriber down, which makes its end do nothing.
class [[nodiscard]] Attachment {
public:
    /// Owns nothing.
    Attachment() = default;
    /// Takes over what @p other owns.
    Attachment(Attachment&& other) noexcept;
    /// Detaches what this one owns, then takes over what @p other owns.
    Attachment& operator=(Attachment&& other) noexcept;
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;
    /// Detaches the subscriber.
    ~Attachment();

    /// Detaches the subscriber now; does nothing when it owns none. It may be called from
    /// the subscriber's callback while another thread ends the attachment.
    void detach();

private:
    friend class Host;
    Attachment(std::shared_ptr<SubscriberRegistry> registry, Executable* subscriber,
               std::uint64_t number);

    std::shared_ptr<SubscriberRegistry> registry;
    Executable* subscriber = nullptr;
    std::uint64_t number = 0;
};

/// Everything an application on the phone gets from the framework: the plug-in loaded,
/// its proxy bound to a channel to the service, and its invoker fed with the events for
/// the subscribers attached here.
///
/// Lifecycle, as the phone's framework runs an executable:
/// - Constructing the host loads the plug-in and connects to the service. It throws
///   PluginLoadError when the plug-in cannot be used (permanent: fix the path or the
///   installation) and ServiceUnreachable when the service is not there (transient: wait
///   and make the host again); both derive from std::runtime_error.
/// - attach() routes the events for a channel name to a subscriber, then calls the
///   subscriber's init(), on the calling thread. So an application activates and subscribes
///   in init() as it does on the phone, or after attach() returns.
/// - Events are delivered on one delivery thread of the host, so callbacks run there, one
///   at a time, in the order the service sent them. A callback may send requests.
/// - When the service restarts, the host subscribes again for the application (see
///   ServiceWatcher); the application activates again.
/// - The subscriber's shutdown() is called once the attachment ends: when the Attachment
///   ends, or when the host is destroyed first. It may send requests.
/// - Destroying the host first stops delivering, waiting for a callback in progress, then
///   shuts down the subscribers still attached, and only then closes the channel and
///   unloads the plug-in. So the host and its subscribers may end in either order; only a
///   callback must not destroy the host it runs on.
///
/// @code
/// desktop::Host host(options);
/// App app(host.service());                                    // activates and subscribes
/// desktop::Attachment attached = host.attach(app, "calllog"); // in its init()
/// @endcode
class Host {
public:
    /// How to make the host.
    struct Options {
        /// The plug-in to load (libCommunicationsService.so); required.
        std::string pluginPath;
        /// Where the service listens.
        std::string socketPath = wire::defaultSocketPath();
        /// How long sendRequest waits for an answer.
        std::chrono::milliseconds answerTimeout{10000};
        /// Receives the host's log lines; standard error when empty.
        Reporter report;
        /// How much goes to report; COMMS_LOG_LEVEL, else info, when not set.
        std::optional<LogLevel> logLevel;
    };

    /// Loads the plug-in and connects; throws PluginLoadError or ServiceUnreachable saying
    /// what failed.
    explicit Host(Options options);
    /// Stops delivering, then closes the channel and unloads the plug-in.
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// The plug-in's proxy, bound to the channel.
    CommunicationsServiceIfc& service();
    /// The channel to the service, for control commands of the simulator.
    ServiceChannel& channel();

    /// Gives the subscriber its channel name, which the framework context then reports to
    /// the proxy's subscribe, routes the events for that channel to it until the returned
    /// Attachment ends, and calls its init(). A subscriber that derives from ServiceWatcher
    /// is also told when the service goes and comes back.
    Attachment attach(Executable& subscriber, const std::string& channelName);

    /// Events whose handling the invoker has confirmed through its InvokerResponse.
    std::size_t eventsHandled() const;

    /// Why the service refused the last request this thread sent, as the simulator says
    /// beside its answer ("call 77 does not exist on line 1001"); empty when it did not
    /// refuse or did not say. The proxy's result codes stay as the service answered.
    std::string refusalOfLastRequest() const;

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace desktop
