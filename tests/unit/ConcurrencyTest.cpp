// One invoker and one proxy used by many threads at once, the way a framework that
// delivers events and serves requests from a pool of threads uses them. The tsan preset
// runs this under ThreadSanitizer; everywhere it checks that no thread sees another's data.

#include <atomic>
#include <future>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "CommunicationsService/testing/RecordingSubscriber.h"
#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsServiceProxy.h"

namespace {

using communications::testing::RecordedCall;
using communications::testing::RecordingSubscriber;

constexpr int kThreads = 8;
constexpr int kRounds = 100;

const char* const kResultWords[] = {"sfiFailure",
                                    "sfiFailureCallBackInvalidState",
                                    "sfiFailureCallBackNoCallInfo",
                                    "sfiFailureCallBackToMany",
                                    "sfiFailureCallBackAllreadyExists",
                                    "sfiSuccess"};

std::string between(const std::string& text, const std::string& open, const std::string& close) {
    const std::size_t start = text.find(open);
    if (start == std::string::npos) return "";
    const std::size_t value = start + open.size();
    return text.substr(value, text.find(close, value) - value);
}

// Derives every answer from its request alone, so that each caller can tell whether it got
// the answer to its own request. Only what it keeps is guarded: like a framework channel,
// it serves any number of callers at once.
class ThreadSafeChannel : public ProxyRequest {
public:
    explicit ThreadSafeChannel(FrameworkContext* owner) : ProxyRequest(owner) {}

    int sendRequest(const std::string& request, std::string& response) override {
        const std::string callId = between(request, "<CallID>", "</CallID>");
        const std::string fwType = between(request, "<fwType>", "</fwType>");
        if (!fwType.empty()) {
            response = "<sfiResult>sfiSuccess</sfiResult><status>1</status><uri>sip:" + fwType +
                       "</uri><cfnrRingCount>" + fwType + "</cfnrRingCount>";
        } else if (!callId.empty()) {
            response = kResultWords[std::stoi(callId) % 6];
        } else {
            response = "sfiSuccess";
        }
        return 0;
    }
    int sendSubscribe(const std::string& /*request*/, std::string& response,
                      const std::string& /*channelName*/, int /*timeout*/) override {
        response = "sfiSuccess";
        return 0;
    }
    int sendOneWay(const std::string& message) override {
        const std::lock_guard<std::mutex> lock(mutex);
        posted.insert(message);
        return 0;
    }

    std::mutex mutex;
    std::set<std::string> posted;
};

struct CountingResponse : InvokerResponse {
    void messageHandled() override { ++notified; }
    std::atomic<int> notified{0};
};

struct Worker {
    int index;
    RecordingSubscriber subscriber;
    std::vector<RecordedCall> expectedCalls;
    int wrongAnswers = 0;
};

std::string tagged(const char* tag, const std::string& value) {
    return std::string("<") + tag + ">" + value + "</" + tag + ">";
}

void handleEvents(Invoker& invoker, Worker& worker, int round, InvokerResponse& response) {
    const std::string line = "line" + std::to_string(worker.index);
    const std::string call = std::to_string(round);
    const std::string events[] = {
        "<Method>CallHeldEvent</Method>" + tagged("LineID", line) + tagged("CallID", call),
        "<Method>CallStateChangeEvent</Method>" + tagged("LineID", line) + tagged("CallID", call) +
            tagged("GPUCLG", "sip:" + line),
        "<Method>securityStatusChanged</Method>" + tagged("lineURI", line) +
            tagged("CallIDsRecorded", call + ";" + std::to_string(worker.index) + ";"),
        "<Method>b2buaCSTAResponse</Method>" + tagged("lineURI", line) + tagged("success", "1") +
            "<csta>" + call + "</csta>",
    };
    for (const std::string& event : events) {
        invoker.handleMessage(&worker.subscriber, event.c_str(), int(event.size()), &response);
    }
    worker.expectedCalls.push_back({"onCallHeldEvent", {line, call}});
    worker.expectedCalls.push_back(
        {"onCallStateChangeEvent",
         {line, call, "-1", "-1", "-1",          "",   "",   "", "",     "",   "",  "",
          "0",  "",   "",   "",   "sip:" + line, "-1", "-1", "", "true", "-1", "-1"}});
    worker.expectedCalls.push_back(
        {"onSecurityStatusChanged",
         {line, "-1", "-1", "[" + call + ", " + std::to_string(worker.index) + "]", "[]"}});
    worker.expectedCalls.push_back(
        {"onB2buaCSTAResponse", {line, "true", "<csta>" + call + "</csta>"}});
}

void callOperations(CommunicationsServiceIfc& service, Worker& worker, int round) {
    const std::string line = "line" + std::to_string(worker.index);
    const int callId = worker.index * kRounds + round;
    if (service.answerCall(line, callId) != callId % 6) ++worker.wrongAnswers;

    bool status = false;
    std::string uri;
    int ringCount = 0;
    const int result =
        service.getForwardingConfiguration(sfiForwardingType(callId), status, uri, ringCount);
    if (result != 5 || !status || uri != "sip:" + std::to_string(callId) || ringCount != callId) {
        ++worker.wrongAnswers;
    }

    RecordingSubscriber subscriber;
    if (service.subscribe(&subscriber) != 5) ++worker.wrongAnswers;

    const std::string signalling = line + "/" + std::to_string(round);
    service.processSignallingComponentEvent(signalling.data(), int(signalling.size()));
}

TEST(Concurrency, ManyThreadsShareOneInvokerAndOneProxy) {
    CommunicationsServiceEventInvoker invoker;
    FrameworkContext context;
    ThreadSafeChannel channel(&context);
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);
    CountingResponse response;

    std::vector<Worker> workers(kThreads);
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::vector<std::thread> threads;
    for (int index = 0; index < kThreads; ++index) {
        Worker& worker = workers[index];
        worker.index = index;
        threads.emplace_back([&, started] {
            started.wait();
            for (int round = 0; round < kRounds; ++round) {
                handleEvents(invoker, worker, round, response);
                callOperations(proxy, worker, round);
            }
        });
    }
    start.set_value();
    for (std::thread& thread : threads)
        thread.join();

    for (const Worker& worker : workers) {
        EXPECT_EQ(worker.subscriber.calls(), worker.expectedCalls) << "thread " << worker.index;
        EXPECT_EQ(worker.wrongAnswers, 0) << "thread " << worker.index;
    }
    EXPECT_EQ(response.notified, kThreads * kRounds * 4);
    EXPECT_EQ(channel.posted.size(), std::size_t(kThreads * kRounds));
    EXPECT_TRUE(channel.posted.count("SigEvent:line3/7"));
}

} // namespace
