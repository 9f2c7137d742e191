// The built plug-in, loaded the way the framework loads it: by path, factories by name.
// Events reach a subscriber that another shared object defines, with nothing between the
// two but their exports.

#include <dlfcn.h>

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/Version.h"
#include "CommunicationsService/framework/Executable.h"
#include "remote/RemoteSubscriber.h"
#include "support/RecordingChannel.h"

using testsupport::RecordingChannel;

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

class PluginFactory : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(plugin.handle, nullptr) << dlerror(); }
    const SharedObject plugin{PLUGIN_PATH};
};

TEST_F(PluginFactory, CreatesAProxyThatSendsRequestsAndMapsAnswers) {
    const auto create = plugin.symbol<Proxy*()>("createCommunicationsServiceProxy");
    ASSERT_NE(create, nullptr);
    Proxy* proxy = create();
    ASSERT_NE(proxy, nullptr);

    RecordingChannel channel("sfiFailureCallBackInvalidState");
    proxy->initProxy(channel);
    auto* service = dynamic_cast<CommunicationsServiceIfc*>(proxy);
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(service->answerCall("1001", 12), 1);

    ASSERT_EQ(channel.calls.size(), 2u);
    EXPECT_EQ(channel.calls[0].text, "CommunicationsServiceProtocol");
    EXPECT_EQ(channel.calls[1].operation, RecordingChannel::Operation::SendRequest);
    EXPECT_EQ(channel.calls[1].text,
              "<Method>AnswerCall</Method><Line>1001</Line><CallID>12</CallID>");

    Executable* owned = proxy;
    delete owned;
}

TEST_F(PluginFactory, CreatesAnInvokerThatDeliversToASubscriberOfAnotherSharedObject) {
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
    ASSERT_NE(invoker, nullptr);
    const std::unique_ptr<Executable> subscriber(createSubscriber());
    struct CountingResponse : InvokerResponse {
        void messageHandled() override { ++notified; }
        int notified = 0;
    } response;
    const std::string held =
        "<Method>CallHeldEvent</Method><LineID>1001</LineID><CallID>12</CallID>";
    const std::string devices = "<Method>DevicesChangedEvent</Method>";
    invoker->handleMessage(subscriber.get(), held.c_str(), int(held.size()), &response);
    invoker->handleMessage(subscriber.get(), devices.c_str(), int(devices.size()), &response);

    EXPECT_EQ(std::string(describeCalls(subscriber.get())), "onCallHeldEvent(\"1001\", \"12\")\n"
                                                            "onDevicesChangedEvent()\n");
    EXPECT_EQ(response.notified, 2);
}

// The text the plug-in reports is the one its headers were generated with, and spells the
// three numbers that applications compare against.
TEST_F(PluginFactory, TellsTheVersionItWasBuiltAs) {
    const auto version = plugin.symbol<const char*()>("communicationsServiceVersion");
    ASSERT_NE(version, nullptr);
    EXPECT_STREQ(version(), COMMUNICATIONS_SERVICE_VERSION);
    EXPECT_EQ(version(), std::to_string(COMMUNICATIONS_SERVICE_VERSION_MAJOR) + "." +
                             std::to_string(COMMUNICATIONS_SERVICE_VERSION_MINOR) + "." +
                             std::to_string(COMMUNICATIONS_SERVICE_VERSION_PATCH));
}

} // namespace
