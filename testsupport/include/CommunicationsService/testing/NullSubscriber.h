#pragma once

#include "CommunicationsService/CommunicationsServiceEventAdapter.h"
#include "CommunicationsService/framework/Executable.h"

namespace communications::testing {

/// A subscriber that receives every event and does nothing with it: for benchmarks, and
/// for tests that only need a subscriber to exist.
class NullSubscriber : public Executable, public CommunicationsServiceEventAdapter {
public:
    void init(Context&) override {}
    void shutdown() override {}
};

} // namespace communications::testing
