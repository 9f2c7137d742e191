#pragma once

/// @file
/// A subscriber that records every callback it receives, for tests that check which events
/// reach a subscriber and with which arguments.

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "CommunicationsService/desktop/CallbackRecorder.h"

namespace communications::testing {

// The texts arguments are recorded as, for writing expected values of the same shape.
using desktop::toText;
using desktop::toTexts;

/// One callback as it arrived: its name and its arguments as texts, in order.
struct RecordedCall {
    std::string callback;               ///< the callback's name, such as "onCallHeldEvent"
    std::vector<std::string> arguments; ///< its arguments as desktop::toText() writes them
};

/// Whether two calls have the same callback and the same argument texts.
inline bool operator==(const RecordedCall& left, const RecordedCall& right) {
    return left.callback == right.callback && left.arguments == right.arguments;
}

/// Whether two calls differ in callback or in an argument text.
inline bool operator!=(const RecordedCall& left, const RecordedCall& right) {
    return !(left == right);
}

/// Prints `onCallHeldEvent("L1", "7")`; test frameworks use it in their failure messages.
inline std::ostream& operator<<(std::ostream& out, const RecordedCall& call) {
    out << call.callback << '(';
    for (std::size_t i = 0; i < call.arguments.size(); ++i) {
        out << (i == 0 ? "" : ", ") << '"' << call.arguments[i] << '"';
    }
    return out << ')';
}

/// @brief A subscriber that records every callback it receives as a RecordedCall.
///
/// For tests that check what reaches a subscriber: an application's tests against the
/// simulator through the desktop host, tests of an application's own source of events
/// (a relay, a replay of a trace), or, with deliver(), of what an event turns into:
///
/// @code
/// communications::testing::RecordingSubscriber subscriber;
/// deliver(subscriber, events::callHeld, {{"lineId", "1001"}, {"callId", 7}});
/// EXPECT_EQ(subscriber.calls().at(0), (RecordedCall{"onCallHeldEvent", {"1001", "7"}}));
/// @endcode
///
/// The call-state event's CallPartyInfo is recorded as the nine texts of desktop::toTexts() in
/// place of the pointer. Every callback is virtual, so a test can derive from this class
/// to throw, to change a payload or to look at a record before it is released. Callbacks
/// are recorded without a lock: read calls() on the delivering thread, or after delivery
/// has stopped.
class RecordingSubscriber : public desktop::CallbackRecorder {
public:
    /// Every callback received so far, oldest first.
    const std::vector<RecordedCall>& calls() const { return received; }

    /// Only the callback names, for tests that care which callbacks ran.
    std::vector<std::string> callbackNames() const {
        std::vector<std::string> names;
        for (const RecordedCall& call : received)
            names.push_back(call.callback);
        return names;
    }

    /// Forgets the calls recorded so far.
    void clear() { received.clear(); }

protected:
    /// Keeps the call's argument texts, without their names.
    void recorded(desktop::NamedCall call) override {
        RecordedCall texts{std::move(call.callback), {}};
        for (desktop::NamedValue& argument : call.arguments)
            texts.arguments.push_back(std::move(argument.value));
        received.push_back(std::move(texts));
    }

private:
    std::vector<RecordedCall> received;
};

} // namespace communications::testing
