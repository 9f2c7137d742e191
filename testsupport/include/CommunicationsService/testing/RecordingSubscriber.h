#pragma once

// A subscriber for unit tests that records every callback it receives, so that a test can
// compare whole calls ("onCallHeldEvent" with "L1" and "7") against rows of a table.
//
//     communications::testing::RecordingSubscriber subscriber;
//     invoker.handleMessage(&subscriber, text, 0, nullptr);
//     EXPECT_EQ(subscriber.calls().at(0), (RecordedCall{"onCallHeldEvent", {"L1", "7"}}));
//
// Arguments are kept as texts: numbers in decimal, flags as "true" or "false", strings as
// they are, lists as [1, 2] or ["a", "b"], and a CallPartyInfo as the texts of its nine
// fields in order. Every callback is virtual, so a test can derive from this class to
// throw, to change a payload or to look at a record before it is released.

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "CommunicationsService/testing/CallbackRecorder.h"

namespace communications::testing {

// One callback as it arrived: its name and its arguments as texts, in order.
struct RecordedCall {
    std::string callback;
    std::vector<std::string> arguments;
};

inline bool operator==(const RecordedCall& left, const RecordedCall& right) {
    return left.callback == right.callback && left.arguments == right.arguments;
}

inline bool operator!=(const RecordedCall& left, const RecordedCall& right) {
    return !(left == right);
}

// Prints onCallHeldEvent("L1", "7"); test frameworks use it in their failure messages.
inline std::ostream& operator<<(std::ostream& out, const RecordedCall& call) {
    out << call.callback << '(';
    for (std::size_t i = 0; i < call.arguments.size(); ++i) {
        out << (i == 0 ? "" : ", ") << '"' << call.arguments[i] << '"';
    }
    return out << ')';
}

class RecordingSubscriber : public CallbackRecorder {
public:
    // Every callback received so far, oldest first.
    const std::vector<RecordedCall>& calls() const { return received; }

    // Only the callback names, for tests that care which callbacks ran.
    std::vector<std::string> callbackNames() const {
        std::vector<std::string> names;
        for (const RecordedCall& call : received)
            names.push_back(call.callback);
        return names;
    }

    void clear() { received.clear(); }

protected:
    void recorded(NamedCall call) override {
        RecordedCall texts{std::move(call.callback), {}};
        for (NamedValue& argument : call.arguments)
            texts.arguments.push_back(std::move(argument.value));
        received.push_back(std::move(texts));
    }

private:
    std::vector<RecordedCall> received;
};

} // namespace communications::testing
