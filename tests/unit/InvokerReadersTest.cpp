// The two pairs of field readers side by side: the proxy's, which reads the service's
// answers with the end tag searched from the start of the text, and the invoker's, which
// reads events and wants the end tag behind the start tag.

#include <gtest/gtest.h>

#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsServiceProxy.h"

namespace {

struct ReaderRow {
    const char* start;
    const char* message;
    const char* end;
    const char* proxyText;
    long proxyNumber;
    const char* invokerText;
    long invokerNumber;
};

const ReaderRow kRows[] = {
    // start, message, end | proxy text, number | invoker text, number
    {"<uri>", "<uri>sip:a</uri>", "</uri>", "sip:a", 0, "sip:a", 0},
    {"<a>", "<b>1</b>", "</a>", "", -1, "", -1},
    {"<a>", "x<a>12rest", "</a>", "12rest", 12, "", -1},
    {"<x>", "<x>", "</x>", "", 0, "", -1},
    {"<a>", "</a><a>34tail", "</a>", "34tail", 34, "", -1},
    {"<b>", "<a>1</b><b>2</b>", "</b>", "2</b>", 2, "2", 2},
    {"<x>", "<x></x>", "</x>", "", 0, "", 0},
    {"<x>", "<x>abc</x>", "</x>", "abc", 0, "abc", 0},
    {"<x>", "<x>1</x><x>2</x>", "</x>", "1", 1, "1", 1},
    {"<x>", "<x> 42abc</x>", "</x>", " 42abc", 42, " 42abc", 42},
    {"<x>", "<x>\t\n 8</x>", "</x>", "\t\n 8", 8, "\t\n 8", 8},
    {"<x>", "<x>-7</x>", "</x>", "-7", -7, "-7", -7},
    {"<x>", "<x>+5</x>", "</x>", "+5", 5, "+5", 5},
    {"<x>", "<x>+-5</x>", "</x>", "+-5", 0, "+-5", 0},
    {"<x>", "<x>2147483647</x>", "</x>", "2147483647", 2147483647, "2147483647", 2147483647},
    {"<x>", "<x>2147483648</x>", "</x>", "2147483648", 2147483647, "2147483648", 2147483647},
    {"<x>", "<x>4294967297</x>", "</x>", "4294967297", 2147483647, "4294967297", 2147483647},
    {"<x>", "<x>-2147483648</x>", "</x>", "-2147483648", -2147483648L, "-2147483648", -2147483648L},
    {"<x>", "<x>-2147483649</x>", "</x>", "-2147483649", -2147483648L, "-2147483649", -2147483648L},
    // Tags are plain byte strings: found inside values, case-sensitive, whole with brackets.
    {"<b>", "<a><b>5</b></a>", "</b>", "5", 5, "5", 5},
    {"<a>", "<a><b>5</b></a>", "</a>", "<b>5</b>", 0, "<b>5</b>", 0},
    {"<id>", "<name>x<id>3</id></name><id>4</id>", "</id>", "3", 3, "3", 3},
    {"<CallID>", "<callId>7</callId>", "</CallID>", "", -1, "", -1},
    {"<Call>", "<CallID>7</CallID>", "</Call>", "", -1, "", -1},
};

TEST(FieldReaders, ReadEveryRowAsTheProxyAndTheInvokerEachDo) {
    CommunicationsServiceProxy proxy;
    CommunicationsServiceEventInvoker invoker;
    for (const ReaderRow& row : kRows) {
        SCOPED_TRACE(std::string(row.start) + " in " + row.message + " to " + row.end);
        EXPECT_EQ(proxy.getParamAsString(row.start, row.message, row.end), row.proxyText);
        EXPECT_EQ(proxy.getParamAsLong(row.start, row.message, row.end), row.proxyNumber);
        EXPECT_EQ(invoker.getParamAsString(row.start, row.message, row.end), row.invokerText);
        EXPECT_EQ(invoker.getParamAsLong(row.start, row.message, row.end), row.invokerNumber);
    }
}

} // namespace
