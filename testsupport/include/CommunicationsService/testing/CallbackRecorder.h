#pragma once

/// @file
/// The desktop kit's callback recorder under the names the test support gave it up to 1.3;
/// include CommunicationsService/desktop/CallbackRecorder.h and use the names of namespace
/// desktop instead.

#include <string>
#include <string_view>

#include "CommunicationsService/desktop/CallbackRecorder.h"
#include "CommunicationsService/testing/RecordingSubscriber.h"

namespace communications::testing {

/// Deprecated: desktop::CallbackArguments.
using CallbackArguments [[deprecated("use desktop::CallbackArguments")]] =
    desktop::CallbackArguments;
/// Deprecated: desktop::CallbackRecorder.
using CallbackRecorder [[deprecated("use desktop::CallbackRecorder")]] = desktop::CallbackRecorder;
/// Deprecated: desktop::NamedCall.
using NamedCall [[deprecated("use desktop::NamedCall")]] = desktop::NamedCall;
/// Deprecated: desktop::NamedValue.
using NamedValue [[deprecated("use desktop::NamedValue")]] = desktop::NamedValue;
using desktop::fieldText;
using desktop::kPartyFieldNames;
using desktop::recordedCallbacks;

/// The callback of an event method, such as "onCallHeldEvent" for "CallHeldEvent".
[[deprecated(
    "use the event's name in CommunicationsService/protocol/Catalogue.h")]] inline std::string
callbackName(std::string_view method) {
    const auto* event = CommunicationsService::protocol::catalogue::eventSelectedBy(method);
    return event != nullptr ? std::string(event->name) : "on" + std::string(method);
}

} // namespace communications::testing
