#pragma once

/// @file
/// A request channel that answers every request at once with one text, so that a test can
/// drive the plug-in's real proxy with the service's answer of its choice:
///
/// @code
/// desktop::CannedChannel channel(answer); // the service's text
/// proxy->initProxy(channel);
/// EXPECT_EQ(app.holdTheCall(), sfiSuccess);
/// @endcode

#include <string>
#include <utility>

#include "CommunicationsService/framework/ProxyRequest.h"

namespace desktop {

/// Answers every request, timed request and subscription with `answer`; one-way messages
/// are taken and dropped.
class CannedChannel : public ProxyRequest {
public:
    /// A channel that answers with @p answer, owned by @p context (a subscription asks the
    /// context for its event channel); without one, every subscriber's channel is unnamed.
    explicit CannedChannel(std::string answer = {}, FrameworkContext* context = nullptr)
        : ProxyRequest(context != nullptr ? context : &unnamedChannels()),
          answer(std::move(answer)) {}

    /// Answers with #answer.
    int sendRequest(const std::string&, std::string& response) override {
        response = answer;
        return 0;
    }
    /// Answers with #answer at once, whatever the time-out.
    int sendRequestTimed(const std::string&, std::string& response, int) override {
        response = answer;
        return 0;
    }
    /// Answers with #answer.
    int sendSubscribe(const std::string&, std::string& response, const std::string&, int) override {
        response = answer;
        return 0;
    }
    /// Takes the message and drops it.
    int sendOneWay(const std::string&) override { return 0; }

    /// What every request is answered with.
    std::string answer;

private:
    // The framework's context whose channels have no names; it holds no state.
    static FrameworkContext& unnamedChannels() {
        static FrameworkContext context;
        return context;
    }
};

} // namespace desktop
