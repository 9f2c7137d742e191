// The fast field readers against the plain ones, on fuzzed names, texts and places to
// begin: the one-pass scans against eventText/eventNumber and answerText/answerNumber,
// decimal32 against strtol32. The plain readers run on free start and end tags too.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "Check.h"
#include "MessageFormat.h"

namespace {

// The fuzzed name among names of the service that share first bytes and begin with one
// another, since the scans read a set of names at once.
void expectScansEqualPlainReaders(const std::string& name, const std::string& message,
                                  std::size_t start) {
    std::vector<std::string_view> names = {"CallID",
                                           "CallState",
                                           "CallingParty",
                                           "GPUCLG",
                                           "GPUCLGName",
                                           "CallingPartyName",
                                           "CallBackFearureAvailable"};
    if (usableElementName(name) && std::find(names.begin(), names.end(), name) == names.end())
        names.push_back(name);
    const ElementNameSet prepared(names);
    const ElementNames index = prepared.view();
    std::vector<ElementSpan> events(names.size());
    std::vector<ElementSpan> answers(names.size());
    // Scanned in a copy of exactly its size, so that a read past its end is caught.
    const std::vector<char> exact(message.begin(), message.end());
    const std::string_view text(exact.data(), exact.size());
    // The event scan may begin anywhere up to the first start tag of its names.
    std::size_t firstTag = message.size();
    for (const std::string_view each : names)
        firstTag = std::min(firstTag, message.find("<" + std::string(each) + ">"));
    findElements(text, index, events.data(), start % (firstTag + 1));
    findAnswerFields(text, index, answers.data());
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string open = "<" + std::string(names[i]) + ">";
        const std::string close = "</" + std::string(names[i]) + ">";
        check::equal(std::string(valueOf(message, events[i])), eventText(open, message, close),
                     "event scan text");
        check::equal(numberOf(message, events[i]), eventNumber(open, message, close),
                     "event scan number");
        check::equal(std::string(valueOf(message, answers[i])), answerText(open, message, close),
                     "answer scan text");
        check::equal(numberOf(message, answers[i]), answerNumber(open, message, close),
                     "answer scan number");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string name = input.ConsumeRandomLengthString(24);
    const std::string endTag = input.ConsumeRandomLengthString(24);
    const auto start = input.ConsumeIntegral<std::uint16_t>();
    const std::string message = input.ConsumeRemainingBytesAsString();
    answerNumber(name, message, endTag);
    eventNumber(name, message, endTag);
    expectScansEqualPlainReaders(name, message, start);
    check::equal(decimal32(message), strtol32(message.c_str()), "decimal32");
    return 0;
}
