// The plug-in built the straightforward way, so that the report can set the library's
// size beside it: the same proxy and factories, and an invoker that reads every field
// with the field readers.

#include "CommunicationsServiceProxy.h"
#include "Straightforward.h"

namespace {

class StraightforwardInvoker : public Invoker {
public:
    void handleMessage(Executable* subscriber, const char* msg, int /*len*/,
                       InvokerResponse* response) override {
        straightforward::handleMessage(subscriber, msg, response);
    }
};

} // namespace

extern "C" FRAMEWORK_API Proxy* createCommunicationsServiceProxy() {
    return new CommunicationsServiceProxy();
}

extern "C" FRAMEWORK_API Invoker* createCommunicationsServiceEventInvoker() {
    return new StraightforwardInvoker();
}
