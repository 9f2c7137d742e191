#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "CommunicationsService/CommunicationsServiceEventIfc.h"
#include "CommunicationsService/CommunicationsServiceIfc.h"

/// @file
/// The words in which the protocol is described once, as data: a request is its method
/// name, its fields in order, the channel operation that carries it and the shape of its
/// answer; an event is its method name, how that name is matched, and its fields in order.
/// The library, the desktop simulator and console, the test support, the fuzzers and the
/// benchmarks all read the same description (protocol/Requests.h, protocol/Events.h).
///
/// Each entry is checked when it is compiled: its fields and answer must agree in number
/// and kind with the parameters of the operation or callback it names.

namespace CommunicationsService::protocol {

/// The name the channel carries the protocol under.
inline constexpr std::string_view kProtocolName = "CommunicationsServiceProtocol";
/// How long a timed request and a subscription wait for their answer, in the channel's units.
inline constexpr int kTimeout = 100000;

/// The element of the envelope that names a message's method.
inline constexpr std::string_view kMethodTag = "Method";
/// The envelope every request and event starts with.
inline constexpr std::string_view kMethodOpen = "<Method>";
/// Closes the method element.
inline constexpr std::string_view kMethodClose = "</Method>";

/// A result word of an answer and the #sfiResult it stands for.
struct ResultWord {
    std::string_view word; ///< the word, compared whole
    int code;              ///< the result it gives
};

/// The words that answer a request with a result, compared in this order; any other answer
/// is a failure. The misspellings are the service's own.
inline constexpr ResultWord kResultWords[] = {
    {"sfiSuccess", sfiSuccess},
    {"sfiFailureCallBackInvalidState", sfiFailureCallBackInvalidState},
    {"sfiFailureCallBackNoCallInfo", sfiFailureCallBackNoCallInfo},
    {"sfiFailureCallBackToMany", sfiFailureCallBackToMany},
    {"sfiFailureCallBackAllreadyExists", sfiFailureCallBackAllreadyExists},
};
/// The word of a failure; in the answers of queries it fails them wherever it stands.
inline constexpr std::string_view kFailureWord = "sfiFailure";

/// The word the service answers with for a result code: kFailureWord for any but those of
/// kResultWords.
constexpr std::string_view resultWord(int code) {
    for (const ResultWord& entry : kResultWords) {
        if (entry.code == code) return entry.word;
    }
    return kFailureWord;
}

/// The names of the #sfiServiceState values, in the enumeration's order.
inline constexpr std::string_view kServiceStateNames[] = {
    "sfiServiceInService",
    "sfiServiceOutOfService",
    "sfiServiceDoNotDisturb",
};

/// The words of the answers that say yes or no.
inline constexpr std::string_view kTrueWord = "true";
inline constexpr std::string_view kFalseWord = "false"; ///< the other one
/// How a request writes a flag: false, true.
inline constexpr std::string_view kFlagDigits[] = {"0", "1"};
/// How a request writes a yes or no as a word: false, true.
inline constexpr std::string_view kFlagWords[] = {"FALSE", "TRUE"};

/// How a request writes an argument between its field's tags.
enum class Encoding : std::uint8_t {
    text,      ///< the bytes as they are; a null C string ends the request behind the open tag
    decimal,   ///< a signed decimal (int, enumeration or bool)
    flag,      ///< one of kFlagDigits
    word,      ///< one of kFlagWords
    stateName, ///< the name of an #sfiServiceState ("" for other values)
    number,    ///< a signed decimal written by the framework's ClientUtils::itos
    payload,   ///< the bytes as they are, behind the last field, with no element around them
};

/// One field of a request: `<tag>` argument `</tag>`.
template <Encoding E> struct RequestField {
    static constexpr Encoding encoding = E; ///< how the value is written
    std::string_view tag;                   ///< element name, without brackets
    std::string_view argument;              ///< the operation's parameter written into it
};

/// The channel operation of ProxyRequest that carries a request.
enum class Carrier : std::uint8_t {
    sendRequest,      ///< request and answer
    sendRequestTimed, ///< request and answer, with the time-out 100000
    sendSubscribe,    ///< request and answer, with the subscriber's channel name
    sendOneWay,       ///< posted, nothing comes back
};

/// Answer shapes. Each says how the answer text becomes the operation's result and outputs.
namespace answers {

/// A posted request: the operation returns nothing.
struct None {};
/// The whole answer compared with the result words: an #sfiResult.
struct ResultWord {};
/// "sfiFailure" anywhere fails and leaves the output; otherwise the output is whether
/// "true" occurs anywhere. The answer string holds `preset` before the channel fills it.
struct FlagWord {
    std::string_view preset; ///< the answer string's text before the channel fills it
    std::string_view output; ///< the output parameter set
};
/// "sfiFailure" anywhere fails; otherwise the first service-state name found anywhere,
/// tried in the enumeration's order, sets the output. Preset as for FlagWord.
struct StateWord {
    std::string_view preset; ///< the answer string's text before the channel fills it
    std::string_view output; ///< the output parameter set
};
/// The operation returns whether the whole answer is exactly "true".
struct TrueWord {};
/// The whole answer "sfiFailure" fails; otherwise every '<' opens an item that runs to the
/// next '>', appended to the output list.
struct ItemList {
    std::string_view output; ///< the output list appended to
};

/// How a tagged answer field is read, with the proxy's field readers.
enum class Reading : std::uint8_t {
    flag,        ///< getParamAsLong != 0 into a bool (missing: true)
    number,      ///< getParamAsLong into an int (missing: -1)
    text,        ///< getParamAsString into a std::string (missing: "")
    textNumber,  ///< getParamAsString, then strtol, into an int (missing: 0)
    textCounter, ///< as textNumber, the 32 bits kept in an unsigned int
};

/// One field of a tagged answer, feeding one output of the operation.
template <Reading R> struct Field {
    static constexpr Reading reading = R; ///< how the field is read
    std::string_view tag;                 ///< element name, without brackets
    std::string_view output;              ///< the output parameter it fills
};

/// Tagged fields, each read into its output in the outputs' order; the result is the
/// result word in the element `resultTag`.
template <typename... Fields> struct Tagged {
    std::string_view resultTag;   ///< element holding the result word
    std::tuple<Fields...> fields; ///< the outputs' fields, in the outputs' order

    /// The answer with the result word in `result` and the given output fields.
    constexpr Tagged(std::string_view result, Fields... outputs)
        : resultTag(result), fields(outputs...) {}
};

/// Whether an answer shape is Tagged.
template <typename Answer> inline constexpr bool isTagged = false;
/// @cond ENTRIES
template <typename... Fields> inline constexpr bool isTagged<Tagged<Fields...>> = true;
/// @endcond

} // namespace answers

/// @cond ENTRIES
// Helpers that spell request fields and answer fields in the tables.
namespace request_fields {
template <typename Field> struct Spelling {
    constexpr Field operator()(std::string_view tag, std::string_view argument) const {
        return {tag, argument};
    }
};
inline constexpr Spelling<RequestField<Encoding::text>> text{};
inline constexpr Spelling<RequestField<Encoding::decimal>> decimal{};
inline constexpr Spelling<RequestField<Encoding::flag>> flag{};
inline constexpr Spelling<RequestField<Encoding::word>> word{};
inline constexpr Spelling<RequestField<Encoding::stateName>> stateName{};
inline constexpr Spelling<RequestField<Encoding::number>> number{};
constexpr RequestField<Encoding::payload> payload(std::string_view argument) {
    return {{}, argument};
}
template <answers::Reading R> inline constexpr Spelling<answers::Field<R>> answer{};
} // namespace request_fields
/// @endcond

/// How an event's method name selects it.
enum class Match : std::uint8_t {
    exact,  ///< the whole name
    prefix, ///< any name that begins with it
};

/// What an event field becomes for its callback argument, read with the invoker's readers.
enum class FieldKind : std::uint8_t {
    text,       ///< the text between the tags (missing: "")
    number,     ///< strtol of it, saturated to 32 bits (missing: -1)
    counter,    ///< a number whose 32 bits go to an unsigned int (missing: 4294967295)
    flag,       ///< number != 0 (missing: -1, so true)
    numberList, ///< the text decoded by Serializer into std::vector<int>
    textList,   ///< the text decoded by Serializer into std::vector<std::string>
    payload,    ///< the message itself, its front cut off behind `tag` (a closing text
                ///< such as "/success>"); when that is missing, the first 8 bytes go
    parties,    ///< the four party elements, copied into a CallPartyInfo record
};

/// One field of an event, feeding one callback argument.
template <FieldKind K> struct EventField {
    static constexpr FieldKind kind = K; ///< what the field becomes
    std::string_view tag;      ///< element name without brackets (payload: the closing text)
    std::string_view argument; ///< the callback's parameter it feeds
};

/// The elements behind a CallPartyInfo, in the order they are read: calling party,
/// calling party name, called party, called party name.
inline constexpr std::string_view kPartyTags[] = {"GPUCLG", "GPUCLGName", "GPUCLD", "GPUCLDName"};

/// @cond ENTRIES
// Helpers that spell event fields in the table.
namespace event_fields {
using request_fields::Spelling;
inline constexpr Spelling<EventField<FieldKind::text>> text{};
inline constexpr Spelling<EventField<FieldKind::number>> number{};
inline constexpr Spelling<EventField<FieldKind::counter>> counter{};
inline constexpr Spelling<EventField<FieldKind::flag>> flag{};
inline constexpr Spelling<EventField<FieldKind::numberList>> numberList{};
inline constexpr Spelling<EventField<FieldKind::textList>> textList{};
// The closing text behind which the payload begins, such as "/success>".
inline constexpr Spelling<EventField<FieldKind::payload>> payloadAfter{};
constexpr EventField<FieldKind::parties> parties(std::string_view argument) {
    return {{}, argument};
}
} // namespace event_fields
/// @endcond

/// @cond ENTRIES
// The compile-time agreement between an entry and the C++ signature it describes.
namespace agreement {

template <typename T> using Bare = std::remove_cv_t<std::remove_reference_t<T>>;

template <Encoding E, typename Param> constexpr bool accepts() {
    using T = Bare<Param>;
    if constexpr (E == Encoding::text) {
        return std::is_same_v<T, std::string> || std::is_same_v<T, const char*>;
    } else if constexpr (E == Encoding::payload) {
        return std::is_same_v<T, std::string>;
    } else if constexpr (E == Encoding::decimal) {
        return std::is_same_v<T, int> || std::is_same_v<T, bool> || std::is_enum_v<T>;
    } else if constexpr (E == Encoding::flag || E == Encoding::word) {
        return std::is_same_v<T, bool>;
    } else if constexpr (E == Encoding::stateName) {
        return std::is_same_v<T, sfiServiceState>;
    } else {
        return std::is_same_v<T, int>;
    }
}

template <answers::Reading R> struct ReadingOutput;
template <> struct ReadingOutput<answers::Reading::flag> { using type = bool; };
template <> struct ReadingOutput<answers::Reading::number> { using type = int; };
template <> struct ReadingOutput<answers::Reading::text> { using type = std::string; };
template <> struct ReadingOutput<answers::Reading::textNumber> { using type = int; };
template <> struct ReadingOutput<answers::Reading::textCounter> { using type = unsigned int; };

/// The result type and the output parameters an answer shape gives an operation.
template <typename Answer> struct Outputs;
template <> struct Outputs<answers::None> {
    using result = void;
    using types = std::tuple<>;
};
template <> struct Outputs<answers::ResultWord> {
    using result = int;
    using types = std::tuple<>;
};
template <> struct Outputs<answers::FlagWord> {
    using result = int;
    using types = std::tuple<bool&>;
};
template <> struct Outputs<answers::StateWord> {
    using result = int;
    using types = std::tuple<sfiServiceState&>;
};
template <> struct Outputs<answers::TrueWord> {
    using result = bool;
    using types = std::tuple<>;
};
template <> struct Outputs<answers::ItemList> {
    using result = int;
    using types = std::tuple<std::vector<std::string>&>;
};
template <typename... Fields> struct Outputs<answers::Tagged<Fields...>> {
    using result = int;
    using types = std::tuple<typename ReadingOutput<Fields::reading>::type&...>;
};

template <FieldKind K> struct KindValue;
template <> struct KindValue<FieldKind::text> { using type = const std::string&; };
template <> struct KindValue<FieldKind::number> { using type = int; };
template <> struct KindValue<FieldKind::counter> { using type = unsigned int; };
template <> struct KindValue<FieldKind::flag> { using type = bool; };
template <> struct KindValue<FieldKind::numberList> { using type = std::vector<int>&; };
template <> struct KindValue<FieldKind::textList> { using type = std::vector<std::string>&; };
template <> struct KindValue<FieldKind::payload> { using type = std::string&; };
template <> struct KindValue<FieldKind::parties> { using type = CallPartyInfo*; };

template <typename Signature> struct Parameters;
// An operation whose argument is not written into the text (subscribe) is left unchecked.
template <> struct Parameters<std::nullptr_t> {
    using result = void;
    using types = void;
};
template <typename R, typename... Params>
struct Parameters<R (CommunicationsServiceIfc::*)(Params...)> {
    using result = R;
    using types = std::tuple<Params...>;
};
template <typename... Params>
struct Parameters<void (CommunicationsServiceEventIfc::*)(Params...)> {
    using result = void;
    using types = std::tuple<Params...>;
};

template <typename Inputs, typename Fields> struct InputsAgree;
template <typename... Params, typename... Fields>
struct InputsAgree<std::tuple<Params...>, std::tuple<Fields...>>
    : std::bool_constant<(accepts<Fields::encoding, Params>() && ...)> {};

template <typename Tuple, std::size_t From, std::size_t... I>
auto slice(std::index_sequence<I...>) -> std::tuple<std::tuple_element_t<From + I, Tuple>...>;

template <typename Operation, typename Answer, typename... Fields>
constexpr bool operationAgrees() {
    using Params = typename Parameters<Operation>::types;
    using Wanted = Outputs<Answer>;
    constexpr std::size_t inputs = sizeof...(Fields);
    constexpr std::size_t outputs = std::tuple_size_v<typename Wanted::types>;
    if constexpr (std::tuple_size_v<Params> != inputs + outputs) {
        return false;
    } else {
        using In = decltype(slice<Params, 0>(std::make_index_sequence<inputs>()));
        using Out = decltype(slice<Params, inputs>(std::make_index_sequence<outputs>()));
        return std::is_same_v<typename Parameters<Operation>::result, typename Wanted::result> &&
               InputsAgree<In, std::tuple<Fields...>>::value &&
               std::is_same_v<Out, typename Wanted::types>;
    }
}

/// Whether `Operation` (unless it is nullptr) takes one parameter per field, then the answer's
/// outputs, and returns the answer's result.
template <typename Operation, typename Answer, typename... Fields> constexpr bool requestAgrees() {
    if constexpr (std::is_same_v<Operation, std::nullptr_t>)
        return sizeof...(Fields) == 0;
    else
        return operationAgrees<Operation, Answer, Fields...>();
}

/// Whether `Callback` takes exactly the values of the fields, in order.
template <typename Callback, typename... Fields> constexpr bool eventAgrees() {
    return std::is_same_v<typename Parameters<Callback>::types,
                          std::tuple<typename KindValue<Fields::kind>::type...>>;
}

} // namespace agreement
/// @endcond

/// One request: the operation of CommunicationsServiceIfc it serves and its name, its method name,
/// the channel operation that carries it, the shape of its answer and its fields in order.
template <typename Operation, typename Answer, typename... Fields> struct Request {
    static_assert(agreement::requestAgrees<Operation, Answer, Fields...>(),
                  "the fields and the answer must match the operation's parameters");

    Operation operation;          ///< the operation served (nullptr: not checked)
    std::string_view name;        ///< the operation's name in CommunicationsServiceIfc
    std::string_view method;      ///< the method name in the envelope
    Carrier carrier;              ///< the channel operation that carries it
    Answer answer;                ///< the shape of its answer
    std::tuple<Fields...> fields; ///< its fields, in the order they are written

    /// An entry; the compiler checks it against `op`.
    constexpr Request(Operation op, std::string_view opName, std::string_view methodName,
                      Carrier via, Answer shape, Fields... written)
        : operation(op), name(opName), method(methodName), carrier(via), answer(shape),
          fields(written...) {}
};

/// One event: the callback it calls and its name, its method name, how that name is matched, and
/// the fields that feed the callback's arguments, in order.
template <typename Callback, typename... Fields> struct Event {
    static_assert(agreement::eventAgrees<Callback, Fields...>(),
                  "the fields must match the callback's parameters");

    Callback callback;            ///< the callback made
    std::string_view name;        ///< the callback's name in CommunicationsServiceEventIfc
    std::string_view method;      ///< the method name that selects it
    Match match;                  ///< how that name is matched
    std::tuple<Fields...> fields; ///< the fields, in the callback's argument order

    /// An entry; the compiler checks it against `call`.
    constexpr Event(Callback call, std::string_view callName, std::string_view methodName,
                    Match rule, Fields... read)
        : callback(call), name(callName), method(methodName), match(rule), fields(read...) {}
};

/// The row of the entry with the method name `method` in a table such as requests::all or
/// events::all. Method names are unique in each table; a name that two entries share fails
/// the build where the row is asked for at compile time.
template <typename Table> constexpr std::size_t rowOf(const Table& table, std::string_view method) {
    constexpr std::size_t kRows = std::tuple_size_v<Table>;
    std::string_view names[kRows] = {};
    std::apply(
        [&](const auto&... entry) {
            std::size_t at = 0;
            ((names[at++] = entry.method), ...);
        },
        table);
    std::size_t row = kRows;
    for (std::size_t at = 0; at < kRows; ++at) {
        if (names[at] != method) continue;
        if (row != kRows) throw "an entry's method name must be unique in its table";
        row = at;
    }
    return row;
}

/// Runs `visit(entry)` for the entry at `row` of a table such as requests::all or
/// events::all; nothing for a row past its end.
template <typename Table, typename Visit>
void visitRow(const Table& table, std::size_t row, Visit&& visit) {
    std::apply(
        [&](const auto&... entry) {
            std::size_t at = 0;
            ((at++ == row ? visit(entry) : void()), ...);
        },
        table);
}

/// The number of entries of a table such as requests::all or events::all.
template <typename Table> constexpr std::size_t rowCount(const Table&) {
    return std::tuple_size_v<Table>;
}

} // namespace CommunicationsService::protocol
