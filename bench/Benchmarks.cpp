// Measures the library's event and request paths against their references and writes the
// figures side by side: a table on standard output, results.md and results.png.

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <pugixml.hpp>

#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>

#include "AllocationCounter.h"
#include "CommunicationsService/framework/Utilities.h"
#include "CommunicationsService/testing/NullSubscriber.h"
#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsServiceProxy.h"
#include "EventFloor.h"
#include "EventMessages.h"
#include "PlainInvoker.h"
#include "References.h"
#include "Report.h"

namespace {

using bench::Event;

class NamingContext : public FrameworkContext {
public:
    std::string findChannel(Executable*) override { return "events.7"; }
};

// The in-memory channel: every request is answered at once with one canned text.
class CannedChannel : public ProxyRequest {
public:
    CannedChannel(FrameworkContext& context, std::string answer)
        : ProxyRequest(&context), answer(std::move(answer)) {}
    int sendRequest(const std::string&, std::string& response) override {
        response = answer;
        return 0;
    }
    int sendRequestTimed(const std::string&, std::string& response, int) override {
        response = answer;
        return 0;
    }
    int sendSubscribe(const std::string&, std::string& response, const std::string&, int) override {
        response = answer;
        return 0;
    }
    int sendOneWay(const std::string&) override { return 0; }

private:
    std::string answer;
};

struct Scenario {
    std::string name;
    std::function<void()> run;
};

std::vector<Scenario> scenarios;
bench::Results results;

template <typename Operation> void add(const std::string& name, Operation operation) {
    benchmark::RegisterBenchmark(name.c_str(), [operation](benchmark::State& state) mutable {
        for (auto _ : state)
            operation();
    });
    scenarios.push_back({name, operation});
}

communications::testing::NullSubscriber subscriber;
InvokerResponse noticed;
CommunicationsServiceEventInvoker invoker;
NamingContext context;

void addEvents() {
    for (const Event& event : bench::events()) {
        results.eventNames.push_back(event.method);
        const char* const message = event.message.c_str();
        const int length = static_cast<int>(event.message.size());
        add("event/" + event.method,
            [message, length] { invoker.handleMessage(&subscriber, message, length, &noticed); });
        add("straightforward/" + event.method,
            [message] { plain::handleMessage(&subscriber, message, &noticed); });
        auto floor = std::make_shared<bench::EventFloor>(event.message);
        add("floor/" + event.method,
            [floor, message] { floor->deliver(&subscriber, message, &noticed); });
    }
    const Event& callState = bench::callStateEvent();
    static const std::string wrapped = "<root>" + callState.message + "</root>";
    pugi::xml_document check;
    if (!check.load_buffer(wrapped.data(), wrapped.size())) {
        throw std::logic_error("pugixml cannot parse the call-state event");
    }
    add("pugixml/" + callState.method,
        [&callState] { benchmark::DoNotOptimize(bench::readWithPugixml(wrapped, callState)); });
    add("scan/" + callState.method,
        [&callState] { benchmark::DoNotOptimize(bench::countOpenings(callState.message)); });
}

// Every operation through its own proxy and channel, so that each has its canned answer.
CommunicationsServiceIfc& serviceAnswering(std::string answer) {
    struct Service {
        CannedChannel channel;
        CommunicationsServiceProxy proxy;
    };
    static std::vector<std::unique_ptr<Service>> services;
    services.push_back(
        std::unique_ptr<Service>(new Service{CannedChannel(context, std::move(answer)), {}}));
    services.back()->proxy.initProxy(services.back()->channel);
    return services.back()->proxy;
}

template <typename Operation>
void addRequest(const std::string& operation, const std::string& answer, Operation call) {
    results.operationNames.push_back(operation);
    CommunicationsServiceIfc* service = &serviceAnswering(answer);
    add("request/" + operation, [service, call] { benchmark::DoNotOptimize(call(*service)); });
    const bool sendsRequest =
        operation != "csCommunicationsService" && operation != "activateStoredFwd";
    const bool longAnswer = answer.size() > std::string().capacity();
    results.budgets["request/" + operation] = (sendsRequest ? 1 : 0) + (longAnswer ? 1 : 0);
}

std::string devicesAnswer() {
    std::string answer;
    for (int device = 0; device < 50; ++device)
        answer += "<sip:" + std::to_string(1001 + device) + "@pbx>";
    return answer;
}

const std::string kLine = "sip:1001@pbx";
const std::string kCsta =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><MakeCall "
    "xmlns=\"http://www.ecma-international.org/standards/ecma-323/csta/ed4\"><callingDevice>"
    "sip:1001@pbx.example.com</callingDevice><calledDirectoryNumber>sip:2002@pbx.example.com"
    "</calledDirectoryNumber><autoOriginate>doNotPrompt</autoOriginate></MakeCall>";
const std::string kSuccess = "sfiSuccess";

void addRequests() {
    static const std::string signalling(120, 'S');
    addRequest("processSignallingComponentEvent", kSuccess, [](CommunicationsServiceIfc& s) {
        s.processSignallingComponentEvent(signalling.data(), static_cast<int>(signalling.size()));
        return 0;
    });
    addRequest("activate", kSuccess, [](CommunicationsServiceIfc& s) { return s.activate(); });
    addRequest("deactivate", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.deactivate(true); });
    addRequest("callClear", kSuccess, [](CommunicationsServiceIfc& s) {
        return s.callClear(kLine, 12, static_cast<CSTAEventCause>(22));
    });
    addRequest("outgoingCallMake", kSuccess, [](CommunicationsServiceIfc& s) {
        return s.outgoingCallMake(kLine, 12, "sip:2002@pbx", true, false, true);
    });
    addRequest("acceptCall", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.acceptCall(kLine, 12, true); });
    addRequest("answerCall", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.answerCall(kLine, 12); });
    addRequest("deflectCall", kSuccess, [](CommunicationsServiceIfc& s) {
        return s.deflectCall(kLine, 12, "sip:3003@pbx");
    });
    addRequest("holdCall", kSuccess, [](CommunicationsServiceIfc& s) {
        return s.holdCall(kLine, 12, sfiFeatureManual, true);
    });
    addRequest("retrieveCall", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.retrieveCall(kLine, 12); });
    addRequest("attendedTransferCall", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.attendedTransferCall(kLine, 12, 7); });
    addRequest("blindTransferCall", kSuccess, [](CommunicationsServiceIfc& s) {
        return s.blindTransferCall(kLine, 12, "sip:3003@pbx");
    });
    addRequest("SendCSTARequest", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.SendCSTARequest(kLine, kCsta); });
    addRequest("sendUACSTAServerMessage", kSuccess, [](CommunicationsServiceIfc& s) {
        static std::string line = kLine;
        static std::string message = kCsta;
        s.sendUACSTAServerMessage(line, message);
        return 0;
    });
    addRequest("InitializeOrFinalizeServerFeatures", kSuccess, [](CommunicationsServiceIfc& s) {
        s.InitializeOrFinalizeServerFeatures(kLine, true);
        return 0;
    });
    addRequest("activateCallbackRinging", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.activateCallbackRinging(kLine, 12); });
    addRequest("activateCallbackBusy", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.activateCallbackBusy(kLine, 12); });
    addRequest("cancelCallbacks", kSuccess, [](CommunicationsServiceIfc& s) {
        static const std::string uri = "sip:2002@pbx";
        return s.cancelCallbacks(kLine, 12, uri, sfiCancelCallBackSingle, true);
    });
    addRequest("consultationCall", kSuccess, [](CommunicationsServiceIfc& s) {
        return s.consultationCall(kLine, 12, "sip:3003@pbx");
    });
    addRequest("refuseCall", kSuccess, [](CommunicationsServiceIfc& s) {
        return s.refuseCall(kLine, 12, sfiRefuseCallDecline);
    });
    addRequest("subscribe", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.subscribe(&subscriber); });
    addRequest("directedPickupCall", kSuccess, [](CommunicationsServiceIfc& s) {
        static const std::string pickedUp = "sip:3003@pbx";
        return s.directedPickupCall(kLine, 12, pickedUp, true);
    });
    addRequest("groupPickupCall", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.groupPickupCall(kLine, 12); });
    addRequest("setServiceState", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.setServiceState(sfiServiceInService); });
    addRequest("getServiceState", "sfiServiceInService", [](CommunicationsServiceIfc& s) {
        sfiServiceState state = sfiServiceOutOfService;
        return s.getServiceState(state) + state;
    });
    addRequest("setDoNotDisturb", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.setDoNotDisturb(kLine, true); });
    addRequest("getDoNotDisturb", "true", [](CommunicationsServiceIfc& s) {
        bool on = false;
        return s.getDoNotDisturb(kLine, on) + on;
    });
    addRequest("setAgentState", kSuccess, [](CommunicationsServiceIfc& s) {
        static const std::string ready = "ready";
        return s.setAgentState(kLine, ready);
    });
    addRequest("setMicrophoneMute", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.setMicrophoneMute(true); });
    addRequest("getMicrophoneMute", "true", [](CommunicationsServiceIfc& s) {
        bool muted = false;
        return s.getMicrophoneMute(muted) + muted;
    });
    addRequest("systemStatus", kSuccess, [](CommunicationsServiceIfc& s) {
        return s.systemStatus("DEGRADED", "backup server active");
    });
    addRequest("generateDigits", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.generateDigits(kLine, 12, "12#"); });
    addRequest("getDevices", devicesAnswer(), [](CommunicationsServiceIfc& s) {
        std::vector<std::string> devices;
        return s.getDevices(devices) + static_cast<int>(devices.size());
    });
    results.budgets["request/getDevices"] += 1; // the caller's list, grown once
    addRequest("conferenceCall", kSuccess, [](CommunicationsServiceIfc& s) {
        return s.conferenceCall(kLine, 12, 7, sfiFeatureNone);
    });
    addRequest("RemoveConfParticipant", kSuccess, [](CommunicationsServiceIfc& s) {
        static const std::string participant = "sip:2002@pbx";
        static const std::string member = "5";
        s.RemoveConfParticipant(12, participant, member);
        return 0;
    });
    addRequest("getManualHoldIndication", "true", [](CommunicationsServiceIfc& s) {
        return static_cast<int>(s.getManualHoldIndication(kLine, 12));
    });
    addRequest("alternateCalls", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.alternateCalls(kLine); });
    addRequest("getMessageWaitingIndicator",
               "<func_return_val>sfiSuccess</func_return_val><Type>1</Type><newMsgs>3</newMsgs>"
               "<oldMsgs>12</oldMsgs><newUrgMsgs>1</newUrgMsgs><oldUrgMsgs>0</oldUrgMsgs>"
               "<return_type>0</return_type><available_info>1</available_info>"
               "<messages_waiting>1</messages_waiting><voiceMailNumber>8000</voiceMailNumber>",
               [](CommunicationsServiceIfc& s) {
                   int type = 0, returnType = 0, available = 0, waiting = 0;
                   unsigned int fresh = 0, old = 0, freshUrgent = 0, oldUrgent = 0;
                   static std::string voiceMail;
                   return s.getMessageWaitingIndicator(type, fresh, old, freshUrgent, oldUrgent,
                                                       returnType, available, waiting, voiceMail) +
                          type + static_cast<int>(fresh);
               });
    addRequest("setAssociatedCalls", kSuccess,
               [](CommunicationsServiceIfc& s) { return s.setAssociatedCalls(true); });
    addRequest("setLampMode", kSuccess, [](CommunicationsServiceIfc& s) {
        static const std::string lamp = "lamp3";
        return s.setLampMode(kLine, lamp, 2);
    });
    addRequest("makeSecurityChangeReinvite", kSuccess, [](CommunicationsServiceIfc& s) {
        return s.makeSecurityChangeReinvite(kLine, 12, true);
    });
    addRequest("setIsInServiceInitiatedState", kSuccess, [](CommunicationsServiceIfc& s) {
        s.setIsInServiceInitiatedState(kLine, true);
        return 0;
    });
    addRequest("setForwardingConfiguration", kSuccess, [](CommunicationsServiceIfc& s) {
        static const std::string uri = "sip:2002@pbx";
        return s.setForwardingConfiguration(kLine, sfiForwardingNoReply, true, uri, 4, false);
    });
    addRequest("getForwardingConfiguration",
               "<sfiResult>sfiSuccess</sfiResult><status>1</status><uri>sip:2002@pbx</uri>"
               "<cfnrRingCount>3</cfnrRingCount>",
               [](CommunicationsServiceIfc& s) {
                   bool status = false;
                   int ringCount = 0;
                   static std::string uri;
                   return s.getForwardingConfiguration(sfiForwardingNoReply, status, uri,
                                                       ringCount) +
                          ringCount;
               });
    addRequest("callbackDOFeatureCallID", kSuccess, [](CommunicationsServiceIfc& s) {
        static const std::string callId = "12";
        s.callbackDOFeatureCallID(callId, 3);
        return 0;
    });
    addRequest("isCallHoldPossible", "true", [](CommunicationsServiceIfc& s) {
        return static_cast<int>(s.isCallHoldPossible(kLine));
    });
    addRequest("csCommunicationsService", kSuccess, [](CommunicationsServiceIfc& s) {
        return static_cast<int>(s.csCommunicationsService("service").size());
    });
    addRequest("activateStoredFwd", kSuccess, [](CommunicationsServiceIfc& s) {
        s.activateStoredFwd();
        return 0;
    });

    static CannedChannel streamChannel(context, kSuccess);
    add("ostringstream/holdCall", [] {
        benchmark::DoNotOptimize(
            bench::holdCallThroughStream(streamChannel, kLine, 12, sfiFeatureManual, true));
    });
}

// What an event may allocate: the message text, each text value longer than
// the inline capacity of std::string, and what the framework's list decoder makes.
void setEventBudgets() {
    for (const Event& event : bench::events()) {
        double budget = 1;
        for (const bench::Field& field : event.fields) {
            if (field.value.size() > std::string().capacity()) ++budget;
            std::string copy = field.value;
            const std::size_t before = bench::allocationCount;
            if (field.kind == bench::Kind::NumberList) {
                std::vector<int> values;
                Serializer::deserialize(copy, values);
            } else if (field.kind == bench::Kind::TextList) {
                Serializer::deserialize(copy);
            }
            budget += static_cast<double>(bench::allocationCount - before);
        }
        results.budgets["event/" + event.method] = budget;
    }
}

constexpr int kCountedCalls = 16;

void countAllocations() {
    for (const Scenario& scenario : scenarios) {
        scenario.run();
        const std::size_t before = bench::allocationCount;
        for (int call = 0; call < kCountedCalls; ++call)
            scenario.run();
        results.allocations[scenario.name] =
            static_cast<double>(bench::allocationCount - before) / kCountedCalls;
    }
}

// Under callgrind: each scenario's instructions over kCountedCalls calls, dumped under its
// name.
void countInstructions() {
    for (const Scenario& scenario : scenarios) {
        scenario.run();
        CALLGRIND_TOGGLE_COLLECT;
        for (int call = 0; call < kCountedCalls; ++call)
            scenario.run();
        CALLGRIND_TOGGLE_COLLECT;
        CALLGRIND_DUMP_STATS_AT(scenario.name.c_str());
    }
}

// Reads the dumps of countInstructions from `folder`.
void readInstructions(const std::string& folder) {
    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr) throw std::runtime_error("no callgrind dumps in " + folder);
    while (const dirent* entry = readdir(directory)) {
        std::ifstream dump(folder + "/" + entry->d_name);
        const std::string trigger = "desc: Trigger: Client Request: ";
        std::string name;
        for (std::string line; std::getline(dump, line);) {
            if (line.compare(0, trigger.size(), trigger) == 0) name = line.substr(trigger.size());
            for (const char* total : {"totals: ", "summary: "}) {
                if (!name.empty() && line.compare(0, std::strlen(total), total) == 0)
                    results.instructions[name] =
                        std::stod(line.substr(std::strlen(total))) / kCountedCalls;
            }
        }
    }
    closedir(directory);
}

// Lines of "build|stripped bytes|data bytes|bss bytes", as bench/run.sh writes them.
void readSizes(const std::string& file) {
    std::ifstream sizes(file);
    for (std::string line; std::getline(sizes, line);) {
        std::istringstream fields(line);
        bench::Results::Size size;
        std::string stripped, data, bss;
        if (std::getline(fields, size.build, '|') && std::getline(fields, stripped, '|') &&
            std::getline(fields, data, '|') && std::getline(fields, bss)) {
            size.stripped = std::stod(stripped);
            size.data = std::stod(data);
            size.bss = std::stod(bss);
            results.sizes.push_back(size);
        }
    }
}

// Keeps the medians (or the single runs when there are no repetitions) as they arrive.
class MedianReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) continue;
            const std::string name = run.run_name.str();
            if (run.aggregate_name == "median") {
                results.nanoseconds[name] = run.GetAdjustedCPUTime();
                medians.insert(name);
            } else if (run.aggregate_name.empty() && medians.count(name) == 0) {
                results.nanoseconds[name] = run.GetAdjustedCPUTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

private:
    std::set<std::string> medians;
};

} // namespace

int main(int argc, char** argv) {
    std::string folder = COMMS_BENCH_FOLDER;
    std::vector<char*> arguments{argv[0]};
    static char repetitions[] = "--benchmark_repetitions=9";
    static char minTime[] = "--benchmark_min_time=0.05";
    static char interleave[] = "--benchmark_enable_random_interleaving=true";
    static char aggregates[] = "--benchmark_report_aggregates_only=true";
    for (char* defaults : {repetitions, minTime, interleave, aggregates}) {
        arguments.push_back(defaults);
    }
    bool underCallgrind = false;
    std::string dumps;
    std::string sizes;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--out=", 6) == 0) {
            folder = argv[i] + 6;
        } else if (std::strcmp(argv[i], "--count-instructions") == 0) {
            underCallgrind = true;
        } else if (std::strncmp(argv[i], "--instructions=", 15) == 0) {
            dumps = argv[i] + 15;
        } else if (std::strncmp(argv[i], "--sizes=", 8) == 0) {
            sizes = argv[i] + 8;
        } else {
            arguments.push_back(argv[i]);
        }
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;

    bench::countPugixmlAllocations();
    addEvents();
    addRequests();
    if (underCallgrind) {
        countInstructions();
        return 0;
    }
    setEventBudgets();
    countAllocations();
    if (!dumps.empty()) readInstructions(dumps);
    if (!sizes.empty()) readSizes(sizes);

    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    const std::string table = bench::markdown(results);
    std::cout << '\n' << table;
    if (!bench::complete(results)) {
        std::cout << "\nA partial run: " << folder << "/results.md and results.png are kept.\n";
        return 0;
    }
    std::ofstream(folder + "/results.md") << table;
    if (!bench::drawChart(results, folder)) {
        std::cerr << "gnuplot could not draw " << folder << "/results.png\n";
        return 1;
    }
    std::cout << "\nWritten: " << folder << "/results.md, " << folder << "/results.png\n";
    return 0;
}
