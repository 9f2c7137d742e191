// The simulator's request parser, on arbitrary bytes and on the requests the proxy writes
// for every operation of the protocol description with fuzzed arguments. A request it
// accepts must be exactly the envelope rebuilt from what it read, and every request the
// proxy writes from plain values must be accepted.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>

#include "Check.h"
#include "CommunicationsService/testing/NullSubscriber.h"
#include "CommunicationsServiceProxy.h"
#include "FuzzedCalls.h"
#include "RecordingChannel.h"
#include "RequestParser.h"

namespace {

using Channel = testsupport::RecordingChannel;

std::string rebuilt(const simulator::ParsedRequest& request) {
    namespace protocol = CommunicationsService::protocol;
    if (request.method == simulator::kSignallingMethod)
        return std::string(protocol::requests::kSignalling) + request.payload;
    std::string text =
        std::string(protocol::kMethodOpen) + request.method + std::string(protocol::kMethodClose);
    for (const auto& [tag, value] : request.fields)
        text += "<" + tag + ">" + value + "</" + tag + ">";
    return text + request.payload;
}

void checkParsed(const std::string& text) {
    const simulator::ParsedRequest request = simulator::parseRequest(text);
    if (!request.valid()) return;
    check::equal(rebuilt(request), text, "request rebuilt from its parse");
    for (const auto& [tag, value] : request.fields) {
        check::equal(request.text(tag), value, "field <" + tag + ">");
        request.number(tag);
        request.flag(tag);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        checkParsed(input.ConsumeRemainingBytesAsString());
        return 0;
    }
    Channel channel(std::string(CommunicationsService::protocol::resultWord(sfiSuccess)));
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);
    channel.calls.clear();
    operations::Source source{input, true};
    const std::size_t operation =
        input.ConsumeIntegralInRange<std::size_t>(0, operations::kRequests);
    if (operation == operations::kRequests) {
        const std::string bytes = input.ConsumeRandomLengthString(32);
        proxy.processSignallingComponentEvent(bytes.data(), static_cast<int>(bytes.size()));
    } else {
        operations::withRequest(operation, [&](const auto& entry) {
            if constexpr (std::is_same_v<decltype(entry.operation), std::nullptr_t>) {
                communications::testing::NullSubscriber subscriber;
                proxy.subscribe(&subscriber);
            } else {
                auto arguments = operations::argumentsOf(entry.operation, source);
                operations::call(entry, proxy, arguments);
            }
        });
    }
    const Channel::Call& sent = channel.calls.at(0);
    const simulator::ParsedRequest request = simulator::parseRequest(sent.text);
    if (!request.valid()) {
        std::fprintf(stderr, "REJECTED request: %s\n  %s\n", request.error.c_str(),
                     check::printable(sent.text).c_str());
        std::abort();
    }
    check::equal(request.oneWay, sent.operation == Channel::Operation::SendOneWay,
                 "one-way request " + request.method);
    checkParsed(sent.text);
    return 0;
}
