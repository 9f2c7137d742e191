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
#include "CommunicationsService/protocol/Requests.h"
#include "CommunicationsService/testing/CannedChannel.h"
#include "CommunicationsService/testing/NullSubscriber.h"
#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsServiceProxy.h"
#include "EventFloor.h"
#include "EventMessages.h"
#include "References.h"
#include "Report.h"
#include "Samples.h"
#include "Straightforward.h"

namespace {

using bench::Event;
using communications::testing::CannedChannel;
using CommunicationsService::protocol::FieldKind;

class NamingContext : public FrameworkContext {
public:
    std::string findChannel(Executable*) override { return "events.7"; }
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
            [message] { straightforward::handleMessage(&subscriber, message, &noticed); });
        auto floor = std::make_shared<bench::EventFloor>(event.message);
        add("floor/" + event.method,
            [floor, message] { floor->deliver(&subscriber, message, &noticed); });
    }
    // Cost per byte: the conference event with documents from 1 KiB to 1 MiB.
    for (const std::size_t bytes : bench::kConferenceBytes) {
        const auto conference = std::make_shared<const Event>(bench::conferenceEvent(bytes));
        const std::string size = std::to_string(bytes);
        add("conference/" + size, [conference] {
            invoker.handleMessage(&subscriber, conference->message.c_str(),
                                  static_cast<int>(conference->message.size()), &noticed);
        });
        add("straightforward-conference/" + size, [conference] {
            straightforward::handleMessage(&subscriber, conference->message.c_str(), &noticed);
        });
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
        std::unique_ptr<Service>(new Service{CannedChannel(std::move(answer), &context), {}}));
    services.back()->proxy.initProxy(services.back()->channel);
    return services.back()->proxy;
}

template <typename Operation>
void addRequest(const std::string& operation, const std::string& answer, Operation call) {
    results.operationNames.push_back(operation);
    CommunicationsServiceIfc* service = &serviceAnswering(answer);
    add("request/" + operation,
        [service, call]() mutable { benchmark::DoNotOptimize(call(*service)); });
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

namespace protocol = CommunicationsService::protocol;
namespace samples = testsupport::samples;

const std::string kLine = "sip:1001@pbx";
const std::string kSuccess(protocol::resultWord(sfiSuccess));

// A sample argument for each parameter of an operation: texts and payloads by their
// field, numbers, flags and enumeration values by type; outputs start empty.
template <typename Field, typename Param> struct Sample {
    using Value = std::remove_cv_t<std::remove_reference_t<Param>>;
    Value value{};
    Sample() {
        if constexpr (std::is_same_v<Value, std::string> &&
                      Field::encoding == protocol::Encoding::payload)
            value = samples::kPayload;
        else if constexpr (std::is_same_v<Value, std::string>)
            value = kLine;
        else if constexpr (std::is_same_v<Value, bool>)
            value = true;
        else if constexpr (std::is_same_v<Value, sfiServiceState>)
            value = sfiServiceInService;
        else if constexpr (std::is_enum_v<Value> || std::is_integral_v<Value>)
            value = static_cast<Value>(12);
    }
    Value& get() { return value; }
};
template <typename Field> struct Sample<Field, const char*> {
    const char* get() { return "sip:2002@pbx"; }
};

// An output: a parameter beyond the request's fields.
struct Output {
    static constexpr protocol::Encoding encoding = protocol::Encoding::text;
};

template <typename Fields, std::size_t I, bool = (I < std::tuple_size_v<Fields>)> struct FieldAt {
    using type = Output;
};
template <typename Fields, std::size_t I> struct FieldAt<Fields, I, true> {
    using type = std::tuple_element_t<I, Fields>;
};

template <typename Fields, std::size_t I, typename Param>
using SampleAt = Sample<typename FieldAt<Fields, I>::type, Param>;

template <typename Entry, typename R, typename... Params, std::size_t... I>
auto sampleCall(const Entry& entry, R (CommunicationsServiceIfc::*)(Params...),
                std::index_sequence<I...>) {
    using Fields = std::decay_t<decltype(entry.fields)>;
    // The arguments are made once, as a caller keeps its own, so that only what the
    // library allocates is counted; outputs keep what the last call wrote.
    return [operation = entry.operation, arguments = std::tuple<SampleAt<Fields, I, Params>...>()](
               CommunicationsServiceIfc& service) mutable {
        if constexpr (std::is_void_v<R>) {
            (service.*operation)(std::get<I>(arguments).get()...);
            return 0;
        } else {
            return static_cast<int>((service.*operation)(std::get<I>(arguments).get()...));
        }
    };
}

// What a request's own texts add to its allocations, beyond the request text and a long
// answer: a state name converted to a string, and each text output, when longer than the
// inline capacity of std::string.
template <typename Request> double longTexts(const Request& request) {
    const auto isLong = [](std::string_view text) {
        return text.size() > std::string().capacity() ? 1.0 : 0.0;
    };
    double count = std::apply(
        [&](const auto&... field) {
            return (0.0 + ... +
                    (field.encoding == protocol::Encoding::stateName
                         ? isLong(protocol::kServiceStateNames[sfiServiceInService])
                         : 0.0));
        },
        request.fields);
    using Answer = std::decay_t<decltype(request.answer)>;
    if constexpr (protocol::answers::isTagged<Answer>) {
        count += std::apply(
            [&](const auto&... field) {
                return (0.0 + ... +
                        (field.reading == protocol::answers::Reading::text ? isLong(samples::kText)
                                                                           : 0.0));
            },
            request.answer.fields);
    }
    return count;
}

void addRequests() {
    static const std::string signalling(120, 'S');
    addRequest("processSignallingComponentEvent", kSuccess, [](CommunicationsServiceIfc& s) {
        s.processSignallingComponentEvent(signalling.data(), static_cast<int>(signalling.size()));
        return 0;
    });
    addRequest(std::string(protocol::requests::subscribe.method), kSuccess,
               [](CommunicationsServiceIfc& s) { return s.subscribe(&subscriber); });
    // Every operation of the description, with sample arguments and a sample answer; the
    // device list is fifty long.
    std::apply(
        [](const auto&... entry) {
            const auto each = [](const auto& one) {
                if constexpr (!std::is_same_v<decltype(one.operation), std::nullptr_t>) {
                    const std::string method(one.method);
                    const bool devices = method == protocol::requests::getDevices.method;
                    addRequest(
                        method, devices ? devicesAnswer() : samples::answer(one),
                        sampleCall(one, one.operation,
                                   std::make_index_sequence<
                                       std::tuple_size_v<typename protocol::agreement::Parameters<
                                           decltype(one.operation)>::types>>()));
                    results.budgets["request/" + method] += longTexts(one);
                }
            };
            (each(entry), ...);
        },
        protocol::requests::all);
    results.budgets["request/" + std::string(protocol::requests::getDevices.method)] +=
        1; // the caller's list, grown once
    addRequest("csCommunicationsService", kSuccess, [](CommunicationsServiceIfc& s) {
        return static_cast<int>(s.csCommunicationsService("service").size());
    });
    addRequest("activateStoredFwd", kSuccess, [](CommunicationsServiceIfc& s) {
        s.activateStoredFwd();
        return 0;
    });

    static CannedChannel streamChannel(kSuccess, &context);
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
            if (field.kind == FieldKind::numberList) {
                std::vector<int> values;
                Serializer::deserialize(copy, values);
            } else if (field.kind == FieldKind::textList) {
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

// Lines of "name|median ns|instructions", the figures of the plain build's run.
void writeFigures(const std::string& file) {
    std::ofstream figures(file);
    for (const auto& [name, nanoseconds] : results.nanoseconds) {
        const auto counted = results.instructions.find(name);
        figures << name << '|' << nanoseconds << '|'
                << (counted == results.instructions.end() ? -1 : counted->second) << '\n';
    }
    if (!figures) throw std::runtime_error("cannot write " + file);
}

void readPlainFigures(const std::string& file) {
    std::ifstream figures(file);
    if (!figures) throw std::runtime_error("no figures of the plain build in " + file);
    for (std::string line; std::getline(figures, line);) {
        std::istringstream fields(line);
        std::string name, nanoseconds, instructions;
        if (std::getline(fields, name, '|') && std::getline(fields, nanoseconds, '|') &&
            std::getline(fields, instructions)) {
            results.plainNanoseconds[name] = std::stod(nanoseconds);
            if (std::stod(instructions) >= 0)
                results.plainInstructions[name] = std::stod(instructions);
        }
    }
}

// bench/armhf/count.sh's table: a heading, then "build call-state perByte..." per build.
void readArmhfCounts(const std::string& file) {
    std::ifstream counts(file);
    if (!counts) throw std::runtime_error("no armhf counts in " + file);
    std::string line;
    std::getline(counts, line);
    while (std::getline(counts, line)) {
        std::istringstream fields(line);
        bench::Results::ArmhfCount count;
        if (!(fields >> count.build >> count.callState)) continue;
        for (double perByte; fields >> perByte;)
            count.conferencePerByte.push_back(perByte);
        results.armhf.push_back(count);
    }
}

// bench/tricks/measure.sh's lines: "trick|replacement|call|x86 with|x86 without|armhf
// with|armhf without", the armhf counts empty when they were not taken.
void readTrickCounts(const std::string& file) {
    std::ifstream counts(file);
    if (!counts) throw std::runtime_error("no trick counts in " + file);
    const auto number = [](const std::string& text) { return text.empty() ? -1 : std::stod(text); };
    for (std::string line; std::getline(counts, line);) {
        std::vector<std::string> cells;
        std::istringstream fields(line);
        for (std::string cell; std::getline(fields, cell, '|');)
            cells.push_back(cell);
        cells.resize(7);
        if (cells[0].empty() || cells[3].empty()) continue;
        results.tricks.push_back({cells[0], cells[1], cells[2], number(cells[3]), number(cells[4]),
                                  number(cells[5]), number(cells[6])});
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
    std::string figures;
    std::string plain;
    std::string armhf;
    std::string tricks;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--out=", 6) == 0) {
            folder = argv[i] + 6;
        } else if (std::strcmp(argv[i], "--count-instructions") == 0) {
            underCallgrind = true;
        } else if (std::strncmp(argv[i], "--instructions=", 15) == 0) {
            dumps = argv[i] + 15;
        } else if (std::strncmp(argv[i], "--sizes=", 8) == 0) {
            sizes = argv[i] + 8;
        } else if (std::strncmp(argv[i], "--figures=", 10) == 0) {
            figures = argv[i] + 10;
        } else if (std::strncmp(argv[i], "--plain=", 8) == 0) {
            plain = argv[i] + 8;
        } else if (std::strncmp(argv[i], "--armhf=", 8) == 0) {
            armhf = argv[i] + 8;
        } else if (std::strncmp(argv[i], "--tricks=", 9) == 0) {
            tricks = argv[i] + 9;
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
    if (!plain.empty()) readPlainFigures(plain);
    if (!armhf.empty()) readArmhfCounts(armhf);
    if (!tricks.empty()) readTrickCounts(tricks);

    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    if (!figures.empty()) {
        writeFigures(figures);
        std::cout << "\nWritten: " << figures << '\n';
        return 0;
    }

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
