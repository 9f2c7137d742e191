#include <dlfcn.h>

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AutoAnswer.h"
#include "CommunicationsService/testing/MockCommunicationsService.h"
#include "CommunicationsService/testing/RecordingSubscriber.h"
#include "CommunicationsService/desktop/Framework.h"

using communications::testing::MockCommunicationsService;
using communications::testing::RecordingSubscriber;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::Return;

namespace {

// What the application writes to the framework's log while it lives.
class LogLines : public desktop::LogObserver {
public:
    LogLines() {
        desktop::setLogging(true);
        desktop::setLogObserver(this);
    }
    ~LogLines() override {
        desktop::setLogObserver(nullptr);
        desktop::setLogging(false);
    }
    void asked(const char* /*component*/, int /*level*/) override {}
    void written(const char* component, const char* /*sourceFile*/, int /*level*/, int /*line*/,
                 const char* message) override {
        if (std::string(component) == AutoAnswer::logComponent) messages.push_back(message);
    }

    std::vector<std::string> messages;
};

void ringOn(AutoAnswer& app, const std::string& line, int callId) {
    app.onIncomingCallEvent(line, callId, "sip:2002@pbx", "Bob", "", "", "", false, 0, "", "", -1,
                            false, -1, -1, -1, false);
}

void changeState(AutoAnswer& app, const std::string& line, int callId, int callState) {
    app.onCallStateChangeEvent(line, callId, callState, -1, -1, "", "", "", nullptr, -1, -1, "",
                               false, -1, -1);
}

TEST(AutoAnswer, AnswersEveryIncomingCallOnTheLineItArrivedOn) {
    MockCommunicationsService service;
    AutoAnswer app(service);
    EXPECT_CALL(service, answerCall("1001", 12)).WillOnce(Return(sfiSuccess));
    EXPECT_CALL(service, answerCall("1002", 13)).WillOnce(Return(sfiSuccess));

    LogLines log;
    ringOn(app, "1001", 12);
    ringOn(app, "1002", 13);
    EXPECT_THAT(log.messages, ElementsAre());
}

TEST(AutoAnswer, LogsEveryCallStateChangeAndEveryRefusedAnswer) {
    MockCommunicationsService service;
    AutoAnswer app(service);
    EXPECT_CALL(service, answerCall("1001", 12)).WillOnce(Return(sfiFailure));

    LogLines log;
    changeState(app, "1001", 12, 1);
    ringOn(app, "1001", 12);
    changeState(app, "1001", 12, 3);
    EXPECT_THAT(log.messages, ElementsAre("line 1001 call 12 state 1",
                                          "answering call 12 on line 1001 failed with result 0",
                                          "line 1001 call 12 state 3"));
}

TEST(AutoAnswer, ActivatesTheServiceAndSubscribesItselfWhenStarted) {
    MockCommunicationsService service;
    AutoAnswer app(service);
    {
        InSequence startUp;
        EXPECT_CALL(service, activate()).WillOnce(Return(sfiSuccess));
        EXPECT_CALL(service, subscribe(&app)).WillOnce(Return(sfiFailure));
    }

    LogLines log;
    Context context;
    app.init(context);
    EXPECT_THAT(log.messages, ElementsAre("subscribing failed with result 0"));
}

// The installed plug-in's event invoker, loaded by path and created through its factory
// as the framework does, turns the service's event texts into the callbacks above.
class ThroughThePlugIn : public ::testing::Test {
protected:
    void SetUp() override {
        library = dlopen(PLUGIN_PATH, RTLD_NOW);
        ASSERT_NE(library, nullptr) << dlerror();
        using Factory = Invoker* (*)();
        auto create =
            reinterpret_cast<Factory>(dlsym(library, "createCommunicationsServiceEventInvoker"));
        ASSERT_NE(create, nullptr) << dlerror();
        invoker.reset(create());
    }

    void TearDown() override {
        invoker.reset();
        if (library != nullptr) dlclose(library);
    }

    void deliver(Executable& subscriber, const std::string& event) {
        invoker->handleMessage(&subscriber, event.c_str(), static_cast<int>(event.size()), nullptr);
    }

    void* library = nullptr;
    std::unique_ptr<Invoker> invoker;
};

const std::string incomingCall = "<Method>IncomingCallEvent</Method><LineID>1001</LineID>"
                                 "<CallID>12</CallID><URI>sip:2002@pbx</URI><Name>Bob</Name>";

TEST_F(ThroughThePlugIn, AnIncomingCallReachesTheSubscriberWithItsLineAndCall) {
    RecordingSubscriber subscriber;
    deliver(subscriber, incomingCall);

    ASSERT_THAT(subscriber.callbackNames(), ElementsAre("onIncomingCallEvent"));
    const std::vector<std::string>& arguments = subscriber.calls()[0].arguments;
    EXPECT_EQ(arguments.at(0), "1001");
    EXPECT_EQ(arguments.at(1), "12");
    EXPECT_EQ(arguments.at(3), "Bob");
}

TEST_F(ThroughThePlugIn, TheApplicationAnswersAnIncomingCallAndLogsItsStates) {
    MockCommunicationsService service;
    AutoAnswer app(service);
    EXPECT_CALL(service, answerCall("1001", 12)).WillOnce(Return(sfiSuccess));

    LogLines log;
    deliver(app, incomingCall);
    deliver(app, "<Method>CallStateChangeEvent</Method><LineID>1001</LineID><CallID>12</CallID>"
                 "<CallState>3</CallState>");
    EXPECT_THAT(log.messages, ElementsAre("line 1001 call 12 state 3"));
}

} // namespace
