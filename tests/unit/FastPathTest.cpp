// The fast reader held against the plain rules it stands in for, through the one interface
// both implement: the event and answer scans, the method and its routes, the numbers and
// the request writer, on tricky texts made from the description's own names. The fuzzers
// hold the two readers to each other on texts no table foresees.

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "CommunicationsService/framework/Utilities.h"
#include "CommunicationsService/protocol/Requests.h"
#include "CommunicationsServiceProxy.h"
#include "Elements.h"
#include "Reader.h"

namespace {

using namespace std::string_literals;
namespace protocol = CommunicationsService::protocol;
using Names = std::vector<std::string_view>;

// The text in a copy with no byte to spare, so that the sanitizers see any read past it.
class ExactCopy {
public:
    explicit ExactCopy(const std::string& text) : bytes(new char[text.size()]), size(text.size()) {
        std::copy(text.begin(), text.end(), bytes.get());
    }
    std::string_view view() const { return {bytes.get(), size}; }

private:
    std::unique_ptr<char[]> bytes;
    std::size_t size;
};

Names eventNames(std::size_t row) {
    Names names;
    protocol::visitRow(protocol::events::all, row, [&](const auto& event) {
        elements::forEach(event, [&](std::string_view name) { names.push_back(name); });
    });
    return names;
}

// The rows with tagged answers, and their names: the fields', then the result's.
std::vector<std::pair<std::size_t, Names>> taggedAnswers() {
    std::vector<std::pair<std::size_t, Names>> rows;
    for (std::size_t row = 0; row < protocol::rowCount(protocol::requests::all); ++row) {
        protocol::visitRow(protocol::requests::all, row, [&](const auto& request) {
            if constexpr (protocol::answers::isTagged<std::decay_t<decltype(request.answer)>>) {
                Names names;
                std::apply([&](const auto&... field) { (names.push_back(field.tag), ...); },
                           request.answer.fields);
                names.push_back(request.answer.resultTag);
                rows.emplace_back(row, names);
            }
        });
    }
    return rows;
}

void expectSameSpans(const std::string& text, const std::vector<ElementSpan>& plain,
                     const std::vector<ElementSpan>& quick, const Names& names) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto where = [&] {
            return std::string(names[i]) + " in " + testing::PrintToString(text);
        };
        ASSERT_EQ(quick[i].found(), plain[i].found()) << where();
        EXPECT_EQ(valueOf(text, quick[i]), valueOf(text, plain[i])) << where();
        EXPECT_EQ(fast::decimal(valueOf(text, quick[i])), rules::decimal(valueOf(text, plain[i])))
            << where();
    }
}

// The event scan from the front and from behind the method element, as the invoker runs
// it, and the answer scan, each against the rules.
void expectEventReadings(std::size_t row, const Names& names, const std::string& text) {
    const ExactCopy copy(text);
    std::size_t from = 0;
    std::size_t plainFrom = 0;
    const ElementSpan method = fast::findMethod(copy.view(), from);
    const ElementSpan plainMethod = rules::findMethod(text, plainFrom);
    ASSERT_EQ(method.found(), plainMethod.found()) << testing::PrintToString(text);
    EXPECT_EQ(valueOf(text, method), valueOf(text, plainMethod)) << testing::PrintToString(text);
    std::vector<ElementSpan> plain(names.size());
    std::vector<ElementSpan> quick(names.size());
    rules::findEventElements(row, text, plain.data(), 0);
    for (const std::size_t start : {std::size_t{0}, from}) {
        fast::findEventElements(row, copy.view(), quick.data(), start);
        expectSameSpans(text, plain, quick, names);
    }
}

void expectAnswerReadings(std::size_t row, const Names& names, const std::string& text) {
    const ExactCopy copy(text);
    std::vector<ElementSpan> plain(names.size());
    std::vector<ElementSpan> quick(names.size());
    rules::findAnswerElements(row, text, plain.data());
    fast::findAnswerElements(row, copy.view(), quick.data());
    expectSameSpans(text, plain, quick, names);
}

// Texts about two names A and B: repeated, nested-looking, misplaced, cut and unclosed
// tags, tags at the very end, values with brackets, zero bytes and numbers as strtol reads.
const std::vector<std::string> kShapes = {
    "",
    "<",
    "</",
    "<A",
    "<A>",
    "<A>1",
    "<A>1<",
    "<A>1</",
    "<A>1</A",
    "<A>1</A>",
    "<A>1</A><A>2</A>",
    "<A><A>7</A></A>",
    "<A>1<A>2</A>3</A>",
    "<B><A>5</A></B>",
    "<A><B>5</A></B>",
    "</A><A>3</A>",
    "</A><A>3",
    "</A>x<A>",
    "</B></A><B>8</B><A>9</A>",
    "<B>n</A><A>p</B>",
    "x<A>1</A>",
    "<A>a<b>c</A>",
    "<A><sip:1@x></A>",
    "<A>y>z</A>y>",
    "<A>1\0 2</A>"s,
    "<A>\0</A>"s,
    "\0<A>1</A>"s,
    "<A> 42abc</A>",
    "<A>-7</A>",
    "<A>+-5</A>",
    "<A>99999999999</A>",
    "<A>\t\n\v\f\r8</A>",
    "<A>-2147483649</A>",
    "<A>-0</A>",
    "<A></A>",
    "<A>1</A><B>2</B>",
    "<A>1</A> <B>2</B>",
    "<A>1</A><B>2</B",
    "<Method>M</Method><A>1</A><B>2",
    "<Method>M<x></Method><B>1</B><A>2</A>",
    "<Method>M</Method><B>1</B><A>2</A><B>3</B>",
};

std::string shaped(std::string shape, std::string_view a, std::string_view b) {
    std::string text;
    for (const char byte : shape)
        text += byte == 'A' ? std::string(a) : byte == 'B' ? std::string(b) : std::string(1, byte);
    return text;
}

TEST(FastReader, ScansTrickyTextsOfEveryEventAndAnswerAsTheRulesDo) {
    for (std::size_t row = 0; row < elements::kEvents; ++row) {
        const Names names = eventNames(row);
        for (std::size_t a = 0; a < names.size(); ++a) {
            for (std::size_t b = 0; b < names.size(); ++b) {
                for (const std::string& shape : kShapes)
                    expectEventReadings(row, names, shaped(shape, names[a], names[b]));
            }
        }
    }
    for (const auto& [row, names] : taggedAnswers()) {
        for (std::size_t a = 0; a < names.size(); ++a) {
            for (const std::string& shape : kShapes)
                expectAnswerReadings(row, names,
                                     shaped(shape, names[a], names[(a + 1) % names.size()]));
        }
    }
}

// Events written in the order the service writes them, shifted byte by byte so that every
// tag meets the edges of the 64-byte blocks the fast scan reads, whole and with the order
// broken in the middle.
TEST(FastReader, ScansEventsInOrderAcrossBlockEdgesAsTheRulesDo) {
    for (std::size_t row = 0; row < elements::kEvents; ++row) {
        const Names names = eventNames(row);
        if (names.empty()) continue;
        for (std::size_t shift = 0; shift<70; shift += names.size()> 3 ? 1 : 7) {
            std::string event(shift, ' ');
            event += std::string(protocol::kMethodOpen) + "M" + std::string(protocol::kMethodClose);
            for (std::size_t i = 0; i < names.size(); ++i) {
                const std::string name(names[i]);
                event += "<" + name + ">" + std::string(i % 3 * 9, 'v') + "</" + name + ">";
            }
            const std::string middle = "</" + std::string(names[names.size() / 2]) + ">";
            std::string misspelt = event;
            misspelt[event.find(middle) + 2] ^= 0x20;
            std::string bracket = event;
            bracket.insert(event.find(middle), "<");
            std::string spaced = event;
            spaced.insert(event.find(middle) + middle.size(), " ");
            for (const std::string& text :
                 {event, misspelt, bracket, spaced, event.substr(0, event.size() - shift - 1),
                  event.substr(shift)})
                expectEventReadings(row, names, text);
        }
    }
}

TEST(FastReader, RoutesEveryMethodNameAsTheRulesDo) {
    std::vector<std::string> methods = {"", "x", "Method", "incoming", "call"};
    std::apply(
        [&](const auto&... event) {
            for (const std::string_view name : {event.method...}) {
                methods.push_back(std::string(name));
                methods.push_back(std::string(name) + "Extra");
                methods.push_back(std::string(name.substr(0, name.size() - 1)));
                methods.push_back(std::string(name.substr(1)));
                methods.push_back(std::string(name.substr(0, 1)));
            }
        },
        protocol::events::all);
    for (const std::string& method : methods)
        EXPECT_EQ(fast::routesOf(method), rules::routesOf(method)) << method;
}

TEST(FastReader, ConvertsNumbersAsStrtolOnACopyOfTheBytes) {
    std::mt19937 random(7);
    const std::string alphabet = " \t\n+-0123456789x\0"s;
    for (int round = 0; round < 20000; ++round) {
        std::string digits;
        for (std::size_t i = random() % 24; i > 0; --i)
            digits += alphabet[random() % alphabet.size()];
        ASSERT_EQ(fast::decimal(digits), rules::decimal(digits)) << testing::PrintToString(digits);
    }
    for (const char* digits : {"2147483647", "2147483648", "-2147483648", "-2147483649",
                               "4294967296", "18446744073709551617", "00000000000000000012"}) {
        EXPECT_EQ(fast::decimal(digits), rules::decimal(digits)) << digits;
    }
}

// Every request with arguments of every length around the sizes the fast writer copies in
// words, numbers at the ends of their range, and a missing text at each place.
TEST(FastReader, WritesEveryRequestAsTheRulesDo) {
    std::mt19937 random(3);
    for (std::size_t row = 0; row < protocol::rowCount(protocol::requests::all); ++row) {
        for (std::size_t length = 0; length <= 40; ++length) {
            std::string text(length, 'L');
            for (char& byte : text)
                byte = static_cast<char>('a' + random() % 26);
            const int numbers[] = {0, 1, -1, INT_MAX, INT_MIN, static_cast<int>(random())};
            Argument arguments[8];
            for (std::size_t i = 0; i < 8; ++i)
                arguments[i] = {text, numbers[(length + i) % 6], false};
            // A null C string, where a text field takes one.
            protocol::visitRow(protocol::requests::all, row, [&](const auto& request) {
                std::size_t i = 0;
                std::apply(
                    [&](const auto&... field) {
                        ((arguments[i].missing =
                              field.encoding == protocol::Encoding::text && length % 5 == i,
                          ++i),
                         ...);
                    },
                    request.fields);
            });
            EXPECT_EQ(fast::requestText(row, arguments), rules::requestText(row, arguments))
                << row << " " << length;
        }
    }
}

// What a default text stream writes for the same pieces; a null C string sets its bad bit.
std::string streamed(const std::string& line, int callId, const char* destination, bool flag) {
    std::ostringstream stream;
    stream << "<Method>OutgoingCallMakeRequest</Method><Line>" << line << "</Line><CallID>"
           << callId << "</CallID><Destination>" << destination << "</Destination><DSSDirectCall>"
           << flag << "</DSSDirectCall><BridgeCall>" << !flag << "</BridgeCall><CallCompletionCall>"
           << flag << "</CallCompletionCall>";
    return stream.str();
}

struct LastRequest : ProxyRequest {
    std::string text;
    int sendRequest(const std::string& request, std::string& response) override {
        text = request;
        response = "sfiSuccess";
        return 0;
    }
    int sendOneWay(const std::string& message) override {
        text = message;
        return 0;
    }
};

TEST(RequestWriter, WritesWhatADefaultTextStreamWrites) {
    LastRequest channel;
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);
    for (const int callId : {0, 1, -1, 10, INT_MAX, INT_MIN, 1000000, -999999}) {
        const std::string line(static_cast<std::size_t>(callId & 15), 'L');
        const std::string destination = line + "</Destination>";
        EXPECT_EQ(proxy.outgoingCallMake(line, callId, destination.c_str(), true, false, true), 5);
        EXPECT_EQ(channel.text, streamed(line, callId, destination.c_str(), true));
        proxy.outgoingCallMake(line, callId, nullptr, false, true, false);
        EXPECT_EQ(channel.text, streamed(line, callId, nullptr, false));
        proxy.RemoveConfParticipant(callId, "sip:2002@pbx", "");
        EXPECT_EQ(channel.text, "<Method>RemoveConfParticipant</Method><callID>" +
                                    ClientUtils::itos(callId) +
                                    "</callID><remoteParticipant>sip:2002@pbx</remoteParticipant>"
                                    "<conferenceMemberId></conferenceMemberId>");
    }
}

} // namespace
