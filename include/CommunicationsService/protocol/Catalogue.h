#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "CommunicationsService/protocol/Events.h"
#include "CommunicationsService/protocol/Requests.h"

/// @file
/// The description of protocol/Requests.h and protocol/Events.h as flat tables, built at
/// compile time, for tools that go through messages and fields at run time with plain loops:
/// every request with its operation's name, method, carrier, answer and fields, and every
/// event with its callback's name, method, matching and fields.

namespace CommunicationsService::protocol::catalogue {

/// A run of rows of one of the catalogue's tables.
template <typename Row> struct Rows {
    const Row* first = nullptr; ///< the first row
    std::size_t count = 0;      ///< how many

    constexpr const Row* begin() const { return first; }
    constexpr const Row* end() const { return first + count; }
    constexpr std::size_t size() const { return count; }
    constexpr bool empty() const { return count == 0; }
    constexpr const Row& operator[](std::size_t at) const { return first[at]; }
};

/// A field a request writes from one of its operation's arguments.
struct RequestField {
    std::string_view tag;      ///< element name, without brackets (empty for a payload)
    std::string_view argument; ///< the operation's parameter written into it
    Encoding encoding;         ///< how the value is written
};

/// How the answer to a request becomes the operation's result and outputs.
enum class AnswerShape : std::uint8_t {
    none,       ///< a posted request, nothing comes back
    resultWord, ///< the whole answer is a result word
    flagWord,   ///< an output flag: whether "true" occurs, unless it failed
    stateWord,  ///< an output service state: the first state name found, unless it failed
    trueWord,   ///< the result is whether the whole answer is "true"
    itemList,   ///< an output list: every '<' opens an item up to the next '>'
    tagged,     ///< tagged fields, each into an output, and a result word in `resultTag`
};

/// A tagged answer's field, feeding one output of the operation.
struct AnswerField {
    std::string_view tag;     ///< element name, without brackets
    std::string_view output;  ///< the output parameter it fills
    answers::Reading reading; ///< how it is read
};

/// One request.
struct Request {
    std::string_view name;          ///< the operation of CommunicationsServiceIfc
    std::string_view method;        ///< the method name in the envelope
    Carrier carrier;                ///< the channel operation that carries it
    AnswerShape answer;             ///< the shape of its answer
    std::string_view output;        ///< the output of a flag, state or list answer
    std::string_view preset;        ///< the answer string's text before the channel fills it
    std::string_view resultTag;     ///< element of a tagged answer's result word
    Rows<RequestField> fields;      ///< its fields, in the order they are written
    Rows<AnswerField> answerFields; ///< a tagged answer's fields, in the outputs' order
};

/// A field of an event, feeding one argument of its callback.
struct EventField {
    std::string_view tag;      ///< element name (payload: the closing text; parties: empty)
    std::string_view argument; ///< the callback's parameter it feeds
    FieldKind kind;            ///< what the field becomes
};

/// One event.
struct Event {
    std::string_view name;   ///< the callback of CommunicationsServiceEventIfc
    std::string_view method; ///< the method name that selects it
    Match match;             ///< how that name is matched
    Rows<EventField> fields; ///< its fields, in the callback's argument order

    /// Whether a message's method name selects this event, as the invoker matches it.
    constexpr bool selects(std::string_view methodName) const {
        return match == Match::exact ? methodName == method
                                     : methodName.substr(0, method.size()) == method;
    }
};

/// The names under which the four party elements of kPartyTags are shown, in their order.
inline constexpr std::string_view kPartyNames[] = {"callingParty", "callingPartyName",
                                                   "calledParty", "calledPartyName"};

/// @cond INTERNAL
namespace build {

template <typename Table> constexpr std::size_t kRowsOf = std::tuple_size_v<std::decay_t<Table>>;

template <typename Entry> constexpr std::size_t inputCount(const Entry&) {
    return std::tuple_size_v<decltype(Entry::fields)>;
}

template <typename Answer> constexpr std::size_t outputCount(const Answer& answer) {
    if constexpr (answers::isTagged<Answer>)
        return std::tuple_size_v<decltype(answer.fields)>;
    else
        return 0;
}

constexpr std::size_t totalRequestFields() {
    return std::apply([](const auto&... entry) { return (inputCount(entry) + ... + 0); },
                      requests::all);
}

constexpr std::size_t totalAnswerFields() {
    return std::apply([](const auto&... entry) { return (outputCount(entry.answer) + ... + 0); },
                      requests::all);
}

constexpr std::size_t totalEventFields() {
    return std::apply([](const auto&... entry) { return (inputCount(entry) + ... + 0); },
                      events::all);
}

template <typename Field> constexpr RequestField requestField(const Field& field) {
    return {field.tag, field.argument, Field::encoding};
}

template <typename Field> constexpr AnswerField answerField(const Field& field) {
    return {field.tag, field.output, Field::reading};
}

template <typename Field> constexpr EventField eventField(const Field& field) {
    return {field.tag, field.argument, Field::kind};
}

constexpr auto requestFields() {
    std::array<RequestField, totalRequestFields()> all{};
    std::size_t at = 0;
    std::apply(
        [&](const auto&... entry) {
            (std::apply([&](const auto&... field) { ((all[at++] = requestField(field)), ...); },
                        entry.fields),
             ...);
        },
        requests::all);
    return all;
}

template <typename Answer>
constexpr void addAnswerFields(const Answer& answer, AnswerField* all, std::size_t& at) {
    if constexpr (answers::isTagged<Answer>)
        std::apply([&](const auto&... field) { ((all[at++] = answerField(field)), ...); },
                   answer.fields);
}

constexpr auto answerFields() {
    std::array<AnswerField, totalAnswerFields()> all{};
    std::size_t at = 0;
    std::apply([&](const auto&... entry) { (addAnswerFields(entry.answer, all.data(), at), ...); },
               requests::all);
    return all;
}

constexpr auto eventFields() {
    std::array<EventField, totalEventFields()> all{};
    std::size_t at = 0;
    std::apply(
        [&](const auto&... entry) {
            (std::apply([&](const auto&... field) { ((all[at++] = eventField(field)), ...); },
                        entry.fields),
             ...);
        },
        events::all);
    return all;
}

inline constexpr auto kRequestFields = requestFields();
inline constexpr auto kAnswerFields = answerFields();
inline constexpr auto kEventFields = eventFields();

template <typename Answer> constexpr void shapeOf(const Answer& answer, Request& row) {
    if constexpr (std::is_same_v<Answer, answers::None>) {
        row.answer = AnswerShape::none;
    } else if constexpr (std::is_same_v<Answer, answers::ResultWord>) {
        row.answer = AnswerShape::resultWord;
    } else if constexpr (std::is_same_v<Answer, answers::FlagWord>) {
        row.answer = AnswerShape::flagWord;
        row.output = answer.output;
        row.preset = answer.preset;
    } else if constexpr (std::is_same_v<Answer, answers::StateWord>) {
        row.answer = AnswerShape::stateWord;
        row.output = answer.output;
        row.preset = answer.preset;
    } else if constexpr (std::is_same_v<Answer, answers::TrueWord>) {
        row.answer = AnswerShape::trueWord;
    } else if constexpr (std::is_same_v<Answer, answers::ItemList>) {
        row.answer = AnswerShape::itemList;
        row.output = answer.output;
    } else {
        static_assert(answers::isTagged<Answer>, "every answer shape has its catalogue row");
        row.answer = AnswerShape::tagged;
        row.resultTag = answer.resultTag;
    }
}

constexpr auto requestRows() {
    std::array<Request, kRowsOf<decltype(requests::all)>> rows{};
    std::size_t at = 0;
    std::size_t fieldAt = 0;
    std::size_t answerAt = 0;
    std::apply(
        [&](const auto&... entry) {
            (
                [&](const auto& one) {
                    Request& row = rows[at++];
                    row.name = one.name;
                    row.method = one.method;
                    row.carrier = one.carrier;
                    shapeOf(one.answer, row);
                    row.fields = {kRequestFields.data() + fieldAt, inputCount(one)};
                    fieldAt += inputCount(one);
                    row.answerFields = {kAnswerFields.data() + answerAt, outputCount(one.answer)};
                    answerAt += outputCount(one.answer);
                }(entry),
                ...);
        },
        requests::all);
    return rows;
}

constexpr auto eventRows() {
    std::array<Event, kRowsOf<decltype(events::all)>> rows{};
    std::size_t at = 0;
    std::size_t fieldAt = 0;
    std::apply(
        [&](const auto&... entry) {
            ((rows[at++] = Event{entry.name,
                                 entry.method,
                                 entry.match,
                                 {kEventFields.data() + fieldAt, inputCount(entry)}},
              fieldAt += inputCount(entry)),
             ...);
        },
        events::all);
    return rows;
}

} // namespace build
/// @endcond

/// Every request, in the order of requests::all.
inline constexpr auto kRequests = build::requestRows();
/// Every event, in the order in which the invoker tries their names.
inline constexpr auto kEvents = build::eventRows();

/// The request with the method name `method`; nullptr when there is none.
constexpr const Request* requestByMethod(std::string_view method) {
    for (const Request& row : kRequests) {
        if (row.method == method) return &row;
    }
    return nullptr;
}

/// The request of the operation `name`; nullptr when there is none.
constexpr const Request* requestNamed(std::string_view name) {
    for (const Request& row : kRequests) {
        if (row.name == name) return &row;
    }
    return nullptr;
}

/// The event a method name selects, as the invoker selects it (no method name begins with
/// another, so at most one does); nullptr when none.
constexpr const Event* eventSelectedBy(std::string_view method) {
    for (const Event& row : kEvents) {
        if (row.selects(method)) return &row;
    }
    return nullptr;
}

/// The event of the callback `name`; nullptr when there is none.
constexpr const Event* eventNamed(std::string_view name) {
    for (const Event& row : kEvents) {
        if (row.name == name) return &row;
    }
    return nullptr;
}

} // namespace CommunicationsService::protocol::catalogue
