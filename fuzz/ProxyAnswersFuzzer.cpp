// The proxy's reading of answers: a channel answers each operation of the protocol
// description with fuzzed text, and the result and every output are held against the
// plain readers driven by the same description.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "Check.h"
#include "CommunicationsService/testing/NullSubscriber.h"
#include "CommunicationsServiceProxy.h"
#include "FuzzedCalls.h"
#include "MessageFormat.h"
#include "RecordingChannel.h"

namespace {

namespace protocol = CommunicationsService::protocol;
namespace answers = protocol::answers;
using Channel = testsupport::RecordingChannel;
using protocol::Carrier;

bool contains(std::string_view text, std::string_view word) {
    return text.find(word) != std::string_view::npos;
}

// The outputs, from their preset values, as the plain rules of each answer shape make them.
template <typename Field, typename Output>
void readPlainly(const Field& field, const std::string& answer, Output& output) {
    using answers::Reading;
    const std::string open = "<" + std::string(field.tag) + ">";
    const std::string close = "</" + std::string(field.tag) + ">";
    if constexpr (Field::reading == Reading::flag)
        output = answerNumber(open, answer, close) != 0;
    else if constexpr (Field::reading == Reading::number)
        output = static_cast<int>(answerNumber(open, answer, close));
    else if constexpr (Field::reading == Reading::text)
        output = answerText(open, answer, close);
    else
        output = static_cast<Output>(
            static_cast<int>(strtol32(answerText(open, answer, close).c_str())));
}

template <typename Answer, typename... Outputs>
int expectedResult(const Answer& shape, const std::string& answer, Outputs&... outputs) {
    if constexpr (std::is_same_v<Answer, answers::ResultWord>) {
        return resultOf(answer);
    } else if constexpr (std::is_same_v<Answer, answers::TrueWord>) {
        return answer == protocol::kTrueWord;
    } else if constexpr (std::is_same_v<Answer, answers::FlagWord>) {
        if (contains(answer, protocol::kFailureWord)) return sfiFailure;
        ((outputs = contains(answer, protocol::kTrueWord)), ...);
        return sfiSuccess;
    } else if constexpr (std::is_same_v<Answer, answers::StateWord>) {
        if (contains(answer, protocol::kFailureWord)) return sfiFailure;
        for (const sfiServiceState state :
             {sfiServiceInService, sfiServiceOutOfService, sfiServiceDoNotDisturb}) {
            if (contains(answer, serviceStateName(state))) {
                ((outputs = state), ...);
                return sfiSuccess;
            }
        }
        return sfiFailure;
    } else if constexpr (std::is_same_v<Answer, answers::ItemList>) {
        if (answer == protocol::kFailureWord) return sfiFailure;
        for (std::size_t open = answer.find('<'); open != std::string::npos;
             open = answer.find('<', open + 1)) {
            const std::size_t close = answer.find('>', open);
            if (close != std::string::npos)
                (outputs.push_back(answer.substr(open + 1, close - open - 1)), ...);
        }
        return sfiSuccess;
    } else {
        std::apply([&](const auto&... field) { (readPlainly(field, answer, outputs), ...); },
                   shape.fields);
        return resultOf(answerText("<" + std::string(shape.resultTag) + ">", answer,
                                   "</" + std::string(shape.resultTag) + ">"));
    }
}

template <typename Tuple, std::size_t From, std::size_t... I>
auto tail(Tuple& tuple, std::index_sequence<I...>) {
    return std::forward_as_tuple(std::get<From + I>(tuple).get()...);
}

template <typename Entry>
void exchange(const Entry& entry, CommunicationsServiceProxy& proxy, Channel& channel,
              operations::Source& source) {
    const std::string what(entry.method);
    if constexpr (std::is_same_v<decltype(entry.operation), std::nullptr_t>) {
        communications::testing::NullSubscriber subscriber;
        check::equal(proxy.subscribe(&subscriber), resultOf(channel.answer), what);
    } else {
        auto arguments = operations::argumentsOf(entry.operation, source);
        constexpr std::size_t inputs = std::tuple_size_v<decltype(entry.fields)>;
        constexpr std::size_t outputs = std::tuple_size_v<decltype(arguments)> - inputs;
        auto expected = arguments;
        using Answer = std::decay_t<decltype(entry.answer)>;
        if constexpr (std::is_same_v<Answer, answers::None>) {
            operations::call(entry, proxy, arguments);
            check::equal(channel.calls.size(), 1u, what + ": posted");
            check::equal(int(channel.calls[0].operation), int(Channel::Operation::SendOneWay),
                         what + ": posted");
            return;
        } else {
            const auto result = operations::call(entry, proxy, arguments);
            check::equal(channel.calls.size(), 1u, what + ": round trips");
            const Channel::Call& sent = channel.calls[0];
            const std::string answer = channel.mode == Channel::Answering::Appends
                                           ? sent.responseOnEntry + channel.answer
                                           : channel.answer;
            std::string preset;
            if constexpr (std::is_same_v<Answer, answers::FlagWord> ||
                          std::is_same_v<Answer, answers::StateWord>)
                preset = entry.answer.preset;
            check::equal(sent.responseOnEntry, preset, what + ": response handed over");
            const auto expectedOutputs =
                tail<decltype(expected), inputs>(expected, std::make_index_sequence<outputs>());
            const auto actualOutputs =
                tail<decltype(arguments), inputs>(arguments, std::make_index_sequence<outputs>());
            const int wanted = std::apply(
                [&](auto&... out) { return expectedResult(entry.answer, answer, out...); },
                expectedOutputs);
            check::equal(static_cast<int>(result), wanted, what + ": result");
            if (expectedOutputs != actualOutputs) check::equal(what, "", "outputs");
            const Channel::Operation carrier = entry.carrier == Carrier::sendRequestTimed
                                                   ? Channel::Operation::SendRequestTimed
                                                   : Channel::Operation::SendRequest;
            check::equal(int(sent.operation), int(carrier), what + ": carrier");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    operations::Source source{input};
    // A few operations per input, each answered with its own text.
    for (int call = 0; call < 4 && input.remaining_bytes() > 0; ++call) {
        const std::size_t operation =
            input.ConsumeIntegralInRange<std::size_t>(0, operations::kRequests + 2);
        const bool appends = input.ConsumeIntegralInRange(0, 7) == 0;
        Channel channel(input.ConsumeRandomLengthString(512),
                        appends ? Channel::Answering::Appends : Channel::Answering::Replaces);
        CommunicationsServiceProxy proxy;
        proxy.initProxy(channel);
        channel.calls.clear();
        CommunicationsServiceIfc& service = proxy;
        if (operation == operations::kRequests) {
            const std::string& bytes = channel.answer;
            service.processSignallingComponentEvent(bytes.data(), static_cast<int>(bytes.size()));
            check::equal(channel.calls.at(0).text,
                         std::string(protocol::requests::kSignalling) + bytes, "signalling");
        } else if (operation == operations::kRequests + 1) {
            check::equal(service.csCommunicationsService("name"), std::string(),
                         "csCommunicationsService");
            service.activateStoredFwd();
            check::equal(channel.calls.size(), 0u, "channel use");
        } else {
            operations::withRequest(
                operation, [&](const auto& entry) { exchange(entry, proxy, channel, source); });
        }
    }
    return 0;
}
