// The fast reader against the plain rules through the interface both implement, on fuzzed
// texts, rows and places to begin: the method and its routes, every event's and every
// tagged answer's elements, numbers and requests. The public field readers run on free
// start and end tags too.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "Check.h"
#include "CommunicationsService/protocol/Requests.h"
#include "Elements.h"
#include "MessageFormat.h"
#include "Reader.h"

namespace {

namespace protocol = CommunicationsService::protocol;

void expectSameSpans(const std::string& text, const std::vector<ElementSpan>& plain,
                     const std::vector<ElementSpan>& quick, const char* what) {
    for (std::size_t i = 0; i < plain.size(); ++i) {
        check::equal(quick[i].found(), plain[i].found(), what);
        check::equal(std::string(valueOf(text, quick[i])), std::string(valueOf(text, plain[i])),
                     what);
    }
}

// The event scan may begin anywhere before the first start tag of its elements, and where
// the fast reader's method search says.
void expectSameEvent(std::size_t row, const std::string& text, std::string_view exact,
                     std::size_t start, std::size_t behindMethod) {
    std::vector<std::string_view> names;
    protocol::visitRow(protocol::events::all, row, [&](const auto& event) {
        elements::forEach(event, [&](std::string_view name) { names.push_back(name); });
    });
    std::size_t firstTag = text.size();
    for (const std::string_view name : names)
        firstTag = std::min(firstTag, text.find("<" + std::string(name) + ">"));
    std::vector<ElementSpan> plain(names.size());
    std::vector<ElementSpan> quick(names.size());
    rules::findEventElements(row, text, plain.data(), 0);
    fast::findEventElements(row, exact, quick.data(), start % (firstTag + 1));
    expectSameSpans(text, plain, quick, "event elements");
    fast::findEventElements(row, exact, quick.data(), behindMethod);
    expectSameSpans(text, plain, quick, "event elements behind the method");
}

void expectSameAnswer(std::size_t row, const std::string& text, std::string_view exact) {
    protocol::visitRow(protocol::requests::all, row, [&](const auto& request) {
        if constexpr (protocol::answers::isTagged<std::decay_t<decltype(request.answer)>>) {
            const std::size_t count = std::tuple_size_v<decltype(request.answer.fields)> + 1;
            std::vector<ElementSpan> plain(count);
            std::vector<ElementSpan> quick(count);
            rules::findAnswerElements(row, text, plain.data());
            fast::findAnswerElements(row, exact, quick.data());
            expectSameSpans(text, plain, quick, "answer elements");
        }
    });
}

void expectSameRequest(std::size_t row, FuzzedDataProvider& input) {
    std::string texts[8];
    Argument arguments[8];
    for (std::size_t i = 0; i < 8; ++i) {
        texts[i] = input.ConsumeRandomLengthString(40);
        arguments[i] = {texts[i], input.ConsumeIntegral<int>(), false};
    }
    // A null C string, where a text field takes one.
    const std::size_t missing = input.ConsumeIntegralInRange<std::size_t>(0, 8);
    protocol::visitRow(protocol::requests::all, row, [&](const auto& request) {
        std::size_t i = 0;
        std::apply(
            [&](const auto&... field) {
                ((arguments[i].missing = field.encoding == protocol::Encoding::text && i == missing,
                  ++i),
                 ...);
            },
            request.fields);
    });
    check::equal(fast::requestText(row, arguments), rules::requestText(row, arguments), "request");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::size_t requests = protocol::rowCount(protocol::requests::all);
    const auto eventRow = input.ConsumeIntegralInRange<std::size_t>(0, elements::kEvents - 1);
    const auto requestRow = input.ConsumeIntegralInRange<std::size_t>(0, requests - 1);
    const auto start = input.ConsumeIntegral<std::uint16_t>();
    const std::string name = input.ConsumeRandomLengthString(24);
    const std::string endTag = input.ConsumeRandomLengthString(24);
    expectSameRequest(requestRow, input);
    const std::string text = input.ConsumeRemainingBytesAsString();
    answerNumber(name, text, endTag);
    eventNumber(name, text, endTag);
    // Read in a copy of exactly its size, so that a read past its end is caught.
    const std::vector<char> bytes(text.begin(), text.end());
    const std::string_view exact(bytes.data(), bytes.size());
    std::size_t behindMethod = 0;
    std::size_t plainFields = 0;
    const ElementSpan method = fast::findMethod(exact, behindMethod);
    const ElementSpan plainMethod = rules::findMethod(text, plainFields);
    expectSameSpans(text, {plainMethod}, {method}, "method");
    const std::string_view methodName = valueOf(text, plainMethod);
    check::equal(fast::routesOf(methodName), rules::routesOf(methodName), "routes");
    check::equal(fast::routesOf(exact), rules::routesOf(text), "routes of the whole text");
    expectSameEvent(eventRow, text, exact, start, behindMethod);
    expectSameAnswer(requestRow, text, exact);
    check::equal(fast::decimal(exact), rules::decimal(text), "decimal");
    return 0;
}
