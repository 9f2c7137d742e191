// The four field readers against the plain reference readings, on fuzzed tags and texts.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsServiceProxy.h"
#include "MessageFormat.h"
#include "Reference.h"

namespace {

// The one-pass scans read a set of names at once: the fuzzed name among names of the
// service that share first bytes and begin with one another.
void expectScansEqualMemberReaders(const std::string& name, const std::string& message) {
    std::vector<std::string_view> names = {"CallID",
                                           "CallState",
                                           "CallingParty",
                                           "CallingPartyName",
                                           "GPUCLG",
                                           "GPUCLGName",
                                           "CallBackFearureAvailable"};
    const bool usable =
        !name.empty() && name.front() != '/' && name.find_first_of("<>") == std::string::npos;
    if (usable && std::find(names.begin(), names.end(), name) == names.end()) {
        names.push_back(name);
    }
    const ElementNames index(names.data(), names.size());
    std::vector<ElementSpan> events(names.size());
    std::vector<ElementSpan> answers(names.size());
    // Scanned in a copy of exactly its size, so that a read past its end is caught.
    const std::vector<char> exact(message.begin(), message.end());
    const std::string_view text(exact.data(), exact.size());
    findElements(text, index, events.data());
    findAnswerFields(text, index, answers.data());
    CommunicationsServiceEventInvoker invoker;
    CommunicationsServiceProxy proxy;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string open = "<" + std::string(names[i]) + ">";
        const std::string close = "</" + std::string(names[i]) + ">";
        reference::expectEqual(std::string(valueOf(message, events[i])),
                               invoker.getParamAsString(open, message, close), "event scan text");
        reference::expectEqual(numberOf(message, events[i]),
                               invoker.getParamAsLong(open, message, close), "event scan number");
        reference::expectEqual(std::string(valueOf(message, answers[i])),
                               proxy.getParamAsString(open, message, close), "answer scan text");
        reference::expectEqual(numberOf(message, answers[i]),
                               proxy.getParamAsLong(open, message, close), "answer scan number");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    // Mostly a matching pair "<name>" and "</name>", as every caller passes; sometimes two
    // unrelated texts, empty ones included.
    std::string startTag;
    std::string endTag;
    std::string name;
    if (input.ConsumeIntegralInRange(0, 3) != 0) {
        name = input.ConsumeRandomLengthString(24);
        startTag = "<" + name + ">";
        endTag = "</" + name + ">";
    } else {
        startTag = input.ConsumeRandomLengthString(24);
        endTag = input.ConsumeRandomLengthString(24);
    }
    const std::string message = input.ConsumeRemainingBytesAsString();

    using reference::expectEqual;
    CommunicationsServiceProxy proxy;
    expectEqual(proxy.getParamAsString(startTag, message, endTag),
                reference::proxyText(startTag, message, endTag), "proxy getParamAsString");
    expectEqual(proxy.getParamAsLong(startTag, message, endTag),
                reference::proxyNumber(startTag, message, endTag), "proxy getParamAsLong");

    CommunicationsServiceEventInvoker invoker;
    expectEqual(invoker.getParamAsString(startTag, message, endTag),
                reference::invokerText(startTag, message, endTag), "invoker getParamAsString");
    expectEqual(invoker.getParamAsLong(startTag, message, endTag),
                reference::invokerNumber(startTag, message, endTag), "invoker getParamAsLong");

    expectScansEqualMemberReaders(name, message);
    expectEqual(decimal32(message), strtol32(message.c_str()), "decimal32");
    return 0;
}
