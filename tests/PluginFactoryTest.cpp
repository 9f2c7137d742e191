// The built plug-in, loaded the way the framework loads it: by path, factories by name.

#include <dlfcn.h>

#include <string>

#include <gtest/gtest.h>

#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/Version.h"
#include "CommunicationsService/framework/Executable.h"
#include "support/RecordingChannel.h"

using testsupport::RecordingChannel;

namespace {

class PluginFactory : public testing::Test {
protected:
    void SetUp() override {
        handle = dlopen(PLUGIN_PATH, RTLD_NOW);
        ASSERT_NE(handle, nullptr) << dlerror();
    }
    void TearDown() override {
        if (handle != nullptr) dlclose(handle);
    }
    template <class Factory> Factory factory(const char* name) {
        return reinterpret_cast<Factory>(dlsym(handle, name));
    }
    void* handle = nullptr;
};

TEST_F(PluginFactory, CreatesAProxyThatSendsRequestsAndMapsAnswers) {
    const auto create = factory<Proxy* (*)()>("createCommunicationsServiceProxy");
    ASSERT_NE(create, nullptr);
    Proxy* proxy = create();
    ASSERT_NE(proxy, nullptr);

    RecordingChannel channel("sfiFailureCallBackInvalidState");
    proxy->initProxy(channel);
    auto* service = dynamic_cast<CommunicationsServiceIfc*>(proxy);
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(service->answerCall("1001", 12), 1);

    channel.answer = "<sfiResult>sfiSuccess</sfiResult><status>0</status><uri>sip:9</uri>";
    bool status = true;
    std::string uri;
    int ringCount = 0;
    EXPECT_EQ(service->getForwardingConfiguration(sfiForwardingType(2), status, uri, ringCount), 5);
    EXPECT_FALSE(status);
    EXPECT_EQ(uri, "sip:9");
    EXPECT_EQ(ringCount, -1);

    ASSERT_EQ(channel.calls.size(), 3u);
    EXPECT_EQ(channel.calls[0].text, "CommunicationsServiceProtocol");
    EXPECT_EQ(channel.calls[1].operation, RecordingChannel::Operation::SendRequest);
    EXPECT_EQ(channel.calls[1].text,
              "<Method>AnswerCall</Method><Line>1001</Line><CallID>12</CallID>");
    EXPECT_EQ(channel.calls[2].text,
              "<Method>getForwardingConfiguration</Method><fwType>2</fwType>");

    Executable* owned = proxy;
    delete owned;
}

TEST_F(PluginFactory, CreatesAnEventInvoker) {
    const auto create = factory<Invoker* (*)()>("createCommunicationsServiceEventInvoker");
    ASSERT_NE(create, nullptr);
    Invoker* invoker = create();
    ASSERT_NE(invoker, nullptr);
    invoker->initInvoker(nullptr);
    delete invoker;
}

// The text the plug-in reports is the one its headers were generated with, and spells the
// three numbers that applications compare against.
TEST_F(PluginFactory, TellsTheVersionItWasBuiltAs) {
    const auto version = factory<const char* (*)()>("communicationsServiceVersion");
    ASSERT_NE(version, nullptr);
    EXPECT_STREQ(version(), COMMUNICATIONS_SERVICE_VERSION);
    EXPECT_EQ(version(), std::to_string(COMMUNICATIONS_SERVICE_VERSION_MAJOR) + "." +
                             std::to_string(COMMUNICATIONS_SERVICE_VERSION_MINOR) + "." +
                             std::to_string(COMMUNICATIONS_SERVICE_VERSION_PATCH));
}

} // namespace
