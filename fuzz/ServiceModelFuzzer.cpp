// The simulator's service model driven by a sequence of steps: operations of the protocol
// description made through the proxy (their values steered towards the phone's lines and
// small call numbers, so that calls come about), control commands, time passing and
// resets. Tables are kept small so that their limits are reached. Whatever the sequence,
// every awaited request gets an answer, and what the service holds stays within its limits.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "Check.h"
#include "CommunicationsService/testing/NullSubscriber.h"
#include "CommunicationsServiceProxy.h"
#include "ControlCommands.h"
#include "FuzzedCalls.h"
#include "PhoneService.h"

namespace {

constexpr std::size_t kTableEntries = 8;
constexpr std::size_t kNameBytes = 16;
constexpr int kMaxSteps = 48;

const std::vector<std::string> kSteeredValues = {"1001", "1002", "1",    "2",   "3",
                                                 "0",    "2002", "2003", "2004"};

const std::string& steeredValue(FuzzedDataProvider& input) {
    return kSteeredValues[input.ConsumeIntegralInRange<std::size_t>(0, kSteeredValues.size() - 1)];
}

class Queue : public simulator::EventSink, public simulator::Scheduler {
public:
    void publish(const std::string& event) override {
        check::equal(event.empty(), false, "an event with text");
        ++published;
    }
    void after(std::chrono::milliseconds, std::function<void()> step) override {
        steps.push_back(std::move(step));
    }
    // Runs what is due, and what that schedules, a bounded number of rounds.
    void pass() {
        for (int round = 0; round < 4 && !steps.empty(); ++round) {
            std::deque<std::function<void()>> due;
            due.swap(steps);
            for (auto& step : due)
                step();
        }
    }

    std::deque<std::function<void()>> steps;
    std::size_t published = 0;
};

// Hands the proxy's requests to the service, with some values replaced by steered ones.
class ServiceChannel : public ProxyRequest {
public:
    ServiceChannel(simulator::PhoneService& phone, FuzzedDataProvider& fuzz)
        : service(phone), input(fuzz) {
        context = &framework;
    }

    int sendRequest(const std::string& request, std::string& response) override {
        return answer(request, response);
    }
    int sendRequestTimed(const std::string& request, std::string& response, int) override {
        return answer(request, response);
    }
    int sendSubscribe(const std::string& request, std::string& response, const std::string&,
                      int) override {
        return answer(request, response);
    }
    int sendOneWay(const std::string& message) override {
        handle(message);
        return 0;
    }
    int setProtocol(const std::string&) override { return 0; }

private:
    int answer(const std::string& request, std::string& response) {
        const std::optional<std::string> reply = handle(request);
        check::equal(reply.has_value(), true, "an answer to an awaited request");
        response = *reply;
        return 0;
    }

    std::optional<std::string> handle(const std::string& text) {
        const simulator::ParsedRequest request = simulator::parseRequest(text);
        if (!request.valid()) return std::string();
        if (request.method == simulator::kSignallingMethod) return service.handle(request);
        std::string steered = std::string(CommunicationsService::protocol::kMethodOpen) +
                              request.method +
                              std::string(CommunicationsService::protocol::kMethodClose);
        for (const auto& [tag, value] : request.fields) {
            const std::string& chosen = input.ConsumeBool() ? steeredValue(input) : value;
            steered += "<" + tag + ">" + chosen + "</" + tag + ">";
        }
        const simulator::ParsedRequest again = simulator::parseRequest(steered + request.payload);
        return service.handle(again.valid() ? again : request);
    }

    simulator::PhoneService& service;
    FuzzedDataProvider& input;
    FrameworkContext framework;
};

// Any command of the table, with a few words that are often values the service knows.
simulator::Words controlCommand(FuzzedDataProvider& input) {
    const std::vector<simulator::ControlCommand>& commands = simulator::controlCommands();
    const simulator::ControlCommand& command =
        commands[input.ConsumeIntegralInRange<std::size_t>(0, commands.size() - 1)];
    simulator::Words words{std::string(command.name)};
    const std::size_t arguments =
        input.ConsumeIntegralInRange<std::size_t>(0, command.arguments.size() + 1);
    for (std::size_t i = 0; i < arguments; ++i)
        words.push_back(input.ConsumeBool() ? steeredValue(input)
                                            : input.ConsumeRandomLengthString(24));
    return words;
}

void operation(CommunicationsServiceProxy& proxy, FuzzedDataProvider& input) {
    operations::Source source{input, true};
    const std::size_t index =
        input.ConsumeIntegralInRange<std::size_t>(0, operations::kRequests - 1);
    operations::withRequest(index, [&](const auto& entry) {
        if constexpr (std::is_same_v<decltype(entry.operation), std::nullptr_t>) {
            static communications::testing::NullSubscriber subscriber;
            proxy.subscribe(&subscriber);
        } else {
            auto arguments = operations::argumentsOf(entry.operation, source);
            operations::call(entry, proxy, arguments);
        }
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    simulator::ServiceSettings settings;
    settings.tableEntries = kTableEntries;
    settings.nameBytes = kNameBytes;
    Queue queue;
    simulator::PhoneService service(settings, queue, queue);
    ServiceChannel channel(service, input);
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);

    for (int step = 0; step < kMaxSteps && input.remaining_bytes() > 0; ++step) {
        switch (input.ConsumeIntegralInRange(0, 9)) {
        case 7: {
            const std::string reply = service.control(controlCommand(input));
            check::equal(reply.compare(0, 2, "ok") == 0 || reply.compare(0, 6, "error:") == 0, true,
                         "a control answer: " + check::printable(reply));
            break;
        }
        case 8:
            queue.pass();
            break;
        case 9:
            service.reset();
            break;
        default:
            operation(proxy, input);
        }
    }
    queue.pass();
    // Lamps, devices (the two lines and what was added), feature calls: each within its
    // table's limit, each name within the name limit.
    const std::string shown = service.control({"show"});
    check::equal(shown.size() < 64 * 1024, true, "a bounded show: " + std::to_string(shown.size()));
    return 0;
}
