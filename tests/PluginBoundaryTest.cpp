// The plug-in seen from outside, as the framework loads it: events reach a subscriber that
// another shared object defines, with nothing between the two but their exports.

#include <dlfcn.h>

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/framework/ProxyRequest.h"
#include "remote/RemoteSubscriber.h"

namespace {

class SharedObject {
public:
    explicit SharedObject(const char* path) : handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {}
    SharedObject(const SharedObject&) = delete;
    SharedObject& operator=(const SharedObject&) = delete;
    ~SharedObject() {
        if (handle != nullptr) dlclose(handle);
    }

    template <typename Function> Function* symbol(const char* name) const {
        return reinterpret_cast<Function*>(dlsym(handle, name));
    }

    void* const handle;
};

struct CountingResponse : InvokerResponse {
    void messageHandled() override { ++notified; }
    int notified = 0;
};

TEST(PluginBoundary, DeliversEventsToASubscriberDefinedInAnotherSharedObject) {
    const SharedObject plugin(PLUGIN_PATH);
    ASSERT_NE(plugin.handle, nullptr) << dlerror();
    const SharedObject remote(REMOTE_SUBSCRIBER_PATH);
    ASSERT_NE(remote.handle, nullptr) << dlerror();
    const auto createInvoker = plugin.symbol<Invoker*()>("createCommunicationsServiceEventInvoker");
    const auto createSubscriber =
        remote.symbol<decltype(createRemoteSubscriber)>("createRemoteSubscriber");
    const auto describeCalls = remote.symbol<decltype(describeRemoteCalls)>("describeRemoteCalls");
    ASSERT_NE(createInvoker, nullptr);
    ASSERT_NE(createSubscriber, nullptr);
    ASSERT_NE(describeCalls, nullptr);

    const std::unique_ptr<Invoker> invoker(createInvoker());
    const std::unique_ptr<Executable> subscriber(createSubscriber());
    CountingResponse response;
    const std::string held =
        "<Method>CallHeldEvent</Method><LineID>1001</LineID><CallID>12</CallID>";
    const std::string devices = "<Method>DevicesChangedEvent</Method>";
    invoker->handleMessage(subscriber.get(), held.c_str(), int(held.size()), &response);
    invoker->handleMessage(subscriber.get(), devices.c_str(), int(devices.size()), &response);

    EXPECT_EQ(std::string(describeCalls(subscriber.get())), "onCallHeldEvent(\"1001\", \"12\")\n"
                                                            "onDevicesChangedEvent()\n");
    EXPECT_EQ(response.notified, 2);
}

} // namespace
