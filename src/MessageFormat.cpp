#include "MessageFormat.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace {

struct ResultWord {
    std::string_view word;
    int code;
};

// Compared in this order; the misspellings are the service's own.
constexpr ResultWord kResultWords[] = {
    {"sfiSuccess", sfiSuccess},
    {"sfiFailureCallBackInvalidState", sfiFailureCallBackInvalidState},
    {"sfiFailureCallBackNoCallInfo", sfiFailureCallBackNoCallInfo},
    {"sfiFailureCallBackToMany", sfiFailureCallBackToMany},
    {"sfiFailureCallBackAllreadyExists", sfiFailureCallBackAllreadyExists},
};

constexpr std::string_view kServiceStateNames[] = {
    "sfiServiceInService",
    "sfiServiceOutOfService",
    "sfiServiceDoNotDisturb",
};

} // namespace

int resultOf(std::string_view response) {
    for (const ResultWord& entry : kResultWords) {
        if (response == entry.word) return entry.code;
    }
    return sfiFailure;
}

std::string serialize(sfiServiceState state) { return std::string(serviceStateName(state)); }

std::string_view serviceStateName(sfiServiceState state) {
    const auto index = static_cast<std::uint32_t>(state);
    return index < std::size(kServiceStateNames) ? kServiceStateNames[index] : "";
}

long strtol32(const char* text) {
    const long value = std::strtol(text, nullptr, 10);
    return std::clamp<long>(value, std::numeric_limits<std::int32_t>::min(),
                            std::numeric_limits<std::int32_t>::max());
}

std::string answerText(std::string_view startTag, std::string_view message,
                       std::string_view endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string_view::npos) return {};
    const std::size_t value = start + startTag.size();
    // Unsigned on purpose: an end tag that is missing or stands before the value wraps
    // the length, and the value runs to the end of the answer.
    const std::size_t end = message.find(endTag);
    return std::string(message.substr(value, std::min(message.size() - value, end - value)));
}

long answerNumber(std::string_view startTag, std::string_view message, std::string_view endTag) {
    if (message.find(startTag) == std::string_view::npos) return -1;
    return strtol32(answerText(startTag, message, endTag).c_str());
}

std::string eventText(std::string_view startTag, std::string_view message,
                      std::string_view endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string_view::npos) return {};
    const std::size_t value = start + startTag.size();
    const std::size_t end = message.find(endTag, value);
    if (end == std::string_view::npos) return {};
    return std::string(message.substr(value, end - value));
}

long eventNumber(std::string_view startTag, std::string_view message, std::string_view endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string_view::npos) return -1;
    const std::size_t end = message.find(endTag, start + startTag.size());
    if (end == std::string_view::npos) return -1;
    return strtol32(eventText(startTag, message, endTag).c_str());
}

// ---------------------------------------------------------------------------------------
// Speed: the one-pass scans, under the contract stated in MessageFormat.h.
// ---------------------------------------------------------------------------------------

namespace {

inline std::uint64_t loadWord(const char* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline std::uint32_t loadHalf(const char* bytes) {
    std::uint32_t half;
    std::memcpy(&half, bytes, sizeof half);
    return half;
}

// The first `count` (1 to 8) bytes of a word as it was read from memory.
inline std::uint64_t leadingBytes(std::size_t count) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return ~std::uint64_t{0} >> (64 - 8 * count);
#else
    return ~std::uint64_t{0} << (64 - 8 * count);
#endif
}

const char* findOpening(const char* from, const char* end) {
    return from == end ? nullptr
                       : static_cast<const char*>(
                             std::memchr(from, '<', static_cast<std::size_t>(end - from)));
}

// Whether the `size` bytes at `at` are those of `bytes`, where a word can be read at both
// from every offset below `size` (the text holds at least eight bytes behind `at`).
inline bool sameWords(const char* at, const char* bytes, std::size_t size) {
    if (size <= 8) return ((loadWord(at) ^ loadWord(bytes)) & leadingBytes(size)) == 0;
    if (loadWord(at) != loadWord(bytes)) return false;
    for (std::size_t offset = 8; offset + 8 < size; offset += 8) {
        if (loadWord(at + offset) != loadWord(bytes + offset)) return false;
    }
    return loadWord(at + size - 8) == loadWord(bytes + size - 8);
}

// Whether `name` followed by '>' stands at `at`, with `end` the end of the text. The pool
// holds the '>' behind the name, so both are compared at once.
inline bool standsAt(const char* pool, ElementName name, const char* at, const char* end) {
    const std::size_t size = name.size + std::size_t{1};
    const char* const bytes = pool + name.offset;
    const auto room = static_cast<std::size_t>(end - at);
    if (room >= 8 && room >= size) return sameWords(at, bytes, size);
    // Near the end of the text, where a whole word cannot be read: up to seven bytes, as
    // two halves that overlap.
    if (room < size) return false;
    if (size >= 4) {
        return loadHalf(at) == loadHalf(bytes) &&
               loadHalf(at + size - 4) == loadHalf(bytes + size - 4);
    }
    for (std::size_t i = 0; i < size; ++i) {
        if (at[i] != bytes[i]) return false;
    }
    return true;
}

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// The scan of one event: each '<' is looked at once, from left to right.
class ElementScan {
public:
    ElementScan(std::string_view text, ElementNames names, ElementSpan* spans)
        : begin(text.data()), end(text.data() + text.size()), names(names), spans(spans),
          unsettled(names.count) {}

    void run(std::size_t from) {
        if (unsettled == 0) return;
        const char* open = inOrder(findOpening(begin + from, end));
        // The elements the expected order did not reach.
        for (std::size_t i = reached; i < names.count; ++i)
            spans[i] = ElementSpan{};
        while (open != nullptr && unsettled > 1) {
            const char* const name = open + 1;
            if (name == end) return;
            open = *name == '/' ? afterClosing(open) : afterOpening(open);
        }
        if (open != nullptr && unsettled == 1) lastElement(open);
    }

private:
    bool nameAt(std::size_t i, const char* at) const {
        return standsAt(names.pool, names.names[i], at, end);
    }

    std::size_t sizeOf(std::size_t i) const { return names.names[i].size; }

    // The first '<' at or after `from`; after a closing tag it usually stands right there.
    const char* nextOpening(const char* from) const {
        if (from != end && *from == '<') return from;
        return findOpening(from, end);
    }

    // Whether "</" and the name of element i stand at `open`.
    bool closes(std::size_t i, const char* open) const {
        return end - open > 2 && open[1] == '/' && nameAt(i, open + 2);
    }

    // Expected order: while `open` starts the next element in order and the '<' after it
    // ends that element, each '<' costs one compare.
    const char* inOrder(const char* open) {
        // Locals, so that writing a span never makes the compiler read the members again.
        const char* const pool = names.pool;
        const ElementName* const list = names.names;
        ElementSpan* const out = spans;
        const char* const last = end;
        std::size_t next = expected;
        const char* stop = open;
        for (; stop != nullptr && next < names.count; ++next) {
            const ElementName name = list[next];
            if (!standsAt(pool, name, stop + 1, last)) {
                out[next] = ElementSpan{};
                break;
            }
            const char* const value = stop + 2 + name.size;
            // Short values: the two bytes behind the start tag are looked at before memchr.
            const char* close = value;
            if (close != last && *close != '<' && ++close != last && *close != '<')
                close = findOpening(close + 1, last);
            else if (close == last)
                close = nullptr;
            if (close == nullptr || last - close < 2 || close[1] != '/' ||
                !standsAt(pool, name, close + 2, last)) {
                out[next] = {static_cast<std::size_t>(value - begin), std::string_view::npos};
                stop = close;
                reached = next + 1;
                expected = next;
                unsettled = names.count - next;
                return stop;
            }
            out[next] = {static_cast<std::size_t>(value - begin),
                         static_cast<std::size_t>(close - begin)};
            stop = close + 3 + name.size;
            if (stop == last || *stop != '<') stop = findOpening(stop, last);
        }
        reached = stop != nullptr && next < names.count ? next + 1 : next;
        expected = next;
        unsettled = names.count - next;
        return stop;
    }

    // `open` starts "</": settles the element still waiting for this end tag, if any.
    const char* afterClosing(const char* open) {
        const char* const at = open + 2;
        if (at == end) return nullptr;
        for (std::size_t i = 0; i < names.count; ++i) {
            if (spans[i].value != std::string_view::npos && !spans[i].found() && nameAt(i, at)) {
                settle(i, open);
                return nextOpening(at + sizeOf(i) + 1);
            }
        }
        return nextOpening(at);
    }

    // The first of the names that stands at `at`, or kNone.
    std::size_t anyNameAt(const char* at) const {
        for (std::size_t i = 0; i < names.count; ++i) {
            if (nameAt(i, at)) return i;
        }
        return kNone;
    }

    // `open` may start a wanted element. On its first occurrence the value begins behind
    // it; when the very next '<' is its end tag, it is settled at once.
    const char* afterOpening(const char* open) {
        const char* const at = open + 1;
        std::size_t i = expected;
        if (i >= names.count || !nameAt(i, at)) {
            i = anyNameAt(at);
            if (i == kNone) return nextOpening(at);
        }
        const char* const value = at + sizeOf(i) + 1;
        if (spans[i].value != std::string_view::npos) return nextOpening(value);
        spans[i].value = static_cast<std::size_t>(value - begin);
        const char* const next = nextOpening(value);
        if (next == nullptr || !closes(i, next)) return next;
        settle(i, next);
        expected = i + 1;
        return nextOpening(next + 3 + sizeOf(i));
    }

    // Last element: when one element is left, only its own tags are looked for.
    void lastElement(const char* open) {
        std::size_t i = 0;
        while (spans[i].found())
            ++i;
        for (; spans[i].value == std::string_view::npos; open = findOpening(open + 1, end)) {
            if (open == nullptr) return;
            if (nameAt(i, open + 1)) {
                open += 2 + sizeOf(i);
                spans[i].value = static_cast<std::size_t>(open - begin);
                open = findOpening(open, end);
                break;
            }
        }
        // Its end tag is found by its '/', which values hold more rarely than '<'.
        if (open == nullptr) return;
        for (const char* slash = open + 1; slash < end; ++slash) {
            slash = static_cast<const char*>(
                std::memchr(slash, '/', static_cast<std::size_t>(end - slash)));
            if (slash == nullptr) return;
            if (slash[-1] == '<' && nameAt(i, slash + 1)) return settle(i, slash - 1);
        }
    }

    void settle(std::size_t i, const char* closing) {
        spans[i].end = static_cast<std::size_t>(closing - begin);
        --unsettled;
    }

    const char* const begin;
    const char* const end;
    const ElementNames names;
    ElementSpan* const spans;
    std::size_t unsettled;
    std::size_t expected = 0;
    std::size_t reached = 0; // the spans the expected order has cleared
};

} // namespace

ElementNameSet::ElementNameSet(const std::vector<std::string_view>& list) {
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string_view name = list[i];
        if (name.empty() || name.size() > 255 || name.front() == '/' ||
            name.find_first_of("<>") != std::string_view::npos ||
            std::find(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(i), name) !=
                list.begin() + static_cast<std::ptrdiff_t>(i) ||
            pool.size() + name.size() > 0xFFFF)
            throw std::invalid_argument("unusable element name");
        names.push_back(
            {static_cast<std::uint16_t>(pool.size()), static_cast<std::uint8_t>(name.size())});
        pool.append(name).append(1, '>');
    }
    pool.append(8, '\0');
}

void findElements(std::string_view text, ElementNames names, ElementSpan* spans, std::size_t from) {
    ElementScan(text, names, spans).run(from);
}

namespace {

constexpr std::string_view kMethodOpen = "<Method>";
constexpr std::string_view kMethodClose = "</Method>";

struct MethodName {
    NamePool<kMethodOpen.size()> pool;
    ElementName name;
};

constexpr MethodName methodName() {
    MethodName method;
    method.name = method.pool.element(kMethodOpen.substr(1, kMethodOpen.size() - 2));
    return method;
}

constexpr MethodName kMethod = methodName();

} // namespace

ElementSpan findMethod(std::string_view text, std::size_t& fields) {
    // Expected order: the service begins every event with its method element.
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    fields = 0;
    if (text.size() >= kMethodOpen.size() + kMethodClose.size() &&
        std::memcmp(begin, kMethodOpen.data(), kMethodOpen.size()) == 0) {
        const char* const close = findOpening(begin + kMethodOpen.size(), end);
        if (close != nullptr && static_cast<std::size_t>(end - close) >= kMethodClose.size() &&
            std::memcmp(close, kMethodClose.data(), kMethodClose.size()) == 0) {
            const auto value = static_cast<std::size_t>(close - begin);
            fields = value + kMethodClose.size();
            return {kMethodOpen.size(), value};
        }
    }
    ElementSpan method;
    findElements(text, {kMethod.pool.bytes, &kMethod.name, 1}, &method);
    return method;
}

void findAnswerFields(std::string_view answer, ElementNames names, ElementSpan* spans) {
    constexpr std::size_t kMaxFields = 16;
    if (names.count > kMaxFields) {
        findAnswerFields(answer, {names.pool, names.names + kMaxFields, names.count - kMaxFields},
                         spans + kMaxFields);
    }
    const char* const begin = answer.data();
    const char* const end = begin + answer.size();
    std::size_t starts[kMaxFields];
    std::size_t ends[kMaxFields];
    const std::size_t count = std::min(names.count, kMaxFields);
    std::fill_n(starts, count, kNone);
    std::fill_n(ends, count, kNone);
    std::size_t unseen = 2 * count;
    for (const char* open = findOpening(begin, end); open != nullptr && unseen != 0;
         open = findOpening(open + 1, end)) {
        const bool closing = end - open > 1 && open[1] == '/';
        const char* const at = open + (closing ? 2 : 1);
        if (at == end) break;
        std::size_t* const first = closing ? ends : starts;
        for (std::size_t i = 0; i < count; ++i) {
            if (first[i] == kNone && standsAt(names.pool, names.names[i], at, end)) {
                first[i] = static_cast<std::size_t>(open - begin);
                --unseen;
                break;
            }
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (starts[i] == kNone) {
            spans[i] = ElementSpan{};
            continue;
        }
        const std::size_t value = starts[i] + names.names[i].size + 2;
        // Unsigned on purpose, as in answerText.
        spans[i] = {value, value + std::min(answer.size() - value, ends[i] - value)};
    }
}
