#include "Replay.h"

namespace simulator {

namespace {

// Time for the answer and the events of the last request to reach the application before
// the simulator ends the session.
constexpr std::chrono::milliseconds kSettle{300};

std::string shown(std::chrono::milliseconds time) {
    return time.count() % 1000 == 0 ? std::to_string(time.count() / 1000) + " s"
                                    : std::to_string(time.count()) + " ms";
}

} // namespace

Replay::Replay(Server& server, std::vector<ReplayStep> steps, bool fast,
               std::chrono::milliseconds timeout, Finish finish)
    : server(server), script(std::move(steps)), fast(fast), timeout(timeout),
      finish(std::move(finish)) {}

void Replay::start() {
    server.watch([this](const Traffic& traffic) { received(traffic); });
    server.takeClientControl([](const std::string&) -> std::optional<std::string> {
        return "ok: not run; the replay plays the record's control commands itself";
    });
    playDue();
}

void Replay::received(const Traffic& traffic) {
    using desktop::wire::FrameKind;
    const FrameKind kind = traffic.frame.kind;
    const auto frame = std::make_pair(traffic.client, traffic.frame.id);
    if (!over && traffic.happening == Traffic::Happening::sent && kind == FrameKind::Answer) {
        const auto asked = answering.find(frame);
        if (asked == answering.end()) return;
        const ReplayStep step = asked->second;
        answering.erase(asked);
        if (step.recordedAnswer && traffic.frame.text != *step.recordedAnswer)
            end(1, "the simulator answered " + describeRequest(step.text) + " with '" +
                       traffic.frame.text + "' where line " + std::to_string(step.line) +
                       " of the record has '" + *step.recordedAnswer +
                       "' (start the simulator with the options of the recorded run)");
        return;
    }
    if (over || traffic.happening != Traffic::Happening::received || traffic.client == 0 ||
        (kind != FrameKind::Request && kind != FrameKind::Subscribe && kind != FrameKind::OneWay))
        return;
    if (const auto divergence = script.received(traffic.frame.text)) return end(1, *divergence);
    if (kind != FrameKind::OneWay) answering[frame] = script.lastMatched();
    ++requests;
    // After the request is handled: the control commands the record has behind it.
    server.after(std::chrono::milliseconds(0), [this] { playDue(); });
}

void Replay::playDue() {
    if (over || playing) return;
    std::vector<ReplayStep> due = script.duePlays();
    if (due.empty()) return awaitNext();
    playing = true;
    play(std::move(due), 0);
}

void Replay::play(std::vector<ReplayStep> due, std::size_t index) {
    if (over) return;
    if (index == due.size()) {
        playing = false;
        return playDue();
    }
    const auto delay = fast ? std::chrono::milliseconds(0) : due[index].delay;
    if (delay > timeout) {
        // The time-out bounds every wait of the session, the record's own pauses too.
        server.after(timeout, [this, step = due[index]] {
            end(1, "time-out: line " + std::to_string(step.line) +
                       " of the record plays the control command '" + step.text + "' " +
                       shown(step.delay) + " after the step before, longer than the time-out of " +
                       shown(timeout) + " (--fast plays it at once)");
        });
        return;
    }
    server.after(delay, [this, due = std::move(due), index]() mutable {
        if (over) return;
        const std::string answer = server.control(due[index].text);
        const auto failed = [](const std::string& text) { return text.rfind("error", 0) == 0; };
        if (failed(answer) && !failed(due[index].recordedAnswer.value_or("")))
            return end(1, "the control command '" + due[index].text + "' at line " +
                              std::to_string(due[index].line) +
                              " of the record failed in this run: " + answer +
                              " (start the simulator with the options of the recorded run)");
        play(std::move(due), index + 1);
    });
}

void Replay::awaitNext() {
    if (script.finished()) {
        server.after(kSettle, [this] {
            end(0, "the whole session matched: " + std::to_string(requests) + " requests");
        });
        return;
    }
    const std::uint64_t current = ++wait;
    const std::size_t before = requests;
    server.after(timeout, [this, current, before] {
        if (over || current != wait || requests != before) return;
        end(1, "time-out: the application sent nothing for " + shown(timeout) + "; expected " +
                   script.awaited());
    });
}

void Replay::end(int status, const std::string& report) {
    if (over) return;
    over = true;
    finish(status, report);
}

} // namespace simulator
