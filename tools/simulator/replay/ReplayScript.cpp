#include "ReplayScript.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <utility>

#include "CommunicationsService/desktop/Trace.h"

namespace simulator {

namespace {

bool isRequest(const kit::record::Entry& entry) {
    return entry.client != 0 && entry.direction == "in" &&
           (entry.kind == kit::record::kindWord(desktop::wire::FrameKind::Request) ||
            entry.kind == kit::record::kindWord(desktop::wire::FrameKind::Subscribe) ||
            entry.kind == kit::record::kindWord(desktop::wire::FrameKind::OneWay));
}

bool isControl(const kit::record::Entry& entry) {
    return entry.direction == "in" &&
           entry.kind == kit::record::kindWord(desktop::wire::FrameKind::Control);
}

} // namespace

std::string describeRequest(std::string_view text) {
    return desktop::trace::request(std::string(text));
}

std::vector<ReplayStep> replaySteps(const std::vector<kit::record::Entry>& entries) {
    std::vector<ReplayStep> steps;
    // The steps still without their recorded answer, by client and frame id: an answer is
    // the first one after its request with both, found in the same pass.
    std::map<std::pair<int, std::uint32_t>, std::vector<std::size_t>> unanswered;
    const kit::record::Entry* before = nullptr;
    for (const kit::record::Entry& entry : entries) {
        if (entry.kind == kit::record::kindWord(desktop::wire::FrameKind::Answer)) {
            const auto waiting = unanswered.find({entry.client, entry.id});
            if (waiting == unanswered.end()) continue;
            for (const std::size_t step : waiting->second)
                steps[step].recordedAnswer = entry.text;
            unanswered.erase(waiting);
            continue;
        }
        const bool request = isRequest(entry);
        if (!request && !isControl(entry)) continue;
        const auto delay =
            before == nullptr
                ? std::chrono::milliseconds(0)
                : std::chrono::duration_cast<std::chrono::milliseconds>(
                      std::max(entry.time - before->time, kit::record::Clock::duration::zero()));
        steps.push_back({request ? ReplayStep::What::expect : ReplayStep::What::play,
                         entry.text,
                         delay,
                         entry.lineNumber,
                         {}});
        if (entry.kind != kit::record::kindWord(desktop::wire::FrameKind::OneWay))
            unanswered[{entry.client, entry.id}].push_back(steps.size() - 1);
        before = &entry;
    }
    return steps;
}

ReplayScript::ReplayScript(std::vector<ReplayStep> steps) : steps(std::move(steps)) {}

std::vector<ReplayStep> ReplayScript::duePlays() {
    std::vector<ReplayStep> due;
    while (next < steps.size() && steps[next].what == ReplayStep::What::play)
        due.push_back(steps[next++]);
    return due;
}

std::optional<std::string> ReplayScript::received(std::string_view text) {
    if (next == steps.size())
        return "the application sent " + describeRequest(text) +
               " after the last request of the record";
    const ReplayStep& expected = steps[next];
    if (expected.what != ReplayStep::What::expect || expected.text != text) {
        return "first divergence at line " + std::to_string(expected.line) +
               " of the record: expected " +
               (expected.what == ReplayStep::What::expect
                    ? describeRequest(expected.text)
                    : "the control command '" + expected.text + "' first") +
               ", received " + describeRequest(text);
    }
    ++next;
    return std::nullopt;
}

std::string ReplayScript::awaited() const {
    if (next == steps.size()) return "nothing more";
    const ReplayStep& step = steps[next];
    return (step.what == ReplayStep::What::expect ? describeRequest(step.text)
                                                  : "control command '" + step.text + "'") +
           " (line " + std::to_string(step.line) + " of the record)";
}

} // namespace simulator
