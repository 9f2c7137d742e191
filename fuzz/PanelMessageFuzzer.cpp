// The panel's handling of a page's message, on any bytes: it never crashes, however deep the
// message nests, and always answers one JSON object that is either the reply to the command
// the message gave or an error.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "BoundedJson.h"
#include "Check.h"
#include "PanelMessage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view message(reinterpret_cast<const char*>(data), size);
    std::string given;
    // The command comes back as the simulator's answer: the reply then carries page text.
    const std::string reply = simulator::panelReply(message, [&](const std::string& command) {
        given = command;
        return command;
    });
    kit::json::Reading reading = kit::json::Reading::read;
    const nlohmann::ordered_json parsed = kit::json::parse(reply, reading);
    check::equal(reading == kit::json::Reading::read, true, "the reply reads as JSON");
    check::equal(parsed.is_object() && parsed.size() == 1, true, "the reply is one member");
    if (parsed.contains("reply")) {
        const auto& answered = parsed["reply"];
        check::equal(answered.value("command", std::string()), given, "the command replied to");
        if (answered.contains("id"))
            check::equal(answered["id"].is_primitive(), true, "the id sent back is a scalar");
    } else {
        check::equal(parsed.contains("error"), true, "a message without a reply has an error");
        check::equal(given, std::string(), "the command of a refused message");
    }
    return 0;
}
