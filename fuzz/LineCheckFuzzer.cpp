// The console's line checker on any line, begun with a known word half the time so that
// the checks of operations, await and sim are reached. Whatever the line, the verdict comes
// quickly, is short, and holds no byte that would steer a terminal; a line it lets through
// binds to its operation.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

// The console's operations, not the fuzzers' Operations.h beside this file.
#include "../tools/console/Operations.h"
#include "Check.h"
#include "Console.h"
#include "LineCheck.h"

namespace {

const std::vector<std::string>& firstWords() {
    static const std::vector<std::string> words = [] {
        std::vector<std::string> all = {"await", "sim", "help", "echo", "quit", ""};
        for (const console::Operation& operation : console::operations())
            all.emplace_back(operation.name);
        return all;
    }();
    return words;
}

void checkVerdict(const std::string& line, const std::string& verdict) {
    // The line's words are cut to a few dozen bytes each; the usage of an operation is the
    // longest thing a verdict adds.
    check::equal(verdict.size() <= 1200, true, "a short verdict: " + check::printable(verdict));
    for (const char byte : verdict) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x20 || code == 0x7f) {
            check::equal(check::printable(verdict), check::printable(line), "an escaped verdict");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    std::string line;
    if (input.ConsumeBool()) {
        const std::vector<std::string>& words = firstWords();
        line = words[input.ConsumeIntegralInRange<std::size_t>(0, words.size() - 1)] + " ";
    }
    line += input.ConsumeRemainingBytesAsString();

    const std::optional<std::string> problem = console::checkLine(line);
    if (problem) {
        checkVerdict(line, *problem);
    } else {
        const std::vector<std::string> words = console::tokenize(line);
        if (!words.empty()) {
            if (const console::Operation* operation = console::findOperation(words.front())) {
                std::vector<std::string> arguments(words.begin() + 1, words.end());
                for (std::size_t i = 0; i < arguments.size(); ++i) {
                    if (arguments[i] == "=>") arguments.resize(i);
                }
                console::bindArguments(*operation, arguments);
            }
        }
    }
    console::completions(line);
    return 0;
}
