#pragma once

// The console's line interpreter: one operation or console command per line, results
// printed in words, expectations checked.
//
//   answerCall 1001 12 => sfiSuccess        an operation, and the result it must give
//   getForwardingConfiguration 0 => sfiSuccess uri=sip:2002   ... and output values
//   await onCallHeldEvent callId=12 [within=MS]               wait for a matching event
//   sim incomingCall 1001 2005                                a simulator control command
//   echo TEXT | help [OPERATION] | quit

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "EventRecorder.h"

namespace console {

class Console {
public:
    using Print = std::function<void(const std::string& line)>;
    using Control = std::function<std::string(const std::string& command)>;

    struct Settings {
        std::chrono::milliseconds awaitTimeout{5000};
        bool echoCommands = false; // print each line before its result, for traces
        // Whether the service can still be reached; unset means always.
        std::function<bool()> connected;
        // Why the service refused the last request, when it says; printed beside the result.
        std::function<std::string()> refusal;
        // Whether the user has asked to stop the await in progress (Ctrl-C at a terminal).
        std::function<bool()> interrupted;
    };

    Console(CommunicationsServiceIfc& service, Executable& subscriber, EventLog& events,
            Control control, Print print, Settings settings);

    // Runs one line; false when it was bad or did not give what it expected.
    bool execute(const std::string& line);
    bool quitRequested() const { return quit; }

    static std::string help();

private:
    bool runOperation(const std::vector<std::string>& words);
    bool await(const std::vector<std::string>& words);
    bool simulate(const std::vector<std::string>& words);
    bool fail(const std::string& message);

    CommunicationsServiceIfc& service;
    Executable& subscriber;
    EventLog& events;
    Control control;
    Print print;
    Settings settings;
    bool quit = false;
    // Where the next await starts looking: the events from the last step that is not one.
    std::size_t awaitFrom = 0;
};

} // namespace console
