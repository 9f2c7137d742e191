// An application run on a desktop against the service simulator: it loads the installed
// plug-in through the desktop host, which starts the application (it activates and
// subscribes), has the simulator ring line 1001, answers the call from its callback and
// waits until the call is connected.
//
//   answer-on-simulator [SOCKET]
//
// Exits 0 once the call it answered is connected, 1 when that does not happen within five
// seconds, 2 when the plug-in or the simulator cannot be reached.

#include <chrono>
#include <exception>
#include <iostream>
#include <string>

#include "Answerer.h"

int main(int argc, char** argv) {
    desktop::Host::Options options;
    options.pluginPath = PLUGIN_PATH;
    if (argc > 1) options.socketPath = argv[1];
    try {
        desktop::Host host(options);
        Answerer app(host.service());
        // Ends first, so the host delivers nothing to the application once it is gone.
        // Attaching starts the application: its init() activates and subscribes.
        const desktop::Attachment attached = host.attach(app, "answer-on-simulator");
        if (!app.startedWell()) {
            std::cerr << "answer-on-simulator: the service refused activate or subscribe\n";
            return 2;
        }
        // What a caller would do: a control command has the simulator ring the line.
        if (host.channel().control("incomingCall 1001 2005 Erik Fischer").rfind("ok", 0) != 0) {
            std::cerr << "answer-on-simulator: the simulator did not ring line 1001\n";
            return 2;
        }
        const int callId = app.awaitConnected(std::chrono::seconds(5));
        if (callId == -1) {
            std::cerr << "answer-on-simulator: no answered call was connected\n";
            return 1;
        }
        host.service().callClear("1001", callId, CSTAEventCauseNormalClearing);
        std::cout << "call " << callId << " answered and connected" << std::endl;
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "answer-on-simulator: " << error.what() << "\n";
        return 2;
    }
}
