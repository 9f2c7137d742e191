// The fast paths held against the plain rules they stand in for: the one-pass scans of
// events and answers and the in-place numbers against the member readers of the invoker
// and of the proxy, and the request writer against a text stream. The fuzzers hold them
// to the same rules on texts no table foresees.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "CommunicationsService/framework/Utilities.h"
#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsServiceProxy.h"
#include "MessageFormat.h"

namespace {

using namespace std::string_literals;
using Names = std::vector<std::string_view>;

// Name sets as handlers read them, with shared first bytes and names that begin with
// other names; the last set has the shortest and the longest shapes and a '/' inside.
const std::vector<Names> kNameSets = {
    {"LineID", "CallID", "CallState", "Reason", "SendOptions", "URI", "Name", "FullPAI", "GPUCLG",
     "GPUCLGName", "GPUCLD", "GPUCLDName", "ResourcePriority", "PreemptionCause", "PreemptionText",
     "CallBackFearureAvailable", "ILCallLevel", "ILLocalLevel"},
    {"LineID", "CallID", "CallingParty", "CallingPartyName", "CallingPartyFullPAI",
     "NewDestination", "Reason"},
    {"a", "ab", "b", "x/y", "abcdefgh", "abcdefghi", "abcdefghijklmnop", "abcdefghijklmnopq"},
};

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

void expectMemberReadings(const std::string& message, const Names& list, std::size_t from = 0) {
    const ElementNameSet prepared(list);
    const ElementNames names = prepared.view();
    std::vector<ElementSpan> events(list.size());
    std::vector<ElementSpan> answers(list.size());
    const ExactCopy copy(message);
    findElements(copy.view(), names, events.data(), from);
    findAnswerFields(copy.view(), names, answers.data());
    CommunicationsServiceEventInvoker invoker;
    CommunicationsServiceProxy proxy;
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string name(list[i]);
        const std::string open = "<" + name + ">";
        const std::string close = "</" + name + ">";
        const auto where = [&] { return name + " in " + testing::PrintToString(message); };
        EXPECT_EQ(valueOf(message, events[i]), invoker.getParamAsString(open, message, close))
            << where();
        EXPECT_EQ(numberOf(message, events[i]), invoker.getParamAsLong(open, message, close))
            << where();
        EXPECT_EQ(valueOf(message, answers[i]), proxy.getParamAsString(open, message, close))
            << where();
        EXPECT_EQ(numberOf(message, answers[i]), proxy.getParamAsLong(open, message, close))
            << where();
    }
}

TEST(OnePassScans, ReadTrickyTextsAsTheMemberReadersDo) {
    const std::vector<std::string> messages = {
        "",
        "<",
        "</",
        "<a",
        "<a>",
        "<a>1",
        "<a>1<",
        "<a>1</",
        "<a>1</a",
        "<a>1</a>",
        // Repeated and nested-looking tags: the first start tag and the first end tag after it.
        "<a>1</a><a>2</a>",
        "<a><a>7</a></a>",
        "<a>1<a>2</a>3</a>",
        "<b><a>5</a></b>",
        "<a><b>5</a></b>",
        "<ab>3</a></ab>",
        "<a>4</ab></a>",
        // End tags before their start tag, alone or again after it.
        "</a><a>3</a>",
        "</a><a>3",
        "</a>x<a>",
        "</b></a><b>8</b><a>9</a>",
        // Names that begin with other names.
        "<CallingPartyName>n</CallingPartyName><CallingParty>p</CallingParty>",
        "<CallingPartyName>n</CallingParty><CallingParty>p</CallingPartyName>",
        "<GPUCLGName>x</GPUCLGName><GPUCLG>y</GPUCLG><GPUCLDName>z</GPUCLD>",
        // Tags at the very end, where no whole word can be read.
        "<URI>",
        "x<URI>1</URI>",
        "<URI>1</URI",
        "</URI>",
        "<a>1</a><a",
        // Values that hold brackets, tag texts and zero bytes; tags cut by a zero byte.
        "<Name>a<b>c</Name>",
        "<Name><sip:1@x></Name>",
        "<x>y</x>",
        "<x>y>z</x>y>",
        "<CallID>1\0 2</CallID>"s,
        "<Cal\0lID>5</CallID><CallID>6</CallID>"s,
        "<CallID>\0</CallID>"s,
        "\0<a>1</a>"s,
        // Numbers as strtol reads them.
        "<CallID> 42abc</CallID>",
        "<CallID>-7</CallID>",
        "<CallID>+-5</CallID>",
        "<CallID>99999999999</CallID>",
        "<CallID>\t\n\v\f\r8</CallID>",
        "<CallID>-2147483649</CallID>",
        "<CallID>-0</CallID>",
        "<CallID></CallID>",
        // Long names: the bytes between their first and last eight count too.
        "<CallBackFearureAvailable>1</CallBackFearureAvailable>",
        "<CallBackFearXreAvailable>1</CallBackFearureAvailable>",
        "<abcdefghijklmnopq>2</abcdefghijklmnop>",
        "<abcdefghijklmnop>3</abcdefghijklmnopq>",
        "<abcdefghXjklmnop>4</abcdefghijklmnop><abcdefghijklmnop>5</abcdefghXjklmnop>",
    };
    for (const std::string& message : messages) {
        for (const Names& names : kNameSets)
            expectMemberReadings(message, names);
    }
}

// Events written in the expected order, shifted byte by byte so that every tag meets the
// edges of the 64-byte blocks the scan reads, whole and with the order broken in the middle.
TEST(OnePassScans, ReadEventsInOrderAcrossBlockEdgesAsTheMemberReadersDo) {
    const Names& names = kNameSets[0];
    for (std::size_t shift = 0; shift < 70; ++shift) {
        std::string message(shift, ' ');
        for (std::size_t i = 0; i < names.size(); ++i) {
            const std::string name(names[i]);
            message += "<" + name + ">" + std::string(i % 3 * 9, 'v') + "</" + name + ">";
        }
        std::string misspelt = message;
        misspelt[message.find("</Name>") + 2] = 'n';
        std::string bracket = message;
        bracket.insert(message.find("</URI>"), "<");
        std::string spaced = message;
        spaced.insert(message.find("<GPUCLD>"), " ");
        for (const std::string& text :
             {message, misspelt, bracket, spaced, message.substr(0, message.size() - shift - 1)})
            expectMemberReadings(text, names);
        // From behind the leading blanks, as the invoker scans from behind the method.
        expectMemberReadings(message, names, shift);
    }
}

TEST(Decimal32, ConvertsAsStrtolOnACopyOfTheBytes) {
    std::mt19937 random(7);
    const std::string alphabet = " \t\n+-0123456789x\0"s;
    for (int round = 0; round < 20000; ++round) {
        std::string digits;
        for (std::size_t i = random() % 24; i > 0; --i)
            digits += alphabet[random() % alphabet.size()];
        ASSERT_EQ(decimal32(digits), strtol32(digits.c_str())) << testing::PrintToString(digits);
    }
    for (const char* digits : {"2147483647", "2147483648", "-2147483648", "-2147483649",
                               "4294967296", "18446744073709551617", "00000000000000000012"}) {
        EXPECT_EQ(decimal32(digits), strtol32(digits)) << digits;
    }
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

// What a default text stream writes for the same pieces; a null C string sets its bad bit.
std::string streamed(const std::string& line, int callId, const char* destination, bool flag) {
    std::ostringstream stream;
    stream << "<Method>OutgoingCallMakeRequest</Method><Line>" << line << "</Line><CallID>"
           << callId << "</CallID><Destination>" << destination << "</Destination><DSSDirectCall>"
           << flag << "</DSSDirectCall><BridgeCall>" << !flag << "</BridgeCall><CallCompletionCall>"
           << flag << "</CallCompletionCall>";
    return stream.str();
}

TEST(RequestWriter, WritesWhatADefaultTextStreamWrites) {
    LastRequest channel;
    CommunicationsServiceProxy proxy;
    proxy.initProxy(channel);
    std::mt19937 random(3);
    // Every length around the sizes that the writer copies in words.
    for (std::size_t length = 0; length <= 40; ++length) {
        std::string line(length, 'L');
        for (std::size_t i = 0; i < length; ++i)
            line[i] = static_cast<char>('a' + random() % 26);
        const int callId = static_cast<int>(random());
        const std::string destination = line + "</Destination>";
        const bool flag = random() % 2 == 0;
        EXPECT_EQ(proxy.outgoingCallMake(line, callId, destination.c_str(), flag, !flag, flag), 5);
        EXPECT_EQ(channel.text, streamed(line, callId, destination.c_str(), flag));
        proxy.outgoingCallMake(line, callId, nullptr, flag, !flag, flag);
        EXPECT_EQ(channel.text, streamed(line, callId, nullptr, flag));
    }
    for (const int callId : {0, 1, -1, 10, INT_MAX, INT_MIN, 1000000, -999999}) {
        proxy.outgoingCallMake("1001", callId, "2002", true, false, true);
        EXPECT_EQ(channel.text, streamed("1001", callId, "2002", true));
        proxy.RemoveConfParticipant(callId, "sip:2002@pbx", "");
        EXPECT_EQ(channel.text, "<Method>RemoveConfParticipant</Method><callID>" +
                                    ClientUtils::itos(callId) +
                                    "</callID><remoteParticipant>sip:2002@pbx</remoteParticipant>"
                                    "<conferenceMemberId></conferenceMemberId>");
    }
}

} // namespace
