#pragma once

#include <string>

#include "framework/Visibility.h"

class Executable;

// The framework's context object. Slots 3 and 4 are framework operations this
// library never calls; findChannel must stay the fifth slot.
class FRAMEWORK_API FrameworkContext {
public:
    virtual ~FrameworkContext() = default;
    virtual void reservedSlot3() {}
    virtual void reservedSlot4() {}
    FRAMEWORK_DEFAULT_BODY virtual std::string findChannel(Executable* /*executable*/) { return {}; }
};

// The request channel handed to Proxy::initProxy. The library calls the operations in
// slots 7, 8, 10, 14 and 17; the reserved slots keep those positions. Every operation
// has a harmless default so that a channel overrides only what it serves.
class FRAMEWORK_API ProxyRequest {
public:
    explicit ProxyRequest(FrameworkContext* owner = nullptr) : context(owner) {}
    virtual ~ProxyRequest() = default;
    virtual void reservedSlot3() {}
    virtual void reservedSlot4() {}
    virtual void reservedSlot5() {}
    virtual void reservedSlot6() {}
    virtual int sendRequest(const std::string& /*request*/, std::string& /*response*/) { return 0; }
    virtual int sendRequestTimed(const std::string& /*request*/, std::string& /*response*/,
                                 int /*timeout*/) {
        return 0;
    }
    virtual void reservedSlot9() {}
    virtual int sendSubscribe(const std::string& /*request*/, std::string& /*response*/,
                              const std::string& /*channelName*/, int /*timeout*/) {
        return 0;
    }
    virtual void reservedSlot11() {}
    virtual void reservedSlot12() {}
    virtual void reservedSlot13() {}
    virtual int sendOneWay(const std::string& /*message*/) { return 0; }
    virtual void reservedSlot15() {}
    virtual void reservedSlot16() {}
    virtual int setProtocol(const std::string& /*protocolName*/) { return 0; }

    // Read by subscribe: must stay the first data member, right behind the table pointer.
    FrameworkContext* context;
};

// Told once that the invoker has handled a message; the notification is the second slot.
class FRAMEWORK_API InvokerResponse {
public:
    virtual void reservedSlot1() {}
    virtual void messageHandled() {}
    virtual ~InvokerResponse() = default;
};
