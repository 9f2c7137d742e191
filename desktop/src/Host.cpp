#include "CommunicationsService/desktop/Host.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/desktop/Trace.h"

namespace desktop {

// Knows every attached subscriber under its channel name, in both directions, and which
// subscribers are being called (a callback on the delivery thread, a shutdown() on any
// thread), so that detaching can wait for those calls.
class SubscriberRegistry : public FrameworkContext {
public:
    // Told when the proxy's subscribe asks for a subscriber that is not attached.
    explicit SubscriberRegistry(std::function<void()> unattached)
        : unattached(std::move(unattached)) {}

    std::string findChannel(Executable* executable) override {
        {
            std::lock_guard<std::mutex> lock(mutex);
            auto found = names.find(executable);
            if (found != names.end()) return found->second.channel;
        }
        unattached();
        return {};
    }

    // The number of this attachment, which only its own detach undoes.
    std::uint64_t attach(Executable& subscriber, const std::string& channel) {
        std::lock_guard<std::mutex> lock(mutex);
        names[&subscriber] = {channel, ++attachments};
        detachedChannels.erase(channel);
        return attachments;
    }

    // Waits for a call of the subscriber in progress, unless this runs on the delivery
    // thread, whose callback may be the one detaching; also when the attachment has
    // already ended, since its owner may be about to destroy the subscriber. Then shuts
    // the subscriber down, only where this call ended the attachment: a callback and its
    // owner's thread may both end it, and the host's end may have come first.
    void detach(Executable* subscriber, std::uint64_t attachment) {
        std::unique_lock<std::mutex> lock(mutex);
        auto found = names.find(subscriber);
        const bool ended = found != names.end() && found->second.attachment == attachment;
        if (ended) end(found);
        if (deliveryThread != std::this_thread::get_id())
            callEnded.wait(lock, [&] { return calling.count(subscriber) == 0; });
        if (ended) call(lock, subscriber, shutDown);
    }

    // The host's end, once delivery has stopped: shuts down every subscriber still
    // attached, and waits for the shutdown() that a detach runs on another thread, which
    // may still send requests.
    void shutDownAll() {
        std::unique_lock<std::mutex> lock(mutex);
        // The delivery thread has ended, and a new thread may be given its id.
        deliveryThread = std::thread::id();
        while (!names.empty()) {
            Executable* subscriber = names.begin()->first;
            end(names.begin());
            call(lock, subscriber, shutDown);
        }
        callEnded.wait(lock, [&] { return calling.empty(); });
    }

    enum class Found { subscriber, detached, nobody };

    // Calls deliver(subscriber) for the subscriber on the channel, if one is attached.
    template <typename Deliver> Found callOn(const std::string& channel, Deliver deliver) {
        std::unique_lock<std::mutex> lock(mutex);
        for (const auto& [executable, attached] : names) {
            if (attached.channel == channel) {
                call(lock, executable, deliver);
                return Found::subscriber;
            }
        }
        return detachedChannels.count(channel) != 0 ? Found::detached : Found::nobody;
    }

    // Calls deliver(subscriber) for every subscriber attached now and still when its turn
    // comes.
    template <typename Deliver> void callEach(Deliver deliver) {
        std::unique_lock<std::mutex> lock(mutex);
        std::vector<Executable*> everyone;
        for (const auto& attached : names)
            everyone.push_back(attached.first);
        for (Executable* executable : everyone) {
            if (names.count(executable) != 0) call(lock, executable, deliver);
        }
    }

    void deliverOn(std::thread::id thread) {
        std::lock_guard<std::mutex> lock(mutex);
        deliveryThread = thread;
    }

private:
    // A subscriber may be called on two threads at once: a callback detaching another
    // subscriber calls that one's shutdown() within its own call.
    template <typename Deliver>
    void call(std::unique_lock<std::mutex>& lock, Executable* subscriber, Deliver& deliver) {
        const auto inCall = calling.insert(subscriber);
        lock.unlock();
        deliver(subscriber);
        lock.lock();
        calling.erase(inCall);
        callEnded.notify_all();
    }

    struct Attached {
        std::string channel;
        std::uint64_t attachment = 0;
    };

    // Their events are dropped without a report from now on.
    void end(std::map<Executable*, Attached>::iterator attached) {
        detachedChannels.insert(attached->second.channel);
        names.erase(attached);
    }

    static void shutDown(Executable* subscriber) { subscriber->shutdown(); }

    const std::function<void()> unattached;
    std::mutex mutex;
    std::condition_variable callEnded;
    std::map<Executable*, Attached> names;
    std::uint64_t attachments = 0;
    // Their events are dropped without a report: the service still sends them.
    std::set<std::string> detachedChannels;
    std::multiset<Executable*> calling;
    std::thread::id deliveryThread;
};

Attachment::Attachment(std::shared_ptr<SubscriberRegistry> registry, Executable* subscriber,
                       std::uint64_t number)
    : registry(std::move(registry)), subscriber(subscriber), number(number) {}

Attachment::Attachment(Attachment&& other) noexcept
    : registry(std::move(other.registry)), subscriber(other.subscriber), number(other.number) {}

Attachment& Attachment::operator=(Attachment&& other) noexcept {
    if (this != &other) {
        detach();
        registry = std::move(other.registry);
        subscriber = other.subscriber;
        number = other.number;
    }
    return *this;
}

Attachment::~Attachment() { detach(); }

// Leaves the members as they are: a callback may detach while the owner's thread ends the
// attachment too.
void Attachment::detach() {
    if (registry) registry->detach(subscriber, number);
}

namespace {

class DeliveryReceipt : public InvokerResponse {
public:
    void messageHandled() override { ++handled; }
    std::atomic<std::size_t> handled{0};
};

// What the delivery thread hands on: an event for a channel, or the service's loss
// (reason set) or return.
struct Delivery {
    enum class Content { event, lost, back };
    Content content = Content::event;
    std::string channel;
    std::string text;
};

} // namespace

std::optional<LogLevel> logLevelNamed(std::string_view name) {
    for (const NamedLogLevel& named : kLogLevels) {
        if (named.name == name) return named.level;
    }
    return std::nullopt;
}

LogLevel logLevelFromEnvironment() {
    const char* name = std::getenv("COMMS_LOG_LEVEL");
    if (name == nullptr || *name == '\0') return LogLevel::info;
    if (auto level = logLevelNamed(name)) return *level;
    std::string levels;
    for (const NamedLogLevel& named : kLogLevels)
        levels.append(levels.empty() ? "" : ", ").append(named.name);
    throw std::runtime_error(std::string("COMMS_LOG_LEVEL names no log level: '") + name +
                             "' (levels: " + levels + ")");
}

struct Host::State {
    explicit State(Options options)
        : level(options.logLevel ? *options.logLevel : logLevelFromEnvironment()),
          report(options.report
                     ? std::move(options.report)
                     : [](const std::string&
                              line) { std::fprintf(stderr, "desktop host: %s\n", line.c_str()); }),
          plugin(options.pluginPath), proxy(plugin.createProxy()), invoker(plugin.createInvoker()) {
        if (!proxy || !invoker) {
            throw PluginLoadError("plug-in " + options.pluginPath +
                                  " returned no object from a factory");
        }
        proxyInterface = dynamic_cast<CommunicationsServiceIfc*>(proxy.get());
        if (proxyInterface == nullptr) {
            throw PluginLoadError("plug-in " + options.pluginPath +
                                  ": its proxy does not implement CommunicationsServiceIfc");
        }
        invoker->initInvoker(registry.get());
        delivery = std::thread([this] { deliverAll(); });
        try {
            channel = std::make_unique<ServiceChannel>(
                *registry, options.socketPath, options.answerTimeout,
                [this](std::string name, std::string text) {
                    enqueue({Delivery::Content::event, std::move(name), std::move(text)});
                },
                [this](const std::string& line) { log(LogLevel::warning, line); },
                [this](bool available, const std::string& reason) {
                    enqueue({available ? Delivery::Content::back : Delivery::Content::lost,
                             {},
                             reason});
                },
                level >= LogLevel::trace ? report : Reporter());
        } catch (...) {
            stopDelivery();
            throw;
        }
        proxy->initProxy(*channel);
    }

    // Delivery ends first: a callback in progress may still send requests through the
    // channel and the proxy, and so may the subscribers' shutdown().
    ~State() {
        stopDelivery();
        registry->shutDownAll();
        channel.reset();
    }

    void enqueue(Delivery item) {
        {
            std::lock_guard<std::mutex> lock(queueMutex);
            queue.push_back(std::move(item));
        }
        queueChanged.notify_one();
    }

    void deliverAll() {
        registry->deliverOn(std::this_thread::get_id());
        std::unique_lock<std::mutex> lock(queueMutex);
        for (;;) {
            queueChanged.wait(lock, [this] { return stopping || !queue.empty(); });
            if (stopping) return;
            Delivery item = std::move(queue.front());
            queue.pop_front();
            lock.unlock();
            if (item.content == Delivery::Content::event) {
                deliver(item.channel, item.text);
            } else {
                tellWatchers(item.content == Delivery::Content::back, item.text);
            }
            lock.lock();
        }
    }

    void log(LogLevel at, const std::string& line) {
        if (at <= level) report(line);
    }

    void deliver(const std::string& name, const std::string& text) {
        if (level >= LogLevel::trace) log(LogLevel::trace, "event " + trace::event(text));
        const auto found = registry->callOn(name, [&](Executable* subscriber) {
            invoker->handleMessage(subscriber, text.c_str(), static_cast<int>(text.size()),
                                   &receipt);
        });
        if (found == SubscriberRegistry::Found::nobody)
            log(LogLevel::warning,
                "event for channel '" + name + "', which has no subscriber, dropped");
        if (found == SubscriberRegistry::Found::detached)
            log(LogLevel::debug,
                "event for channel '" + name + "', whose subscriber has detached, dropped");
    }

    void tellWatchers(bool back, const std::string& reason) {
        registry->callEach([&](Executable* subscriber) {
            if (auto* watcher = dynamic_cast<ServiceWatcher*>(subscriber)) {
                if (back) {
                    watcher->onServiceBack();
                } else {
                    watcher->onServiceLost(reason);
                }
            }
        });
    }

    void stopDelivery() {
        {
            std::lock_guard<std::mutex> lock(queueMutex);
            stopping = true;
        }
        queueChanged.notify_one();
        if (delivery.joinable()) delivery.join();
    }

    const LogLevel level;
    Reporter report;
    PluginLibrary plugin;
    std::unique_ptr<Proxy> proxy;
    std::unique_ptr<Invoker> invoker;
    CommunicationsServiceIfc* proxyInterface = nullptr;
    // Shared with the attachments, which may outlive the host.
    std::shared_ptr<SubscriberRegistry> registry = std::make_shared<SubscriberRegistry>([this] {
        log(LogLevel::warning, "subscribe for a subscriber that is not attached: the service gets "
                               "no channel name and refuses it (call Host::attach first)");
    });
    DeliveryReceipt receipt;
    // What each subscriber's init() is given; the desktop has nothing to put in it.
    Context context;

    std::mutex queueMutex;
    std::condition_variable queueChanged;
    std::deque<Delivery> queue;
    bool stopping = false;
    std::thread delivery;

    std::unique_ptr<ServiceChannel> channel;
};

Host::Host(Options options) : state(std::make_unique<State>(std::move(options))) {}

Host::~Host() = default;

CommunicationsServiceIfc& Host::service() { return *state->proxyInterface; }

ServiceChannel& Host::channel() { return *state->channel; }

// Attached before init(), which may subscribe and so asks for the channel name.
Attachment Host::attach(Executable& subscriber, const std::string& channelName) {
    Attachment attachment(state->registry, &subscriber,
                          state->registry->attach(subscriber, channelName));
    subscriber.init(state->context);
    return attachment;
}

std::size_t Host::eventsHandled() const { return state->receipt.handled.load(); }

std::string Host::refusalOfLastRequest() const { return state->channel->refusalOfLastRequest(); }

} // namespace desktop
