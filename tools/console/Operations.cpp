#include "Operations.h"

#include <stdexcept>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "CommunicationsService/desktop/Printable.h"
#include "CommunicationsService/desktop/SimulatorCodes.h"
#include "CommunicationsService/protocol/Requests.h"
#include "ControlWords.h"

#include <limits>

namespace console {

namespace {

// A whole number, but one too large for an int.
bool outOfRange(const std::string& word) {
    const std::size_t sign = word.find_first_not_of('-') == 1 ? 1 : 0;
    return !word.empty() && word.find_first_not_of("0123456789", sign) == std::string::npos &&
           sign < word.size();
}

namespace protocol = CommunicationsService::protocol;

constexpr int kStates = static_cast<int>(std::size(protocol::kServiceStateNames));

std::optional<sfiServiceState> parseServiceState(const std::string& word) {
    for (int value = 0; value < kStates; ++value) {
        if (word == protocol::kServiceStateNames[value] || word == std::to_string(value)) {
            return static_cast<sfiServiceState>(value);
        }
    }
    return std::nullopt;
}

const char* kindName(ArgumentKind kind) {
    switch (kind) {
    case ArgumentKind::Text:
        return "";
    case ArgumentKind::Integer:
        return ":int";
    case ArgumentKind::Flag:
        return ":flag";
    case ArgumentKind::ServiceState:
        return ":state";
    }
    return "";
}

using A = const Arguments&;
using S = CommunicationsServiceIfc&;
using E = Executable&;

namespace requests = protocol::requests;
using protocol::Encoding;
using protocol::agreement::Bare;

std::string show(bool value) {
    return std::string(value ? protocol::kTrueWord : protocol::kFalseWord);
}
std::string show(int value) { return std::to_string(value); }
std::string show(unsigned int value) { return std::to_string(value); }
std::string show(const std::string& value) { return value; }
std::string show(sfiServiceState state) {
    return state >= 0 && state < kStates ? std::string(protocol::kServiceStateNames[state])
                                         : std::to_string(state);
}
std::string show(const std::vector<std::string>& items) {
    std::string joined;
    for (const std::string& item : items)
        joined += (joined.empty() ? "" : ",") + item;
    return joined;
}

// What the console accepts for a parameter: its C++ type decides, except that a service
// state also takes its name.
template <Encoding E, typename Param> constexpr ArgumentKind kindOf() {
    using T = Bare<Param>;
    if constexpr (E == Encoding::stateName)
        return ArgumentKind::ServiceState;
    else if constexpr (std::is_same_v<T, bool>)
        return ArgumentKind::Flag;
    else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>)
        return ArgumentKind::Integer;
    else
        return ArgumentKind::Text;
}

template <typename T> T convert(const Arguments& arguments, std::size_t index) {
    if constexpr (std::is_same_v<T, std::string>)
        return arguments.text(index);
    else if constexpr (std::is_same_v<T, const char*>)
        return arguments.text(index).c_str();
    else if constexpr (std::is_same_v<T, bool>)
        return arguments.flag(index);
    else if constexpr (std::is_same_v<T, sfiServiceState>)
        return arguments.serviceState(index);
    else if constexpr (std::is_enum_v<T>)
        return static_cast<T>(arguments.integer(index));
    else
        return arguments.integer(index);
}

// The names of the outputs an answer shape fills, in the operation's parameter order.
std::vector<std::string_view> outputNames(protocol::answers::None) { return {}; }
std::vector<std::string_view> outputNames(protocol::answers::ResultWord) { return {}; }
std::vector<std::string_view> outputNames(protocol::answers::TrueWord) { return {}; }
std::vector<std::string_view> outputNames(const protocol::answers::FlagWord& shape) {
    return {shape.output};
}
std::vector<std::string_view> outputNames(const protocol::answers::StateWord& shape) {
    return {shape.output};
}
std::vector<std::string_view> outputNames(const protocol::answers::ItemList& shape) {
    return {shape.output};
}
template <typename... Fields>
std::vector<std::string_view> outputNames(const protocol::answers::Tagged<Fields...>& shape) {
    return std::apply(
        [](const auto&... fields) { return std::vector<std::string_view>{fields.output...}; },
        shape.fields);
}

template <typename Result> std::string resultText(Result result) {
    if constexpr (std::is_same_v<Result, bool>)
        return show(result);
    else
        return resultName(result);
}

template <typename Params> struct ValuesOf;
template <typename... Params> struct ValuesOf<std::tuple<Params...>> {
    using type = std::tuple<Bare<Params>...>;
};

// An operation as the description has it: parameters named after the request's fields,
// outputs after its answer's.
template <typename Op, typename Answer, typename... Fields, std::size_t... In, std::size_t... Out>
Operation describedOperation(const protocol::Request<Op, Answer, Fields...>& request,
                             std::index_sequence<In...>, std::index_sequence<Out...>) {
    using Params = typename protocol::agreement::Parameters<Op>::types;
    constexpr std::size_t inputs = sizeof...(Fields);
    std::vector<Parameter> parameters{
        {std::get<In>(request.fields).argument,
         kindOf<Fields::encoding, std::tuple_element_t<In, Params>>()}...};
    auto run = [operation = request.operation, outputs = outputNames(request.answer)](S service, E,
                                                                                      A arguments) {
        typename ValuesOf<Params>::type values{};
        ((std::get<In>(values) =
              convert<std::tuple_element_t<In, typename ValuesOf<Params>::type>>(arguments, In)),
         ...);
        auto call = [&] {
            return std::apply([&](auto&... all) { return (service.*operation)(all...); }, values);
        };
        Outcome outcome;
        if constexpr (std::is_void_v<decltype(call())>) {
            call();
            outcome.result = "sent";
        } else {
            outcome.result = resultText(call());
        }
        (outcome.outputs.push_back(
             {std::string(outputs[Out]), show(std::get<inputs + Out>(values))}),
         ...);
        return outcome;
    };
    using Result = typename protocol::agreement::Parameters<Op>::result;
    std::vector<std::string> results;
    if constexpr (std::is_void_v<Result>)
        results = {"sent"};
    else if constexpr (std::is_same_v<Result, bool>)
        results = {std::string(protocol::kTrueWord), std::string(protocol::kFalseWord)};
    else
        results = resultNames();
    const std::vector<std::string_view> outputs = outputNames(request.answer);
    return {request.name,
            std::move(parameters),
            std::move(results),
            {outputs.begin(), outputs.end()},
            run};
}

template <typename Op, typename Answer, typename... Fields>
Operation describedOperation(const protocol::Request<Op, Answer, Fields...>& request) {
    using Params = typename protocol::agreement::Parameters<Op>::types;
    constexpr std::size_t inputs = sizeof...(Fields);
    return describedOperation(request, std::make_index_sequence<inputs>(),
                              std::make_index_sequence<std::tuple_size_v<Params> - inputs>());
}

// Every request whose entry names an operation (all but the subscription, whose argument
// is the subscriber itself), under that operation's name.
std::vector<Operation> makeOperations() {
    std::vector<Operation> table;
    std::apply(
        [&](const auto&... entry) {
            (
                [&](const auto& request) {
                    if constexpr (!std::is_same_v<decltype(request.operation), std::nullptr_t>)
                        table.push_back(describedOperation(request));
                }(entry),
                ...);
        },
        requests::all);
    // Operations that the description does not carry as enveloped requests.
    table.push_back({"processSignallingComponentEvent",
                     {{"data", ArgumentKind::Text}},
                     {"sent"},
                     {},
                     [](S s, E, A a) {
                         s.processSignallingComponentEvent(a.text(0).data(),
                                                           static_cast<int>(a.text(0).size()));
                         return Outcome{"sent", {}};
                     }});
    table.push_back({"subscribe", {}, resultNames(), {}, [](S s, E subscriber, A) {
                         return Outcome{resultName(s.subscribe(&subscriber)), {}};
                     }});
    table.push_back(
        {"csCommunicationsService",
         {{"name", ArgumentKind::Text}},
         {"text"},
         {"value"},
         [](S s, E, A a) {
             return Outcome{"text", {{"value", s.csCommunicationsService(a.text(0).c_str())}}};
         }});
    table.push_back({"activateStoredFwd", {}, {"done"}, {}, [](S s, E, A) {
                         s.activateStoredFwd();
                         return Outcome{"done", {}};
                     }});
    return table;
}

#undef COMMS_OPERATION

} // namespace

int Arguments::integer(std::size_t index) const { return kit::toInt(words.at(index)).value(); }

bool Arguments::flag(std::size_t index) const { return kit::toFlag(words.at(index)).value(); }

sfiServiceState Arguments::serviceState(std::size_t index) const {
    return parseServiceState(words.at(index)).value();
}

const std::vector<Operation>& operations() {
    static const std::vector<Operation> table = makeOperations();
    return table;
}

const Operation* findOperation(const std::string& name) {
    for (const Operation& operation : operations()) {
        if (name == operation.name) return &operation;
    }
    return nullptr;
}

std::string usage(const Operation& operation) {
    std::string text(operation.name);
    for (const Parameter& parameter : operation.parameters) {
        text += " <" + std::string(parameter.name) + kindName(parameter.kind) + ">";
    }
    return text;
}

Arguments bindArguments(const Operation& operation, std::vector<std::string> words) {
    const std::size_t expected = operation.parameters.size();
    if (words.size() != expected) {
        throw std::invalid_argument(std::string(operation.name) + " takes " +
                                    std::to_string(expected) + " argument" +
                                    (expected == 1 ? "" : "s") + ", not " +
                                    std::to_string(words.size()) + ": " + usage(operation));
    }
    for (std::size_t i = 0; i < expected; ++i) {
        const Parameter& parameter = operation.parameters[i];
        // Lamp modes go by the simulator's names too.
        if (parameter.name == "lampMode") {
            if (auto mode = desktop::simulator::numberOf(desktop::simulator::kLampModes, words[i]))
                words[i] = std::to_string(*mode);
        }
        const std::string& word = words[i];
        std::string problem;
        if (parameter.kind == ArgumentKind::Integer && !kit::toInt(word)) {
            std::string modes;
            for (const desktop::simulator::Code& mode : desktop::simulator::kLampModes)
                modes.append(modes.empty() ? "" : ", ").append(mode.name);
            problem = outOfRange(word)
                          ? "is out of range (" + std::to_string(std::numeric_limits<int>::min()) +
                                " to " + std::to_string(std::numeric_limits<int>::max()) + ")"
                      : parameter.name == "lampMode"
                          ? "must be a lamp mode (" + modes + ") or a number"
                          : "must be a whole number";
        } else if (parameter.kind == ArgumentKind::Flag && !kit::toFlag(word)) {
            problem = "must be a flag (1/0, true/false, yes/no, on/off)";
        } else if (parameter.kind == ArgumentKind::ServiceState && !parseServiceState(word)) {
            problem = "must be a service state (";
            for (int value = 0; value < kStates; ++value)
                problem.append(value == 0 ? "" : ", ").append(protocol::kServiceStateNames[value]);
            problem += " or 0 to " + std::to_string(kStates - 1) + ")";
        }
        if (!problem.empty()) {
            throw std::invalid_argument(
                std::string(operation.name) + ": <" + std::string(parameter.name) + "> " + problem +
                ", not '" + desktop::printable(word, kEchoLimit) + "': " + usage(operation));
        }
    }
    return Arguments(words);
}

const std::vector<std::string>& resultNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (int code = sfiFailure; code <= sfiSuccess; ++code)
            all.push_back(resultName(code));
        return all;
    }();
    return names;
}

std::string resultName(int code) {
    if (code == sfiFailure) return std::string(protocol::kFailureWord);
    for (const protocol::ResultWord& entry : protocol::kResultWords) {
        if (entry.code == code) return std::string(entry.word);
    }
    return std::to_string(code);
}

} // namespace console
