// The record reader on any file: every entry it keeps writes back to a line that reads
// as the same entry.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Check.h"
#include "Record.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view content(reinterpret_cast<const char*>(data), size);
    const kit::record::Reading reading = kit::record::read(content);
    for (const kit::record::Entry& entry : reading.entries) {
        std::string problem;
        std::vector<std::string> notes;
        const auto again = kit::record::parseLine(kit::record::toLine(entry), problem, notes);
        check::equal(problem, std::string(), "the problem of a written entry");
        if (!again) continue;
        check::equal(again->text, entry.text, "the text of a written entry");
        check::equal(again->method, entry.method, "the method of a written entry");
        check::equal(again->kind, entry.kind, "the kind of a written entry");
        check::equal(again->client, entry.client, "the client of a written entry");
        check::equal(kit::record::isoTime(again->time), kit::record::isoTime(entry.time),
                     "the time of a written entry");
    }
    return 0;
}
