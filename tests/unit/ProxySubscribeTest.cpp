// Subscription: the subscriber's channel name, logging, and what happens to exceptions.

#include <functional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "CommunicationsService/desktop/Framework.h"
#include "CommunicationsService/framework/Utilities.h"
#include "CommunicationsService/testing/NullSubscriber.h"
#include "CommunicationsServiceProxy.h"
#include "support/RecordingChannel.h"

using testsupport::RecordingChannel;

namespace {

constexpr const char* kComponent = "SIP Communications Service";
constexpr const char* kSourceFile = "./src/CommunicationsServiceProxy.cpp";

class NamingContext : public FrameworkContext {
public:
    std::string findChannel(Executable* executable) override {
        asked.push_back(executable);
        if (onFind) onFind();
        return name;
    }
    std::string name = "app.events";
    std::vector<Executable*> asked;
    std::function<void()> onFind;
};

struct Written {
    std::string component, sourceFile;
    int level, line;
    std::string message;
    bool operator==(const Written& o) const {
        return std::tie(component, sourceFile, level, line, message) ==
               std::tie(o.component, o.sourceFile, o.level, o.line, o.message);
    }
};

std::ostream& operator<<(std::ostream& out, const Written& w) {
    return out << w.component << " " << w.sourceFile << " level " << w.level << " line " << w.line
               << ": " << w.message;
}

Written logged(int line, const char* message) {
    return {kComponent, kSourceFile, 5, line, message};
}

std::vector<Written> whenLogging(bool logging, std::vector<Written> lines) {
    return logging ? lines : std::vector<Written>{};
}

class ProxySubscribe : public testing::Test, public desktop::LogObserver {
protected:
    ProxySubscribe() : channel("sfiSuccess", RecordingChannel::Answering::Replaces, &context) {
        desktop::setLogObserver(this);
        proxy.initProxy(channel);
        channel.calls.clear();
    }
    ~ProxySubscribe() override {
        desktop::setLogObserver(nullptr);
        desktop::setLogging(false);
    }

    void asked(const char* component, int level) override {
        EXPECT_STREQ(component, kComponent);
        EXPECT_EQ(level, 5);
        ++questions;
    }
    void written(const char* component, const char* sourceFile, int level, int line,
                 const char* message) override {
        log.push_back({component, sourceFile, level, line, message});
    }

    // Throws a MarloException from the channel's subscription and remembers the object.
    void failSubscriptionWithMarloException() {
        channel.onCall = [this](const RecordingChannel::Call&) {
            try {
                throw MarloException("service unreachable");
            } catch (MarloException& original) {
                thrown = &original;
                throw;
            }
        };
    }

    NamingContext context;
    RecordingChannel channel;
    CommunicationsServiceProxy proxy;
    communications::testing::NullSubscriber subscriber;
    int questions = 0;
    std::vector<Written> log;
    const void* thrown = nullptr;
};

TEST_F(ProxySubscribe, NullSubscriberReturnsZeroSendsNothingAndLogsOnlyTheStart) {
    for (const bool logging : {true, false}) {
        desktop::setLogging(logging);
        questions = 0;
        log.clear();
        EXPECT_EQ(proxy.subscribe(nullptr), 0);
        EXPECT_TRUE(channel.calls.empty());
        EXPECT_TRUE(context.asked.empty());
        EXPECT_EQ(questions, 1);
        EXPECT_EQ(log, whenLogging(logging, {logged(277, "subscribe start")}));
    }
}

TEST_F(ProxySubscribe, RegistersTheSubscribersChannelNameAndMapsTheAnswer) {
    const std::tuple<bool, std::string, int> cases[] = {
        {true, "sfiSuccess", 5}, {false, "sfiFailureCallBackNoCallInfo", 2}, {true, "", 0}};
    for (const auto& [logging, answer, result] : cases) {
        desktop::setLogging(logging);
        questions = 0;
        log.clear();
        channel.calls.clear();
        context.asked.clear();
        channel.answer = answer;

        EXPECT_EQ(proxy.subscribe(&subscriber), result);
        EXPECT_EQ(context.asked, std::vector<Executable*>{&subscriber});
        ASSERT_EQ(channel.calls.size(), 1u);
        EXPECT_EQ(channel.calls[0].operation, RecordingChannel::Operation::SendSubscribe);
        EXPECT_EQ(channel.calls[0].text, "<Method>Subscribe</Method>");
        EXPECT_EQ(channel.calls[0].responseOnEntry, "");
        EXPECT_EQ(channel.calls[0].channelName, "app.events");
        EXPECT_EQ(channel.calls[0].timeout, 100000);
        EXPECT_EQ(questions, 2);
        EXPECT_EQ(log, whenLogging(logging,
                                   {logged(277, "subscribe start"), logged(302, "subscribe end")}));
    }
}

TEST_F(ProxySubscribe, MarloExceptionFromTheSubscriptionIsLoggedAndThrownAsACopy) {
    failSubscriptionWithMarloException();
    for (const bool logging : {true, false}) {
        desktop::setLogging(logging);
        log.clear();
        thrown = nullptr;
        try {
            proxy.subscribe(&subscriber);
            ADD_FAILURE() << "subscribe returned";
        } catch (const MarloException& copy) {
            EXPECT_NE(static_cast<const void*>(&copy), thrown);
            EXPECT_STREQ(copy.what(), "service unreachable");
        }
        EXPECT_EQ(log, whenLogging(logging, {logged(277, "subscribe start"),
                                             logged(298, "subscribe exception caught:")}));
    }
}

TEST_F(ProxySubscribe, OtherExceptionsFromTheSubscriptionPassUnlogged) {
    desktop::setLogging(true);
    channel.onCall = [this](const RecordingChannel::Call&) {
        try {
            throw std::runtime_error("channel closed");
        } catch (std::runtime_error& original) {
            thrown = &original;
            throw;
        }
    };
    try {
        proxy.subscribe(&subscriber);
        ADD_FAILURE() << "subscribe returned";
    } catch (const std::runtime_error& passed) {
        EXPECT_EQ(static_cast<const void*>(&passed), thrown);
    }
    EXPECT_EQ(log, std::vector<Written>{logged(277, "subscribe start")});
}

TEST_F(ProxySubscribe, ExceptionsFromFindChannelPassUnloggedEvenAMarloException) {
    desktop::setLogging(true);
    context.onFind = [this] {
        try {
            throw MarloException("no such executable");
        } catch (MarloException& original) {
            thrown = &original;
            throw;
        }
    };
    try {
        proxy.subscribe(&subscriber);
        ADD_FAILURE() << "subscribe returned";
    } catch (const MarloException& passed) {
        EXPECT_EQ(static_cast<const void*>(&passed), thrown);
    }
    EXPECT_TRUE(channel.calls.empty());
    EXPECT_EQ(log, std::vector<Written>{logged(277, "subscribe start")});
}

} // namespace
