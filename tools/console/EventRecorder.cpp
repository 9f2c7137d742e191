#include "EventRecorder.h"

#include <algorithm>
#include <utility>

#include "CommunicationsService/desktop/Printable.h"
#include "CommunicationsService/desktop/SimulatorCodes.h"
#include "ControlWords.h"

namespace console {

std::optional<std::string> argumentOf(const RecordedEvent& event, const std::string& name) {
    for (const NamedValue& entry : event.arguments) {
        if (entry.name == name) return entry.value;
    }
    return std::nullopt;
}

std::string displayValue(const std::string& value) {
    // The service's bytes, and long ones cut, so that no value can steer the terminal.
    const std::string shown = desktop::printable(value);
    if (!shown.empty() && shown.find_first_of(" \"") == std::string::npos) return shown;
    std::string quoted = "\"";
    for (const char byte : shown) {
        if (byte == '"') quoted.push_back('\\');
        quoted.push_back(byte);
    }
    return quoted + "\"";
}

std::string describe(const RecordedEvent& event) {
    std::string text = event.callback;
    for (const NamedValue& entry : event.arguments) {
        const std::optional<int> state = kit::toInt(entry.value);
        const std::string_view name = entry.name == "callState" && state
                                          ? desktop::simulator::callStateName(*state)
                                          : std::string_view();
        text += " " + entry.name + "=" +
                (!name.empty() ? std::string(name) : displayValue(entry.value));
    }
    return text;
}

void EventLog::add(const RecordedEvent& event) {
    {
        std::lock_guard<std::mutex> lock(mutex);
        events.push_back(event);
        taken.push_back(false);
    }
    arrived.notify_all();
}

std::optional<RecordedEvent> EventLog::await(const std::string& callback,
                                             const std::vector<NamedValue>& expected,
                                             std::chrono::milliseconds timeout,
                                             const std::function<bool()>& cancelled,
                                             std::size_t from) {
    auto matches = [&](const RecordedEvent& event) {
        if (event.callback != callback) return false;
        for (const NamedValue& wanted : expected) {
            if (argumentOf(event, wanted.name) != wanted.value) return false;
        }
        return true;
    };
    std::unique_lock<std::mutex> lock(mutex);
    std::size_t found = events.size();
    auto search = [&] {
        for (std::size_t i = from; i < events.size(); ++i) {
            if (!taken[i] && matches(events[i])) {
                found = i;
                return true;
            }
        }
        return false;
    };
    constexpr std::chrono::milliseconds kCancelCheck{50};
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!search()) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline || (cancelled && cancelled())) return std::nullopt;
        arrived.wait_until(lock, std::min(deadline, now + kCancelCheck));
    }
    taken[found] = true;
    return events[found];
}

std::size_t EventLog::size() const {
    std::lock_guard<std::mutex> lock(mutex);
    return events.size();
}

std::vector<RecordedEvent> EventLog::all() const {
    std::lock_guard<std::mutex> lock(mutex);
    return events;
}

} // namespace console
