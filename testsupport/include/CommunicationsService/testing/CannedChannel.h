#pragma once

/// @file
/// The desktop kit's canned channel under the test support's name, for tests written
/// against 1.3; new code includes CommunicationsService/desktop/CannedChannel.h.

#include "CommunicationsService/desktop/CannedChannel.h"

namespace communications::testing {

using desktop::CannedChannel;

} // namespace communications::testing
