#pragma once

#include <string>

#include "CommunicationsService/framework/Visibility.h"

class Executable;

/// @file
/// The service framework's channel, context and response objects that the library uses.

/// The framework's context object. Slots 3 and 4 are framework operations this
/// library never calls; findChannel must stay the fifth slot.
class FRAMEWORK_API FrameworkContext {
public:
    virtual ~FrameworkContext() = default;
    /// A framework operation that the library does not use.
    virtual void reservedSlot3() {}
    /// A framework operation that the library does not use.
    virtual void reservedSlot4() {}
    /// Names the channel on which @p executable receives messages; the empty text unless a
    /// framework overrides it.
    FRAMEWORK_DEFAULT_BODY virtual std::string findChannel(Executable* /*executable*/) {
        return {};
    }
};

/// The request channel handed to Proxy::initProxy. The library calls the operations in
/// slots 7, 8, 10, 14 and 17; the reserved slots keep those positions. Every operation
/// has a harmless default so that a channel overrides only what it serves.
///
/// The results of the send operations are the framework's; the library never reads them.
class FRAMEWORK_API ProxyRequest {
public:
    /// A channel that belongs to the framework context @p owner.
    explicit ProxyRequest(FrameworkContext* owner = nullptr) : context(owner) {}
    virtual ~ProxyRequest() = default;
    /// A framework operation that the library does not use.
    virtual void reservedSlot3() {}
    /// A framework operation that the library does not use.
    virtual void reservedSlot4() {}
    /// A framework operation that the library does not use.
    virtual void reservedSlot5() {}
    /// A framework operation that the library does not use.
    virtual void reservedSlot6() {}
    /// Delivers a request to the service, waits for its answer and leaves the answer text
    /// in the response.
    virtual int sendRequest(const std::string& /*request*/, std::string& /*response*/) { return 0; }
    /// Like sendRequest, waiting at most the time-out, in the framework's unit.
    virtual int sendRequestTimed(const std::string& /*request*/, std::string& /*response*/,
                                 int /*timeout*/) {
        return 0;
    }
    /// A framework operation that the library does not use.
    virtual void reservedSlot9() {}
    /// Registers the subscriber reachable on the named channel for the service's events,
    /// waiting at most the time-out, and leaves the service's answer in the response.
    virtual int sendSubscribe(const std::string& /*request*/, std::string& /*response*/,
                              const std::string& /*channelName*/, int /*timeout*/) {
        return 0;
    }
    /// A framework operation that the library does not use.
    virtual void reservedSlot11() {}
    /// A framework operation that the library does not use.
    virtual void reservedSlot12() {}
    /// A framework operation that the library does not use.
    virtual void reservedSlot13() {}
    /// Posts a message to the service without waiting for an answer.
    virtual int sendOneWay(const std::string& /*message*/) { return 0; }
    /// A framework operation that the library does not use.
    virtual void reservedSlot15() {}
    /// A framework operation that the library does not use.
    virtual void reservedSlot16() {}
    /// Binds the channel to the named service protocol.
    virtual int setProtocol(const std::string& /*protocolName*/) { return 0; }

    /// The framework context that owns the channel. Read by subscribe: must stay the first
    /// data member, right behind the table pointer.
    FrameworkContext* context;
};

/// Told once that the invoker has handled a message; the notification is the second slot.
class FRAMEWORK_API InvokerResponse {
public:
    /// A framework operation that the library does not use.
    virtual void reservedSlot1() {}
    /// Called once an event message has been handled.
    virtual void messageHandled() {}
    virtual ~InvokerResponse() = default;
};
