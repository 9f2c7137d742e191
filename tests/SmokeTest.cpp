#include <gtest/gtest.h>

#include "CommunicationsServiceProxy.h"

namespace {
struct Channel : ProxyRequest {
    std::string last;
    int sendRequest(const std::string& request, std::string& response) override {
        last = request;
        response = "sfiSuccess";
        return 0;
    }
};
} // namespace

TEST(Smoke, AnswerCallWritesItsRequest) {
    Channel channel;
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);
    EXPECT_EQ(proxy.answerCall("1001", 12), 5);
    EXPECT_EQ(channel.last, "<Method>AnswerCall</Method><Line>1001</Line><CallID>12</CallID>");
}
