#pragma once

#include "framework/Visibility.h"

class FrameworkContext;
class ProxyRequest;
class InvokerResponse;

// Opaque to the library: only handed on to Executable::init.
class FRAMEWORK_API Context {
public:
    virtual ~Context() = default;
};

// Everything the framework runs: the proxy and the applications' subscribers.
class FRAMEWORK_API Executable {
public:
    virtual ~Executable() = default;
    virtual void init(Context& context) = 0;
    virtual void shutdown() = 0;
    FRAMEWORK_DEFAULT_BODY virtual void timerEvent(int /*timerId*/) {}
};

class FRAMEWORK_API Proxy : public Executable {
public:
    FRAMEWORK_DEFAULT_BODY void init(Context& /*context*/) override {}
    FRAMEWORK_DEFAULT_BODY void shutdown() override {}
    virtual void initProxy(ProxyRequest& channel) = 0;
};

class FRAMEWORK_API Invoker {
public:
    virtual ~Invoker() = default;
    virtual void handleMessage(Executable* subscriber, const char* message, int length,
                               InvokerResponse* response) = 0;
    FRAMEWORK_DEFAULT_BODY virtual void initInvoker(FrameworkContext* /*context*/) {}
};
