#include "CommunicationsService/desktop/Host.h"

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "CommunicationsService/CommunicationsServiceIfc.h"

namespace desktop {

namespace {

// Knows every attached subscriber under its channel name, in both directions.
class HostContext : public FrameworkContext {
public:
    std::string findChannel(Executable* executable) override {
        std::lock_guard<std::mutex> lock(mutex);
        auto found = names.find(executable);
        return found != names.end() ? found->second : std::string();
    }

    Executable* subscriberOn(const std::string& channel) {
        std::lock_guard<std::mutex> lock(mutex);
        for (const auto& [executable, name] : names) {
            if (name == channel) return executable;
        }
        return nullptr;
    }

    void attach(Executable& subscriber, const std::string& channel) {
        std::lock_guard<std::mutex> lock(mutex);
        names[&subscriber] = channel;
    }

private:
    std::mutex mutex;
    std::map<Executable*, std::string> names;
};

class DeliveryReceipt : public InvokerResponse {
public:
    void messageHandled() override { ++handled; }
    std::atomic<std::size_t> handled{0};
};

} // namespace

struct Host::State {
    explicit State(Options options)
        : report(options.report
                     ? std::move(options.report)
                     : [](const std::string&
                              line) { std::fprintf(stderr, "desktop host: %s\n", line.c_str()); }),
          plugin(options.pluginPath), proxy(plugin.createProxy()), invoker(plugin.createInvoker()) {
        if (!proxy || !invoker) {
            throw std::runtime_error("plug-in " + options.pluginPath +
                                     " returned no object from a factory");
        }
        proxyInterface = dynamic_cast<CommunicationsServiceIfc*>(proxy.get());
        if (proxyInterface == nullptr) {
            throw std::runtime_error("plug-in " + options.pluginPath +
                                     ": its proxy does not implement CommunicationsServiceIfc");
        }
        invoker->initInvoker(&context);
        delivery = std::thread([this] { deliverEvents(); });
        try {
            channel = std::make_unique<ServiceChannel>(
                context, options.socketPath, options.answerTimeout,
                [this](std::string name, std::string text) {
                    enqueue(std::move(name), std::move(text));
                },
                report);
        } catch (...) {
            stopDelivery();
            throw;
        }
        proxy->initProxy(*channel);
    }

    ~State() {
        channel.reset();
        stopDelivery();
    }

    void enqueue(std::string name, std::string text) {
        {
            std::lock_guard<std::mutex> lock(queueMutex);
            queue.emplace_back(std::move(name), std::move(text));
        }
        queueChanged.notify_one();
    }

    void deliverEvents() {
        std::unique_lock<std::mutex> lock(queueMutex);
        for (;;) {
            queueChanged.wait(lock, [this] { return stopping || !queue.empty(); });
            if (stopping) return;
            auto [name, text] = std::move(queue.front());
            queue.pop_front();
            lock.unlock();
            deliver(name, text);
            lock.lock();
        }
    }

    void deliver(const std::string& name, const std::string& text) {
        Executable* subscriber = context.subscriberOn(name);
        if (subscriber == nullptr) {
            report("event for channel '" + name + "', which has no subscriber, dropped");
            return;
        }
        invoker->handleMessage(subscriber, text.c_str(), static_cast<int>(text.size()), &receipt);
    }

    void stopDelivery() {
        {
            std::lock_guard<std::mutex> lock(queueMutex);
            stopping = true;
        }
        queueChanged.notify_one();
        if (delivery.joinable()) delivery.join();
    }

    Reporter report;
    PluginLibrary plugin;
    std::unique_ptr<Proxy> proxy;
    std::unique_ptr<Invoker> invoker;
    CommunicationsServiceIfc* proxyInterface = nullptr;
    HostContext context;
    DeliveryReceipt receipt;

    std::mutex queueMutex;
    std::condition_variable queueChanged;
    std::deque<std::pair<std::string, std::string>> queue;
    bool stopping = false;
    std::thread delivery;

    std::unique_ptr<ServiceChannel> channel;
};

Host::Host(Options options) : state(std::make_unique<State>(std::move(options))) {}

Host::~Host() = default;

CommunicationsServiceIfc& Host::service() { return *state->proxyInterface; }

ServiceChannel& Host::channel() { return *state->channel; }

void Host::attach(Executable& subscriber, const std::string& channelName) {
    state->context.attach(subscriber, channelName);
}

std::size_t Host::eventsHandled() const { return state->receipt.handled.load(); }

} // namespace desktop
