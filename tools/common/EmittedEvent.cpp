#include "EmittedEvent.h"

#include <map>
#include <optional>
#include <stdexcept>

#include "CommunicationsService/desktop/EventText.h"
#include "CommunicationsService/desktop/SimulatorCodes.h"
#include "CommunicationsService/protocol/Catalogue.h"
#include "ControlWords.h"
#include "NearestName.h"

namespace simulator {

namespace {

namespace catalogue = CommunicationsService::protocol::catalogue;
using CommunicationsService::protocol::FieldKind;
using desktop::EventArgument;

// An event is emitted under its callback's name without "on" and the final "Event", in
// lower case first.
std::string eventName(std::string_view callback) {
    std::string name(callback.substr(0, 2) == "on" ? callback.substr(2) : callback);
    const std::string suffix = "Event";
    if (name.size() > suffix.size() &&
        name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
        name.resize(name.size() - suffix.size());
    }
    if (!name.empty() && name[0] >= 'A' && name[0] <= 'Z') name[0] = char(name[0] - 'A' + 'a');
    return name;
}

std::vector<std::string> splitList(const std::string& text) {
    std::vector<std::string> items;
    if (text.empty()) return items;
    std::size_t start = 0;
    for (std::size_t comma = text.find(',');; comma = text.find(',', start)) {
        items.push_back(text.substr(start, comma - start));
        if (comma == std::string::npos) return items;
        start = comma + 1;
    }
}

// The value as the argument's kind takes it; throws std::invalid_argument saying what the
// kind wants.
EventArgument typed(const std::string& name, FieldKind kind, const std::string& value) {
    const auto refuse = [&](const char* wanted) {
        throw std::invalid_argument(name + " takes " + wanted + ", not '" + value + "'");
    };
    switch (kind) {
    case FieldKind::number:
        if (auto number = kit::toInt(value)) return {name, *number};
        if (name == "callState") {
            if (auto state = numberOf(desktop::simulator::kCallStates, value))
                return {name, *state};
            std::string states;
            for (const desktop::simulator::Code& state : desktop::simulator::kCallStates)
                states.append(states.empty() ? "" : ", ").append(state.name);
            refuse(("a number or a call state (" + states + ")").c_str());
        }
        refuse("a number");
        break;
    case FieldKind::counter:
        if (auto counter = kit::toNumber<unsigned int>(value)) return {name, *counter};
        refuse("a number from 0 to 4294967295");
        break;
    case FieldKind::flag:
        if (auto flag = kit::toFlag(value)) return {name, *flag};
        refuse("a flag (1/0, true/false, yes/no, on/off)");
        break;
    case FieldKind::numberList: {
        std::vector<int> numbers;
        for (const std::string& item : splitList(value)) {
            auto number = kit::toInt(item);
            if (!number) refuse("numbers separated by commas");
            numbers.push_back(*number);
        }
        return {name, numbers};
    }
    case FieldKind::textList:
        return {name, splitList(value)};
    default:
        break;
    }
    return {name, std::string_view(value)};
}

using Arguments = std::vector<std::pair<std::string, FieldKind>>;

// The names the event's arguments go by, with their kinds.
Arguments argumentsOf(const catalogue::Event& event) {
    Arguments names;
    for (const catalogue::EventField& field : event.fields) {
        if (field.kind != FieldKind::parties) {
            names.emplace_back(std::string(field.argument), field.kind);
            continue;
        }
        for (const std::string_view party : catalogue::kPartyNames)
            names.emplace_back(std::string(party), FieldKind::text);
    }
    return names;
}

// Every event's arguments, by the event's name.
const std::map<std::string, Arguments>& eventArguments() {
    static const std::map<std::string, Arguments> all = [] {
        std::map<std::string, Arguments> arguments;
        for (const catalogue::Event& event : catalogue::kEvents)
            arguments[eventName(event.name)] = argumentsOf(event);
        return arguments;
    }();
    return all;
}

EmittedEvent emit(const catalogue::Event& event, const std::vector<std::string>& words) {
    const Arguments& known = eventArguments().at(words[0]);
    std::vector<std::string> knownNames;
    for (const auto& [name, kind] : known)
        knownNames.push_back(name);
    std::vector<EventArgument> arguments;
    try {
        for (std::size_t i = 1; i < words.size(); ++i) {
            const std::size_t equals = words[i].find('=');
            if (equals == std::string::npos || equals == 0)
                return {{}, "'" + words[i] + "' is not name=value"};
            const std::string name = words[i].substr(0, equals);
            auto found = std::find_if(known.begin(), known.end(),
                                      [&](const auto& entry) { return entry.first == name; });
            if (found == known.end()) {
                return {{},
                        words[0] + " has no argument '" + name + "'" +
                            kit::didYouMean(name, knownNames)};
            }
            arguments.push_back(typed(name, found->second, words[i].substr(equals + 1)));
        }
        return {desktop::writeEventText(event, arguments, true), {}};
    } catch (const std::invalid_argument& error) {
        return {{}, words[0] + ": " + error.what()};
    }
}

} // namespace

const std::vector<std::string>& emittableEvents() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const catalogue::Event& event : catalogue::kEvents)
            all.push_back(eventName(event.name));
        return all;
    }();
    return names;
}

std::string eventOfCallback(const std::string& callback) { return eventName(callback); }

std::string recordedValue(const std::string& event, const std::string& argument,
                          const std::string& value) {
    auto arguments = eventArguments().find(event);
    if (arguments == eventArguments().end()) return value;
    for (const auto& [name, kind] : arguments->second) {
        if (name != argument) continue;
        if (kind == FieldKind::flag) {
            if (auto flag = kit::toFlag(value)) return *flag ? "true" : "false";
        } else if (name == "callState") {
            if (auto state = numberOf(desktop::simulator::kCallStates, value))
                return std::to_string(*state);
        }
    }
    return value;
}

std::string valueProblem(const std::string& event, const std::string& argument,
                         const std::string& value) {
    auto arguments = eventArguments().find(event);
    if (arguments != eventArguments().end()) {
        for (const auto& [name, kind] : arguments->second) {
            // Lists are awaited as the console prints them, [1, 2].
            if (name == argument && (kind == FieldKind::numberList || kind == FieldKind::textList))
                return {};
        }
    }
    return emittedEvent({event, argument + "=" + value}).error;
}

EmittedEvent emittedEvent(const std::vector<std::string>& words) {
    if (words.empty()) return {{}, "usage: emit EVENT [name=value...]"};
    for (const catalogue::Event& event : catalogue::kEvents) {
        if (eventName(event.name) == words[0]) return emit(event, words);
    }
    return {{}, "no event '" + words[0] + "'" + kit::didYouMean(words[0], emittableEvents())};
}

} // namespace simulator
