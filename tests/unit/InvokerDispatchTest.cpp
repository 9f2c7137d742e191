// How handleMessage picks handlers by method name, finds the subscriber's interface and
// tells the framework that a message has been handled.

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <functional>
#include <stdexcept>

#include "CommunicationsService/testing/RecordingSubscriber.h"
#include "CommunicationsServiceEventInvoker.h"

namespace {

using communications::testing::RecordingSubscriber;
using Names = std::vector<std::string>;

// Counts notifications and remembers how many callbacks had run by the first one.
struct CountingResponse : InvokerResponse {
    const RecordingSubscriber* subscriber = nullptr;
    int handled = 0;
    int wrongSlot = 0;
    std::size_t callsBeforeNotice = 0;
    void reservedSlot1() override { ++wrongSlot; }
    void messageHandled() override {
        if (handled++ == 0 && subscriber != nullptr) callsBeforeNotice = subscriber->calls().size();
    }
};

// An Executable of the application that is not a subscriber of these events.
struct OtherExecutable : Executable {
    void init(Context&) override {}
    void shutdown() override {}
};

// Puts the Executable base away from the start of the object, so that only a real
// cross-cast finds the interface.
struct Unrelated {
    virtual ~Unrelated() = default;
    long padding[3] = {};
};
struct OffsetSubscriber : Unrelated, RecordingSubscriber {};

std::string withMethod(const std::string& name) { return "<Method>" + name + "</Method>"; }

// Delivers one message and checks the callbacks it ran and the one notification after them.
void expectDispatch(const std::string& message, const Names& expected) {
    SCOPED_TRACE(message);
    CommunicationsServiceEventInvoker invoker;
    RecordingSubscriber subscriber;
    CountingResponse response;
    response.subscriber = &subscriber;
    invoker.handleMessage(&subscriber, message.c_str(), static_cast<int>(message.size()),
                          &response);
    EXPECT_EQ(subscriber.callbackNames(), expected);
    EXPECT_EQ(response.handled, 1);
    EXPECT_EQ(response.wrongSlot, 0);
    EXPECT_EQ(response.callsBeforeNotice, expected.size());
}

std::string capturedOutputOf(const std::function<void()>& action) {
    ::testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    return ::testing::internal::GetCapturedStdout();
}

TEST(InvokerDispatch, RunsNothingButStillNotifiesForNamesThatMatchNoRow) {
    for (const char* message :
         {"<Method>Unknown</Method>", "<Method></Method>", "<Method> CallHeldEvent</Method>",
          "<LineID>1</LineID>", "", "<Method>CallHeldEvent", "CallHeldEvent</Method>",
          "<method>CallHeldEvent</method>"}) {
        expectDispatch(message, {});
    }
}

TEST(InvokerDispatch, TakesTheFirstMethodElementWhereverItStands) {
    expectDispatch("<LineID>1</LineID><Method>CallHeldEvent</Method>", {"onCallHeldEvent"});
    expectDispatch("<Method>DoNotDisturbEvent</Method><Method>CallHeldEvent</Method>",
                   {"onDoNotDisturbEvent"});
}

TEST(InvokerDispatch, IgnoresTheLengthArgumentAndSeesNothingAfterAnEmbeddedNul) {
    const std::string message =
        "<Method>CallHeldEvent</Method><LineID>L1</LineID><CallID>7</CallID>";
    for (const int length : {0, 5, static_cast<int>(message.size()), 1 << 20, -1, INT_MAX}) {
        RecordingSubscriber subscriber;
        CommunicationsServiceEventInvoker().handleMessage(&subscriber, message.c_str(), length,
                                                          nullptr);
        ASSERT_EQ(subscriber.calls().size(), 1u) << length;
        EXPECT_EQ(subscriber.calls()[0].arguments, Names({"L1", "7"})) << length;
    }
    const std::string hidden(
        "<Method>CallHeldEvent</Method><LineID>L1</LineID>\0<CallID>7</CallID>", 68);
    ASSERT_EQ(hidden.size(), 68u);
    RecordingSubscriber subscriber;
    CommunicationsServiceEventInvoker().handleMessage(&subscriber, hidden.data(),
                                                      static_cast<int>(hidden.size()), nullptr);
    ASSERT_EQ(subscriber.calls().size(), 1u);
    EXPECT_EQ(subscriber.calls()[0].arguments, Names({"L1", "-1"}));
}

TEST(InvokerDispatch, CrossCastsASubscriberWhoseExecutableBaseIsNotAtItsStart) {
    OffsetSubscriber subscriber;
    Executable* executable = &subscriber;
    ASSERT_NE(static_cast<void*>(executable), static_cast<void*>(&subscriber));
    const std::string output = capturedOutputOf([&] {
        CommunicationsServiceEventInvoker().handleMessage(
            executable, "<Method>CallHeldEvent</Method><CallID>7</CallID>", 0, nullptr);
    });
    EXPECT_EQ(output, "");
    EXPECT_EQ(subscriber.callbackNames(), Names{"onCallHeldEvent"});
}

TEST(InvokerDispatch, PrintsOneLineAndReturnsForAMissingInterfaceWhenNoRowMatches) {
    OtherExecutable other;
    for (Executable* subscriber :
         {static_cast<Executable*>(nullptr), static_cast<Executable*>(&other)}) {
        CountingResponse response;
        const std::string output = capturedOutputOf([&] {
            CommunicationsServiceEventInvoker().handleMessage(
                subscriber, "<Method>NoSuchEvent</Method>", 0, &response);
        });
        EXPECT_EQ(output, "CommunicationsServiceEventSvc == NULL");
        EXPECT_EQ(response.handled, 1);
    }
}

TEST(InvokerDispatchDeathTest, CallsThroughTheMissingInterfaceWhenARowMatches) {
    OtherExecutable other;
    CommunicationsServiceEventInvoker invoker;
    EXPECT_DEATH(invoker.handleMessage(nullptr, "<Method>CallHeldEvent</Method>", 0, nullptr), "");
    EXPECT_DEATH(invoker.handleMessage(&other, "<Method>DevicesChangedEvent</Method>", 0, nullptr),
                 "");
}

TEST(InvokerDispatch, RejectsANullMessageBeforeLookingAtTheSubscriber) {
    CountingResponse response;
    const std::string output = capturedOutputOf([&] {
        try {
            CommunicationsServiceEventInvoker().handleMessage(nullptr, nullptr, 10, &response);
            ADD_FAILURE() << "no exception";
        } catch (const std::logic_error& error) {
            EXPECT_STREQ(error.what(), "basic_string::_M_construct null not valid");
        }
    });
    EXPECT_EQ(output, "");
    EXPECT_EQ(response.handled, 0);
}

TEST(InvokerDispatch, LetsACallbackExceptionThroughWithoutNotifying) {
    struct Throwing : RecordingSubscriber {
        void onCallHeldEvent(const std::string&, int) override { throw std::out_of_range("held"); }
    } subscriber;
    CountingResponse response;
    EXPECT_THROW(CommunicationsServiceEventInvoker().handleMessage(
                     &subscriber, "<Method>CallHeldEvent</Method>", 0, &response),
                 std::out_of_range);
    EXPECT_EQ(response.handled, 0);
}

} // namespace
