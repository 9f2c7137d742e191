// A subscriber that lives in a shared object of its own, as an application's does. Its
// class stays hidden here; the plug-in reaches it only through the Executable it is given
// and the interfaces' type information.

#include <sstream>
#include <string>

#include "CommunicationsService/testing/RecordingSubscriber.h"
#include "RemoteSubscriber.h"

namespace {

class RemoteSubscriber : public communications::testing::RecordingSubscriber {
public:
    std::string described;
};

} // namespace

Executable* createRemoteSubscriber() { return new RemoteSubscriber; }

const char* describeRemoteCalls(Executable* subscriber) {
    auto& remote = dynamic_cast<RemoteSubscriber&>(*subscriber);
    std::ostringstream out;
    for (const auto& call : remote.calls())
        out << call << '\n';
    remote.described = out.str();
    return remote.described.c_str();
}
