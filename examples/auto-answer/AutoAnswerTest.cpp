#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AutoAnswer.h"
#include "CommunicationsService/desktop/Framework.h"
#include "CommunicationsService/testing/EventDelivery.h"
#include "CommunicationsService/testing/MockCommunicationsService.h"

using communications::testing::deliver;
using communications::testing::MockCommunicationsService;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::Return;

namespace events = communications::testing::events;

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

// Events reach the application through the plug-in's invoker, as on the phone.
TEST(AutoAnswer, AnswersEveryIncomingCallOnTheLineItArrivedOn) {
    MockCommunicationsService service;
    AutoAnswer app(service);
    EXPECT_CALL(service, answerCall("1001", 12)).WillOnce(Return(sfiSuccess));
    EXPECT_CALL(service, answerCall("1002", 13)).WillOnce(Return(sfiSuccess));

    LogLines log;
    deliver(app, events::incomingCall, {{"lineId", "1001"}, {"callId", 12}, {"uri", "sip:2005"}});
    deliver(app, events::incomingCall, {{"lineId", "1002"}, {"callId", 13}});
    EXPECT_THAT(log.messages, ElementsAre());
}

TEST(AutoAnswer, LogsEveryCallStateChangeAndEveryRefusedAnswer) {
    MockCommunicationsService service;
    AutoAnswer app(service);
    EXPECT_CALL(service, answerCall("1001", 12)).WillOnce(Return(sfiFailure));

    LogLines log;
    deliver(app, events::callStateChange, {{"lineId", "1001"}, {"callId", 12}, {"callState", 1}});
    deliver(app, events::incomingCall, {{"lineId", "1001"}, {"callId", 12}});
    deliver(app, events::callStateChange, {{"lineId", "1001"}, {"callId", 12}, {"callState", 3}});
    deliver(app, events::callHeld, {{"lineId", "1001"}, {"callId", 12}});
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

} // namespace
