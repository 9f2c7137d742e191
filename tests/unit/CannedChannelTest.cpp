// The canned channel, as an application's tests drive the plug-in's proxy through it.

#include <string>

#include <gtest/gtest.h>

#include "CommunicationsService/testing/CannedChannel.h"
#include "CommunicationsService/testing/NullSubscriber.h"
#include "CommunicationsServiceProxy.h"

namespace {

TEST(CannedChannel, AnswersEveryKindOfRequestWithItsTextEvenWithoutAContext) {
    communications::testing::CannedChannel channel("sfiSuccess");
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);
    communications::testing::NullSubscriber subscriber;

    EXPECT_EQ(proxy.subscribe(&subscriber), sfiSuccess);
    EXPECT_EQ(proxy.activate(), sfiSuccess);
    channel.answer = "sfiFailure";
    EXPECT_EQ(proxy.subscribe(&subscriber), sfiFailure);
}

} // namespace
