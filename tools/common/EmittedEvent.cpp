#include "EmittedEvent.h"

#include <charconv>
#include <map>
#include <optional>
#include <stdexcept>
#include <tuple>

#include "CommunicationsService/desktop/SimulatorCodes.h"
#include "CommunicationsService/protocol/Events.h"
#include "CommunicationsService/testing/EventDelivery.h"
#include "ControlWords.h"
#include "NearestName.h"

namespace simulator {

namespace {

namespace protocol = CommunicationsService::protocol;
using communications::testing::EventArgument;
using protocol::FieldKind;

// An event is emitted under its method name without the final "Event", in lower case first.
std::string eventName(std::string_view method) {
    std::string name(method);
    const std::string suffix = "Event";
    if (name.size() > suffix.size() &&
        name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
        name.resize(name.size() - suffix.size());
    }
    if (!name.empty() && name[0] >= 'A' && name[0] <= 'Z') name[0] = char(name[0] - 'A' + 'a');
    return name;
}

template <typename Number> std::optional<Number> parseNumber(const std::string& word) {
    Number value{};
    const char* end = word.data() + word.size();
    const auto parsed = std::from_chars(word.data(), end, value);
    if (word.empty() || parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return value;
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
        if (auto number = parseNumber<int>(value)) return {name, *number};
        if (name == "callState") {
            if (auto state = numberOf(desktop::simulator::kCallStates, value))
                return {name, *state};
            refuse(
                "a number or a call state (idle, dialing, ringingBack, ringing, connected, held, "
                "busy, failed, conferenced)");
        }
        refuse("a number");
        break;
    case FieldKind::counter:
        if (auto counter = parseNumber<unsigned int>(value)) return {name, *counter};
        refuse("a number from 0 to 4294967295");
        break;
    case FieldKind::flag:
        if (auto flag = kit::toFlag(value)) return {name, *flag};
        refuse("a flag (1/0, true/false, yes/no, on/off)");
        break;
    case FieldKind::numberList: {
        std::vector<int> numbers;
        for (const std::string& item : splitList(value)) {
            auto number = parseNumber<int>(item);
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

template <typename Field> void addArgument(Arguments& names, const Field& field) {
    if constexpr (Field::kind == FieldKind::parties) {
        for (const std::string_view party : communications::testing::detail::kPartyNames)
            names.emplace_back(std::string(party), FieldKind::text);
    } else {
        names.emplace_back(std::string(field.argument), Field::kind);
    }
}

// The names the event's arguments go by, with their kinds.
template <typename Event> Arguments argumentsOf(const Event& event) {
    Arguments names;
    std::apply([&](const auto&... field) { (addArgument(names, field), ...); }, event.fields);
    return names;
}

// Every event's arguments, by the event's name.
const std::map<std::string, Arguments>& eventArguments() {
    static const std::map<std::string, Arguments> all = [] {
        std::map<std::string, Arguments> arguments;
        std::apply(
            [&](const auto&... event) {
                ((arguments[eventName(event.method)] = argumentsOf(event)), ...);
            },
            protocol::events::all);
        return arguments;
    }();
    return all;
}

template <typename Event>
EmittedEvent emit(const Event& event, const std::vector<std::string>& words) {
    const Arguments& known = eventArguments().at(eventName(event.method));
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
        return {communications::testing::writeEventFrom(event, arguments), {}};
    } catch (const std::invalid_argument& error) {
        return {{}, words[0] + ": " + error.what()};
    }
}

} // namespace

const std::vector<std::string>& emittableEvents() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        std::apply([&](const auto&... event) { (all.push_back(eventName(event.method)), ...); },
                   protocol::events::all);
        return all;
    }();
    return names;
}

std::string eventOfCallback(const std::string& callback) {
    std::string name = callback.compare(0, 2, "on") == 0 ? callback.substr(2) : callback;
    return eventName(name);
}

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
    std::optional<EmittedEvent> emitted;
    std::apply(
        [&](const auto&... event) {
            ((!emitted && eventName(event.method) == words[0] ? (void)(emitted = emit(event, words))
                                                              : (void)0),
             ...);
        },
        protocol::events::all);
    if (emitted) return *emitted;
    return {{}, "no event '" + words[0] + "'" + kit::didYouMean(words[0], emittableEvents())};
}

} // namespace simulator
