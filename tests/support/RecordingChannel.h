#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "CommunicationsService/framework/ProxyRequest.h"

namespace testsupport {

// A request channel that records each use of the five operations the proxy relies on and
// answers with a preset text. The answer either replaces what the proxy put into the
// response string or is appended to it, as some framework channels do.
class RecordingChannel : public ProxyRequest {
public:
    enum class Operation { SendRequest, SendRequestTimed, SendSubscribe, SendOneWay, SetProtocol };
    enum class Answering { Replaces, Appends };

    struct Call {
        Operation operation;
        std::string text; // request, one-way message or protocol name
        std::string responseOnEntry;
        std::string channelName;
        int timeout = -1;
    };

    explicit RecordingChannel(std::string answerText = "",
                              Answering answering = Answering::Replaces,
                              FrameworkContext* owner = nullptr)
        : answer(std::move(answerText)), mode(answering) {
        context = owner != nullptr ? owner : &defaultContext;
    }
    RecordingChannel(const RecordingChannel&) = delete;
    RecordingChannel& operator=(const RecordingChannel&) = delete;

    int sendRequest(const std::string& request, std::string& response) override {
        record({Operation::SendRequest, request, response, {}, -1}, response);
        return 0;
    }
    int sendRequestTimed(const std::string& request, std::string& response, int timeout) override {
        record({Operation::SendRequestTimed, request, response, {}, timeout}, response);
        return 0;
    }
    int sendSubscribe(const std::string& request, std::string& response,
                      const std::string& channelName, int timeout) override {
        record({Operation::SendSubscribe, request, response, channelName, timeout}, response);
        return 0;
    }
    int sendOneWay(const std::string& message) override {
        calls.push_back({Operation::SendOneWay, message, {}, {}, -1});
        if (onCall) onCall(calls.back());
        return 0;
    }
    int setProtocol(const std::string& protocolName) override {
        calls.push_back({Operation::SetProtocol, protocolName, {}, {}, -1});
        return 0;
    }

    std::string answer;
    Answering mode;
    std::vector<Call> calls;
    // Runs after a send has been recorded and before it is answered; may throw.
    std::function<void(const Call&)> onCall;

private:
    void record(Call call, std::string& response) {
        calls.push_back(std::move(call));
        if (onCall) onCall(calls.back());
        if (mode == Answering::Appends) {
            response += answer;
        } else {
            response = answer;
        }
    }

    FrameworkContext defaultContext;
};

inline std::ostream& operator<<(std::ostream& out, RecordingChannel::Operation operation) {
    static const char* const names[] = {"sendRequest", "sendRequestTimed", "sendSubscribe",
                                        "sendOneWay", "setProtocol"};
    return out << names[static_cast<int>(operation)];
}

} // namespace testsupport
