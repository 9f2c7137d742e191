#include "Record.h"

#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>
#include <set>
#include <tuple>

#include "CommunicationsService/desktop/MessageText.h"
#include "CommunicationsService/desktop/Printable.h"
#include "CommunicationsService/protocol/Events.h"
#include "CommunicationsService/protocol/Requests.h"

namespace kit::record {

namespace {

namespace protocol = CommunicationsService::protocol;
using Json = nlohmann::ordered_json;
using desktop::wire::FrameKind;

// The names the four party elements are recorded under, in kPartyTags' order.
constexpr std::string_view kPartyNames[] = {"callingParty", "callingPartyName", "calledParty",
                                            "calledPartyName"};

constexpr std::pair<FrameKind, std::string_view> kKindWords[] = {
    {FrameKind::Protocol, "protocol"},   {FrameKind::Request, "request"},
    {FrameKind::Subscribe, "subscribe"}, {FrameKind::OneWay, "oneway"},
    {FrameKind::Control, "control"},     {FrameKind::Answer, "answer"},
    {FrameKind::Event, "event"},
};

const std::set<std::string> kMembers = {"time",    "client", "direction", "kind", "id",
                                        "channel", "method", "fields",    "text", "textHex"};

void addElement(Fields& fields, std::string_view name, std::string_view text,
                std::string_view tag) {
    if (const auto found = desktop::message::firstElement(text, tag))
        fields.emplace_back(std::string(name), std::string(found->value));
}

// The first event whose name the method matches, as the invoker tries them.
template <typename Visit> void visitEvent(std::string_view method, Visit&& visit) {
    bool done = false;
    std::apply(
        [&](const auto&... entry) {
            (
                [&](const auto& row) {
                    if (done || method.empty()) return;
                    if (row.match == protocol::Match::exact
                            ? method == row.method
                            : method.substr(0, row.method.size()) == row.method) {
                        done = true;
                        visit(row);
                    }
                }(entry),
                ...);
        },
        protocol::events::all);
}

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

std::string methodOf(std::string_view text) {
    if (text.substr(0, protocol::requests::kSignalling.size()) == protocol::requests::kSignalling)
        return std::string(protocol::requests::kSignalling.substr(0, 8));
    const std::size_t start = text.find(protocol::kMethodOpen);
    if (start == std::string_view::npos) return {};
    const std::size_t from = start + protocol::kMethodOpen.size();
    const std::size_t end = text.find(protocol::kMethodClose, from);
    if (end == std::string_view::npos) return {};
    return std::string(text.substr(from, end - from));
}

Fields requestFields(std::string_view text) {
    Fields fields;
    const std::string method = methodOf(text);
    std::apply(
        [&](const auto&... entry) {
            (
                [&](const auto& row) {
                    if (method.empty() || row.method != method) return;
                    std::size_t end =
                        text.find(protocol::kMethodClose) + protocol::kMethodClose.size();
                    std::apply(
                        [&](const auto&... field) {
                            (
                                [&](const auto& one) {
                                    if (one.encoding == protocol::Encoding::payload) {
                                        fields.emplace_back(std::string(one.argument),
                                                            std::string(text.substr(end)));
                                    } else if (const auto found =
                                                   desktop::message::firstElement(text, one.tag)) {
                                        fields.emplace_back(std::string(one.argument),
                                                            std::string(found->value));
                                        end = std::max(end, found->end);
                                    }
                                }(field),
                                ...);
                        },
                        row.fields);
                }(entry),
                ...);
        },
        protocol::requests::all);
    return fields;
}

Fields eventFields(std::string_view text) {
    Fields fields;
    visitEvent(methodOf(text), [&](const auto& row) {
        std::apply(
            [&](const auto&... field) {
                (
                    [&](const auto& one) {
                        if (one.kind == protocol::FieldKind::parties) {
                            for (std::size_t i = 0; i < std::size(protocol::kPartyTags); ++i)
                                addElement(fields, kPartyNames[i], text, protocol::kPartyTags[i]);
                        } else if (one.kind == protocol::FieldKind::payload) {
                            const std::size_t at = text.find(one.tag);
                            if (at != std::string_view::npos)
                                fields.emplace_back(std::string(one.argument),
                                                    std::string(text.substr(at + one.tag.size())));
                        } else {
                            addElement(fields, one.argument, text, one.tag);
                        }
                    }(field),
                    ...);
            },
            row.fields);
    });
    return fields;
}

Fields answerFields(std::string_view method, std::string_view text) {
    Fields fields;
    std::apply(
        [&](const auto&... entry) {
            (
                [&](const auto& row) {
                    using Answer = std::decay_t<decltype(row.answer)>;
                    if constexpr (protocol::answers::isTagged<Answer>) {
                        if (row.method != method) return;
                        addElement(fields, "result", text, row.answer.resultTag);
                        std::apply(
                            [&](const auto&... field) {
                                (addElement(fields, field.output, text, field.tag), ...);
                            },
                            row.answer.fields);
                    }
                }(entry),
                ...);
        },
        protocol::requests::all);
    return fields;
}

Entry describeFrame(FrameKind kind, const std::string& text, const std::string& answered) {
    Entry entry;
    entry.kind = std::string(kindWord(kind));
    entry.text = text;
    switch (kind) {
    case FrameKind::Request:
    case FrameKind::Subscribe:
    case FrameKind::OneWay:
        entry.method = methodOf(text);
        entry.fields = requestFields(text);
        break;
    case FrameKind::Event:
        entry.method = methodOf(text);
        entry.fields = eventFields(text);
        break;
    case FrameKind::Answer:
        entry.method = answered;
        entry.fields = answerFields(answered, text);
        break;
    case FrameKind::Control:
        entry.method = text.substr(0, text.find_first_of(" \t"));
        break;
    case FrameKind::Protocol:
        break;
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
    const Json line = Json::parse(text.begin(), text.end(), nullptr, false);
    if (line.is_discarded()) {
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
            problem = "\"id\" " + id->dump() + " is not a frame id (0 to 4294967295)";
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
