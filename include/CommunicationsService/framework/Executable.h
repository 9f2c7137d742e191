#pragma once

#include "CommunicationsService/framework/Visibility.h"

class FrameworkContext;
class ProxyRequest;
class InvokerResponse;

/// @file
/// The service framework's base classes that the library and its applications derive from.

/// The framework's context of an executable. Opaque to the library: only handed on to
/// Executable::init.
class FRAMEWORK_API Context {
public:
    virtual ~Context() = default;
};

/// Everything the framework runs: the proxy and the applications' subscribers.
/// The framework owns each executable and deletes it through this class.
class FRAMEWORK_API Executable {
public:
    virtual ~Executable() = default;
    /// Called by the framework when it starts the executable, with its @p context.
    virtual void init(Context& context) = 0;
    /// Called by the framework when it stops the executable.
    virtual void shutdown() = 0;
    /// Called by the framework when a timer of the executable expires; does nothing unless
    /// overridden.
    FRAMEWORK_DEFAULT_BODY virtual void timerEvent(int /*timerId*/) {}
};

/// The framework's role of an object that sends requests on a channel; the
/// communications service's proxy is one.
class FRAMEWORK_API Proxy : public Executable {
public:
    /// Does nothing.
    FRAMEWORK_DEFAULT_BODY void init(Context& /*context*/) override {}
    /// Does nothing.
    FRAMEWORK_DEFAULT_BODY void shutdown() override {}
    /// Hands the proxy its request @p channel, which the framework owns and keeps alive for
    /// the proxy's lifetime.
    virtual void initProxy(ProxyRequest& channel) = 0;
};

/// The framework's role of an object that turns event messages into calls of a
/// subscriber; the communications service's event invoker is one.
class FRAMEWORK_API Invoker {
public:
    virtual ~Invoker() = default;
    /// Delivers one event message to @p subscriber and then, unless @p response is null,
    /// tells @p response that the message is handled.
    /// @param subscriber  the executable the event is addressed to.
    /// @param message     the event text, NUL-terminated.
    /// @param length      the text's length as the framework knows it.
    /// @param response    told once the message is handled; may be null.
    virtual void handleMessage(Executable* subscriber, const char* message, int length,
                               InvokerResponse* response) = 0;
    /// Hands the invoker the framework's context; does nothing unless overridden.
    FRAMEWORK_DEFAULT_BODY virtual void initInvoker(FrameworkContext* /*context*/) {}
};
