#pragma once

// The console's sink for callbacks: each arrives as a named record of its arguments, is
// printed, and goes into a log that scripts can wait on.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "CommunicationsService/desktop/CallbackRecorder.h"

namespace console {

using desktop::NamedValue;
using RecordedEvent = desktop::NamedCall;

// The value of the event's named argument, or nothing.
std::optional<std::string> argumentOf(const RecordedEvent& event, const std::string& name);

// "onCallHeldEvent lineId=1001 callId=3"; values with blanks are quoted, and call states
// carry their names: "callState=4 (connected)".
std::string describe(const RecordedEvent& event);

// Shows a value the way the console prints it: escaped and cut like any peer's text, and
// quoted when empty or holding blanks.
std::string displayValue(const std::string& value);

class EventRecorder : public desktop::CallbackRecorder {
public:
    using Sink = std::function<void(const RecordedEvent& event)>;
    explicit EventRecorder(Sink sink) : sink(std::move(sink)) {}

protected:
    void recorded(RecordedEvent event) override { sink(event); }

private:
    Sink sink;
};

// Every event that arrived, for waiting on one that matches.
class EventLog {
public:
    void add(const RecordedEvent& event);

    // Waits for an event of the callback whose arguments hold the given values, among the
    // events from number `from` on, and takes it out of the log so that the next wait needs
    // another one. Gives up early once cancelled (asked every 50 ms) says so.
    std::optional<RecordedEvent> await(const std::string& callback,
                                       const std::vector<NamedValue>& expected,
                                       std::chrono::milliseconds timeout,
                                       const std::function<bool()>& cancelled = {},
                                       std::size_t from = 0);

    // How many events have arrived.
    std::size_t size() const;

    std::vector<RecordedEvent> all() const;

private:
    mutable std::mutex mutex;
    std::condition_variable arrived;
    std::vector<RecordedEvent> events;
    std::vector<bool> taken;
};

} // namespace console
