#pragma once

/// @file
/// Delivers any of the service's events to a subscriber in one line of a unit test,
/// naming only the arguments the test cares about:
///
/// @code
/// using namespace communications::testing;
/// deliver(app, events::incomingCall, {{"lineId", "1001"}, {"callId", 12}, {"uri", "sip:2005"}});
/// @endcode
///
/// The event is written whole, as the service always sends it, and handed to the plug-in's
/// own event invoker. Every argument the test leaves out takes a neutral value: "" for a
/// text, 0 for a number, false for a flag, 0 for a message counter, an empty list, and a
/// CallPartyInfo record with empty texts.
///
/// deliverWithMissingFields() writes an element for each named argument only, for tests of
/// how an application copes with fields the service left out: each argument left out then
/// arrives as from an event that lacks the field: -1 for a number, "" for a text, true for
/// a flag (so a test of "only when the flag is set" cannot rely on it), 4294967295 for a
/// message counter, an empty list, and a CallPartyInfo record with empty texts.
///
/// Each event is named after its callback without `on` and a final `Event`, starting in
/// lower case: `events::callStateChange` calls `onCallStateChangeEvent`,
/// `events::securityStatusChanged` calls `onSecurityStatusChanged`,
/// `events::b2buaCSTAResponse` calls `onB2buaCSTAResponse`. They are the entries of the
/// protocol's description, `CommunicationsService/protocol/Events.h`.
///
/// Arguments are named as the callback's parameters in CommunicationsServiceEventIfc; the
/// call-state event's record takes the names of its fields instead (`callingParty`,
/// `callingPartyName`, `calledParty`, `calledPartyName`). A name the event does not have,
/// a name given twice, a value of the wrong kind, or a text that holds its own element's
/// end tag throws std::invalid_argument naming the event and what is wrong.
///
/// The CSTA payloads (`cstaResponse`, `cstaMessage`) follow the element they are cut from
/// (`success`, `lineURI`): naming a payload writes that element too, with the value it has
/// when missing, and an event that names neither hands the callback what the phone would.
///
/// The invoker comes from the plug-in the test links: the `testing` component of the CMake
/// package and the CommunicationsService-testing pkg-config module link it, together with
/// the desktop framework it needs.

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "CommunicationsService/desktop/EventText.h"
#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/protocol/Catalogue.h"

/// The plug-in's factory of its event invoker.
extern "C" FRAMEWORK_API Invoker* createCommunicationsServiceEventInvoker();

namespace communications::testing {

/// The 28 events by name, as the protocol describes them (events::incomingCall,
/// events::callStateChange, ...), for deliver() and writeEvent().
namespace events = ::CommunicationsService::protocol::events;

/// One argument of an event: its name and its value. Written in braces, `{"callId", 12}`.
using desktop::EventArgument;

namespace detail {

// The catalogue's row of a described event.
template <typename Event>
const CommunicationsService::protocol::catalogue::Event& rowOf(const Event& event) {
    return *CommunicationsService::protocol::catalogue::eventNamed(event.name);
}

template <typename Event>
void deliver(Executable& subscriber, const Event& event,
             const std::vector<EventArgument>& arguments, bool whole);

} // namespace detail

/// The whole text of the event, as deliver() hands it to the invoker. Throws
/// std::invalid_argument as described for this file.
template <typename Event>
std::string writeEvent(const Event& event, std::initializer_list<EventArgument> arguments = {}) {
    return desktop::writeEventText(detail::rowOf(event), arguments, true);
}

/// The whole text of the event from arguments gathered at run time, as writeEvent().
template <typename Event>
std::string writeEventFrom(const Event& event, const std::vector<EventArgument>& arguments) {
    return desktop::writeEventText(detail::rowOf(event), arguments, true);
}

/// The text of the event with elements for the named arguments only, as
/// deliverWithMissingFields() hands it to the invoker.
template <typename Event>
std::string writeEventWithMissingFields(const Event& event,
                                        std::initializer_list<EventArgument> arguments = {}) {
    return desktop::writeEventText(detail::rowOf(event), arguments, false);
}

/// The plug-in's event invoker, created once through its factory.
inline Invoker& eventInvoker() {
    static const std::unique_ptr<Invoker> invoker(createCommunicationsServiceEventInvoker());
    return *invoker;
}

template <typename Event>
void detail::deliver(Executable& subscriber, const Event& event,
                     const std::vector<EventArgument>& arguments, bool whole) {
    const std::string message = desktop::writeEventText(rowOf(event), arguments, whole);
    eventInvoker().handleMessage(&subscriber, message.c_str(), static_cast<int>(message.size()),
                                 nullptr);
}

/// Delivers the whole event to @p subscriber through the plug-in's invoker, on the calling
/// thread, as the framework delivers the service's events; arguments left out take neutral
/// values. @p subscriber must also derive from CommunicationsServiceEventIfc.
template <typename Event>
void deliver(Executable& subscriber, const Event& event,
             std::initializer_list<EventArgument> arguments = {}) {
    detail::deliver(subscriber, event, arguments, true);
}

/// Delivers the event with elements for the named arguments only, so that the others
/// arrive as the invoker reads missing fields; otherwise as deliver().
template <typename Event>
void deliverWithMissingFields(Executable& subscriber, const Event& event,
                              std::initializer_list<EventArgument> arguments = {}) {
    detail::deliver(subscriber, event, arguments, false);
}

} // namespace communications::testing
