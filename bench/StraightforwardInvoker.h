#pragma once

#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsService/framework/Executable.h"

namespace bench {

// handleMessage the straightforward way: the library's dispatch, handlers and callbacks,
// with every field read by the invoker's member readers through tag strings built for it,
// so that each field is searched from position 0 of a copy of the message.
class StraightforwardInvoker : public Invoker {
public:
    void handleMessage(Executable* subscriber, const char* msg, int len,
                       InvokerResponse* response) override;

private:
    CommunicationsServiceEventInvoker readers;
};

} // namespace bench
