#include "Record.h"

#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>
#include <set>

#include "BoundedJson.h"
#include "CommunicationsService/desktop/MessageText.h"
#include "CommunicationsService/desktop/Printable.h"

namespace kit::record {

namespace {

using Json = nlohmann::ordered_json;
using desktop::wire::FrameKind;

constexpr std::pair<FrameKind, std::string_view> kKindWords[] = {
    {FrameKind::Protocol, "protocol"},   {FrameKind::Request, "request"},
    {FrameKind::Subscribe, "subscribe"}, {FrameKind::OneWay, "oneway"},
    {FrameKind::Control, "control"},     {FrameKind::Answer, "answer"},
    {FrameKind::Event, "event"},
};

const std::set<std::string> kMembers = {"time",    "client", "direction", "kind", "id",
                                        "channel", "method", "fields",    "text", "textHex"};

std::string hex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (const unsigned char byte : bytes) {
        out += digits[byte >> 4];
        out += digits[byte & 15];
    }
    return out;
}

std::optional<std::string> unhex(const std::string& text) {
    if (text.size() % 2 != 0) return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        unsigned value = 0;
        if (std::sscanf(text.c_str() + i, "%2x", &value) != 1 ||
            text.find_first_not_of("0123456789abcdefABCDEF", i) < i + 2)
            return std::nullopt;
        bytes += static_cast<char>(value);
    }
    return bytes;
}

} // namespace

std::string_view kindWord(FrameKind kind) {
    for (const auto& [frameKind, word] : kKindWords) {
        if (frameKind == kind) return word;
    }
    return "unknown";
}

std::optional<FrameKind> frameKind(std::string_view word) {
    for (const auto& [kind, name] : kKindWords) {
        if (name == word) return kind;
    }
    return std::nullopt;
}

Entry describeFrame(const desktop::wire::Frame& frame, const desktop::wire::Frame* question) {
    Entry entry;
    entry.kind = std::string(kindWord(frame.kind));
    entry.text = frame.text;
    desktop::message::Description described;
    switch (frame.kind) {
    case FrameKind::Request:
    case FrameKind::Subscribe:
    case FrameKind::OneWay:
        described = desktop::message::describeRequest(frame.text);
        break;
    case FrameKind::Event:
        described = desktop::message::describeEvent(frame.text);
        break;
    case FrameKind::Answer:
        if (question == nullptr) break;
        if (question->kind == FrameKind::Control) {
            entry.method = describeFrame(*question).method;
            return entry;
        }
        described = desktop::message::describeRequest(question->text);
        entry.method = described.method;
        described = desktop::message::describeAnswer(described.request, frame.text);
        break;
    case FrameKind::Control:
        entry.method = frame.text.substr(0, frame.text.find_first_of(" \t"));
        return entry;
    case FrameKind::Protocol:
        return entry;
    }
    if (entry.method.empty()) entry.method = described.method;
    for (const desktop::message::Value& value : described.values) {
        if (value.text) entry.fields.emplace_back(value.name, *value.text);
    }
    return entry;
}

std::string isoTime(Clock::time_point time) {
    const auto micros =
        std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(micros / 1000000);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char text[96];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%06lldZ", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  static_cast<long long>(micros % 1000000));
    return text;
}

std::optional<Clock::time_point> parseIsoTime(std::string_view text) {
    const std::string copy(text);
    std::tm parts{};
    int micros = 0;
    int consumed = 0;
    if (copy.size() != 27 ||
        std::sscanf(copy.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%6dZ%n", &parts.tm_year, &parts.tm_mon,
                    &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &micros,
                    &consumed) != 7 ||
        consumed != 27)
        return std::nullopt;
    // The clock counts nanoseconds in 64 bits: it reaches from 1677 to 2262.
    if (parts.tm_year < 1970 || parts.tm_year > 2261 || parts.tm_mon < 1 || parts.tm_mon > 12 ||
        parts.tm_mday < 1 || parts.tm_mday > 31 || parts.tm_hour < 0 || parts.tm_hour > 23 ||
        parts.tm_min < 0 || parts.tm_min > 59 || parts.tm_sec < 0 || parts.tm_sec > 60 ||
        micros < 0)
        return std::nullopt;
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    const std::time_t seconds = timegm(&parts);
    return Clock::time_point(std::chrono::duration_cast<Clock::duration>(
        std::chrono::seconds(seconds) + std::chrono::microseconds(micros)));
}

std::string toLine(const Entry& entry) {
    Json line;
    line["time"] = isoTime(entry.time);
    line["client"] = entry.client;
    line["direction"] = entry.direction;
    line["kind"] = entry.kind;
    line["id"] = entry.id;
    line["channel"] = desktop::validUtf8(entry.channel) ? entry.channel : hex(entry.channel);
    line["method"] = desktop::validUtf8(entry.method) ? entry.method : std::string();
    Json fields = Json::object();
    for (const auto& [name, value] : entry.fields) {
        if (desktop::validUtf8(value) && !fields.contains(name)) fields[name] = value;
    }
    line["fields"] = std::move(fields);
    if (desktop::validUtf8(entry.text))
        line["text"] = entry.text;
    else
        line["textHex"] = hex(entry.text);
    return line.dump();
}

std::optional<Entry> parseLine(std::string_view text, std::string& problem,
                               std::vector<std::string>& notes) {
    json::Reading reading = json::Reading::read;
    const Json line = json::parse(text, reading);
    if (reading == json::Reading::tooDeep) {
        problem = "nests deeper than " + std::to_string(json::kMaxDepth) + " levels";
        return std::nullopt;
    }
    if (reading == json::Reading::notJson) {
        problem = "not a whole JSON object (a line cut short?)";
        return std::nullopt;
    }
    if (!line.is_object()) {
        problem = "not a JSON object";
        return std::nullopt;
    }
    for (const auto& [name, value] : line.items()) {
        if (kMembers.count(name) == 0) notes.push_back("unknown member '" + name + "' ignored");
    }
    const auto member = [&](const char* name, Json::value_t type) -> const Json* {
        const auto found = line.find(name);
        if (found == line.end()) {
            problem = std::string("no \"") + name + "\"";
            return nullptr;
        }
        const bool numeric = type == Json::value_t::number_unsigned &&
                             found->type() == Json::value_t::number_unsigned;
        if (!numeric && found->type() != type) {
            problem = std::string("\"") + name + "\" is " + found->type_name() + ", not " +
                      (type == Json::value_t::string ? "a string" : "a number from 0");
            return nullptr;
        }
        return &*found;
    };
    Entry entry;
    const Json* time = member("time", Json::value_t::string);
    if (time == nullptr) return std::nullopt;
    const auto parsed = parseIsoTime(time->get<std::string>());
    if (!parsed) {
        problem = "\"time\" '" + time->get<std::string>() +
                  "' is not a time such as 2026-11-24T19:00:00.123456Z";
        return std::nullopt;
    }
    entry.time = *parsed;
    const Json* client = member("client", Json::value_t::number_unsigned);
    const Json* kind = client ? member("kind", Json::value_t::string) : nullptr;
    if (kind == nullptr) return std::nullopt;
    if (client->get<std::uint64_t>() > 1u << 30) {
        problem = "\"client\" " + client->dump() + " is out of range";
        return std::nullopt;
    }
    entry.client = client->get<int>();
    entry.kind = kind->get<std::string>();
    if (!frameKind(entry.kind) && entry.kind != kConnect && entry.kind != kDisconnect) {
        problem = "\"kind\" '" + entry.kind +
                  "' is none of connect, disconnect, protocol, request, subscribe, oneway, "
                  "control, answer, event";
        return std::nullopt;
    }
    const auto optionalString = [&](const char* name, std::string& into) {
        const auto found = line.find(name);
        if (found == line.end()) return true;
        if (!found->is_string()) {
            problem = std::string("\"") + name + "\" is " + found->type_name() + ", not a string";
            return false;
        }
        into = found->get<std::string>();
        return true;
    };
    std::string textHex;
    if (!optionalString("direction", entry.direction) ||
        !optionalString("channel", entry.channel) || !optionalString("method", entry.method) ||
        !optionalString("text", entry.text) || !optionalString("textHex", textHex))
        return std::nullopt;
    if (!textHex.empty()) {
        const auto bytes = unhex(textHex);
        if (!bytes) {
            problem = "\"textHex\" is not an even number of hexadecimal digits";
            return std::nullopt;
        }
        entry.text = *bytes;
    }
    if (const auto id = line.find("id"); id != line.end()) {
        if (!id->is_number_unsigned() || id->get<std::uint64_t>() > 0xffffffffu) {
            // Its value is not shown: printing it would walk whatever the file nests there.
            problem = "\"id\" is not a frame id (0 to 4294967295)";
            return std::nullopt;
        }
        entry.id = id->get<std::uint32_t>();
    }
    if (const auto fields = line.find("fields"); fields != line.end()) {
        if (!fields->is_object()) {
            problem = "\"fields\" is not an object";
            return std::nullopt;
        }
        for (const auto& [name, value] : fields->items()) {
            if (!value.is_string()) {
                problem = "field '" + name + "' is " + value.type_name() + ", not a string";
                return std::nullopt;
            }
            entry.fields.emplace_back(name, value.get<std::string>());
        }
    }
    return entry;
}

Reading read(std::string_view content) {
    Reading reading;
    std::size_t number = 0;
    std::optional<std::pair<Clock::time_point, std::size_t>> latest;
    for (std::size_t start = 0; start < content.size();) {
        std::size_t end = content.find('\n', start);
        const bool last = end == std::string_view::npos;
        if (last) end = content.size();
        const std::string_view text = content.substr(start, end - start);
        start = end + 1;
        ++number;
        const std::string where = "line " + std::to_string(number) + ": ";
        if (text.find_first_not_of(" \t\r") == std::string_view::npos) continue;
        std::string problem;
        std::vector<std::string> notes;
        std::optional<Entry> entry = parseLine(text, problem, notes);
        for (const std::string& note : notes)
            reading.problems.push_back(where + note);
        if (!entry) {
            reading.problems.push_back(where + problem + (last ? " (the last line)" : "") +
                                       "; skipped");
            continue;
        }
        entry->lineNumber = number;
        if (latest && entry->time < latest->first) {
            reading.problems.push_back(where + "time " + isoTime(entry->time) +
                                       " is earlier than " + isoTime(latest->first) + " of line " +
                                       std::to_string(latest->second) +
                                       "; kept in the file's order");
        } else {
            latest = std::make_pair(entry->time, number);
        }
        reading.entries.push_back(std::move(*entry));
    }
    return reading;
}

} // namespace kit::record
