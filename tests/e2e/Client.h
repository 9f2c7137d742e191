#pragma once

// One client of the simulator as an application has it: the plug-in loaded through the
// host, a recording subscriber, and the host's reports collected.

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/desktop/Host.h"
#include "Console.h"
#include "EventRecorder.h"

namespace kit {

class Client {
public:
    explicit Client(const std::string& socketPath, const std::string& channel = "e2e",
                    std::chrono::milliseconds answerTimeout = std::chrono::seconds(10))
        : recorder([this](const console::RecordedEvent& event) { events.add(event); }) {
        desktop::Host::Options options;
        options.pluginPath = PLUGIN_PATH;
        options.socketPath = socketPath;
        options.answerTimeout = answerTimeout;
        options.report = [this](const std::string& line) {
            std::lock_guard<std::mutex> lock(reportMutex);
            reportLines.push_back(line);
        };
        host = std::make_unique<desktop::Host>(options);
        attached = host->attach(recorder, channel);
    }

    CommunicationsServiceIfc& service() { return host->service(); }
    std::string control(const std::string& command) { return host->channel().control(command); }

    // Runs console lines, with their expectations, and says which one failed; the printed
    // lines are kept in the trace.
    ::testing::AssertionResult run(const std::vector<std::string>& lines) {
        console::Console::Settings settings;
        // Generous, so that a loaded machine (sanitizers, two cores) does not fail a step;
        // a step that succeeds ends as soon as its event arrives.
        settings.awaitTimeout = std::chrono::seconds(20);
        settings.refusal = [this] { return host->channel().refusalOfLastRequest(); };
        console::Console console(
            service(), recorder, events, [this](const std::string& c) { return control(c); },
            [this](const std::string& line) { trace += line + "\n"; }, settings);
        for (const std::string& line : lines) {
            if (!console.execute(line)) {
                return ::testing::AssertionFailure() << "line '" << line << "' failed:\n" << trace;
            }
        }
        return ::testing::AssertionSuccess();
    }

    std::string trace;

    std::vector<std::string> reports() {
        std::lock_guard<std::mutex> lock(reportMutex);
        return reportLines;
    }

private:
    // Declared before the host, which reports into them until it is gone.
    std::mutex reportMutex;
    std::vector<std::string> reportLines;

public:
    console::EventLog events;
    console::EventRecorder recorder;
    std::unique_ptr<desktop::Host> host;
    desktop::Attachment attached;
};

} // namespace kit
