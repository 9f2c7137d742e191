// The plug-in's entry points. The framework looks the two factories up by their plain
// names after loading the library and owns what they return. The framework's default
// bodies (Executable::timerEvent, Proxy::init and shutdown, Invoker::initInvoker,
// FrameworkContext::findChannel) come from its headers and are emitted here with them.
// The version function tells hosts and applications which build they loaded.

#include "CommunicationsService/Version.h"
#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsServiceProxy.h"

extern "C" FRAMEWORK_API Proxy* createCommunicationsServiceProxy() {
    return new CommunicationsServiceProxy();
}

extern "C" FRAMEWORK_API Invoker* createCommunicationsServiceEventInvoker() {
    return new CommunicationsServiceEventInvoker();
}

extern "C" FRAMEWORK_API const char* communicationsServiceVersion() {
    return COMMUNICATIONS_SERVICE_VERSION;
}
