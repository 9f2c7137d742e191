#pragma once

// A recorded session as the steps of its replay: the requests the application is expected
// to send, in order, and the far end's control commands, each played once the requests
// before it in the record have come. What the simulator answers and sends follows from
// those, as it did when the session was recorded.

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Record.h"

namespace simulator {

struct ReplayStep {
    enum class What { expect, play };

    What what;
    // The request's text, or the control command.
    std::string text;
    // The record's time from the step before to this one.
    std::chrono::milliseconds delay{0};
    // Its line in the record.
    std::size_t line = 0;
    // The answer it got when the session was recorded; none when the record holds none (a
    // line cut short, a session that ended first).
    std::optional<std::string> recordedAnswer;
};

std::vector<ReplayStep> replaySteps(const std::vector<kit::record::Entry>& entries);

// The checking side of a replay, without sockets or clocks.
class ReplayScript {
public:
    explicit ReplayScript(std::vector<ReplayStep> steps);

    // The control commands due now: those before the next expected request, each once.
    std::vector<ReplayStep> duePlays();

    // A request the application sent: nothing when it is the one expected next, otherwise
    // the first divergence, naming the expected and the received request and the record's
    // line.
    std::optional<std::string> received(std::string_view text);

    // Whether every step is done.
    bool finished() const { return next == steps.size(); }

    // What the replay waits for, for a time-out's message.
    std::string awaited() const;

    // The step the last request that came matched.
    const ReplayStep& lastMatched() const { return steps[next - 1]; }

private:
    std::vector<ReplayStep> steps;
    std::size_t next = 0;
};

// "answerCall(line="1001", callId=1)" for a request's text.
std::string describeRequest(std::string_view text);

} // namespace simulator
