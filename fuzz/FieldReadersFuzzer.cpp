// The four field readers against the plain reference readings, on fuzzed tags and texts.

#include <cstddef>
#include <cstdint>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsServiceProxy.h"
#include "Reference.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    // Mostly a matching pair "<name>" and "</name>", as every caller passes; sometimes two
    // unrelated texts, empty ones included.
    std::string startTag;
    std::string endTag;
    if (input.ConsumeIntegralInRange(0, 3) != 0) {
        const std::string name = input.ConsumeRandomLengthString(24);
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
    return 0;
}
