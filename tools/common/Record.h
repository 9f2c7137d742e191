#pragma once

// A record of a simulator session: one JSON object per line for every frame the simulator
// served and every client that came or went, written by the simulator's --record, read
// back by its --replay and by comms-decode.
//
// {"time":"2026-11-24T19:00:00.123456Z","client":1,"direction":"in","kind":"request",
//  "id":3,"channel":"","method":"...","fields":{"line":"1001","callId":"1"},
//  "text":"..."}
//
// "direction" is "in" for what a client sent, "out" for what it was sent, and empty for a
// client coming or going. Fields are named after the operation's or callback's arguments
// and hold the text between their tags; a field missing from the text is left out. A text
// that is not UTF-8 is written as "textHex" instead of "text".

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CommunicationsService/desktop/Wire.h"

namespace kit::record {

using Clock = std::chrono::system_clock;
using Fields = std::vector<std::pair<std::string, std::string>>;

// The words of "kind": a frame's kind, or a client coming or going.
inline constexpr std::string_view kConnect = "connect";
inline constexpr std::string_view kDisconnect = "disconnect";

struct Entry {
    Clock::time_point time;
    int client = 0;
    std::string direction;
    std::string kind;
    std::uint32_t id = 0;
    std::string channel;
    std::string method;
    Fields fields;
    std::string text;
    // Where it stood in the file it was read from, counted from 1.
    std::size_t lineNumber = 0;
};

// The word of "kind" for a frame kind, and back.
std::string_view kindWord(desktop::wire::FrameKind kind);
std::optional<desktop::wire::FrameKind> frameKind(std::string_view word);

// The entry of a frame, its fields as the plug-in reads them; an answer is described by the
// request or control command it answers, its `question`.
Entry describeFrame(const desktop::wire::Frame& frame,
                    const desktop::wire::Frame* question = nullptr);

// One line of the record, without its line end.
std::string toLine(const Entry& entry);

// "2026-11-24T19:00:00.123456Z", and back.
std::string isoTime(Clock::time_point time);
std::optional<Clock::time_point> parseIsoTime(std::string_view text);

// A line of the record; nothing, and why in `problem`, when it cannot be one. An unknown
// member is kept out of the entry and noted in `notes`.
std::optional<Entry> parseLine(std::string_view line, std::string& problem,
                               std::vector<std::string>& notes);

struct Reading {
    std::vector<Entry> entries;
    // One line per problem, each naming the line of the record: "line 4: ...".
    std::vector<std::string> problems;
};

// Every line of a record: the lines that cannot be read are reported and skipped, an
// unknown member and a time earlier than the line before are reported and the entry kept.
Reading read(std::string_view content);

} // namespace kit::record
