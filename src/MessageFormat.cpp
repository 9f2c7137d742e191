#include "MessageFormat.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "CommunicationsServiceEventInvoker.h"
#include "CommunicationsServiceProxy.h"

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

int resultOf(const std::string& response) {
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

namespace {

template <typename Word> Word load(const char* bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

// The first '<' in [from, end), or nullptr. Values between tags are short, so a word at a
// time beats a call of memchr: a byte of the word is flagged exactly when it is '<'.
const char* findOpening(const char* from, const char* end) {
    constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7FULL;
    constexpr std::uint64_t kOpenings = 0x3C3C3C3C3C3C3C3CULL;
    while (end - from >= 8) {
        const std::uint64_t diff = load<std::uint64_t>(from) ^ kOpenings;
        const std::uint64_t flags = ~(((diff & kLow7) + kLow7) | diff | kLow7);
        if (flags != 0) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
            return from + __builtin_ctzll(flags) / 8;
#else
            return from + __builtin_clzll(flags) / 8;
#endif
        }
        from += 8;
    }
    for (; from != end; ++from) {
        if (*from == '<') return from;
    }
    return nullptr;
}

// The up to eight bytes of `name` and the '>' behind it from `offset`, and the mask that
// keeps just those bytes of a word read from the text.
std::uint64_t tagWord(std::string_view name, std::size_t offset, std::uint64_t* mask) {
    char bytes[8] = {};
    char kept[8] = {};
    for (std::size_t i = 0; i < 8 && offset + i <= name.size(); ++i) {
        bytes[i] = offset + i < name.size() ? name[offset + i] : '>';
        kept[i] = static_cast<char>(0xFF);
    }
    *mask = load<std::uint64_t>(kept);
    return load<std::uint64_t>(bytes);
}

} // namespace

ElementNames::ElementNames(const std::string_view* list, std::size_t size) : count(size) {
    if (size > kMaxNames) throw std::invalid_argument("ElementNames: too many names");
    std::memset(firstByByte, kNone, sizeof firstByByte);
    for (std::size_t i = size; i-- > 0;) {
        const std::string_view name = list[i];
        // A '>' inside a name would let one tag begin with another and hide its first place.
        if (name.empty() || name.front() == '/' ||
            name.find_first_of("<>") != std::string_view::npos ||
            std::find(list + i + 1, list + size, name) != list + size) {
            throw std::invalid_argument("ElementNames: unusable element name");
        }
        Name& entry = names[i];
        entry.text = name;
        entry.tailOffset = name.size() + 1 > 8 ? name.size() + 1 - 8 : 0;
        entry.head = tagWord(name, 0, &entry.headMask);
        entry.tail = tagWord(name, entry.tailOffset, &entry.tailMask);
        const auto first = static_cast<unsigned char>(name.front());
        nextSameByte[i] = firstByByte[first];
        firstByByte[first] = static_cast<std::uint8_t>(i);
    }
}

// Near the end of the text, where a whole word may not be read.
bool ElementNames::standsNearEnd(std::size_t index, const char* at, const char* end) const {
    const std::string_view name = names[index].text;
    return static_cast<std::size_t>(end - at) > name.size() && at[name.size()] == '>' &&
           std::memcmp(at, name.data(), name.size()) == 0;
}

inline bool ElementNames::standsAt(std::size_t index, const char* at, const char* end) const {
    const Name& name = names[index];
    const std::size_t size = name.text.size();
    if (static_cast<std::size_t>(end - at) < size + 8) return standsNearEnd(index, at, end);
    // Both words are always compared, which costs less than telling short names apart; the
    // bytes between them, in names of sixteen bytes or more, a word at a time.
    const std::uint64_t differ =
        ((load<std::uint64_t>(at) & name.headMask) ^ name.head) |
        ((load<std::uint64_t>(at + name.tailOffset) & name.tailMask) ^ name.tail);
    if (differ != 0) return false;
    for (std::size_t offset = 8; offset < name.tailOffset; offset += 8) {
        if (load<std::uint64_t>(at + offset) != load<std::uint64_t>(name.text.data() + offset)) {
            return false;
        }
    }
    return true;
}

namespace {

// The scan of one text: each '<' is looked at once, from left to right.
class ElementScan {
public:
    ElementScan(std::string_view text, const ElementNames& names, ElementSpan* spans)
        : begin(text.data()), end(text.data() + text.size()), names(names), spans(spans),
          unsettled(names.size()) {
        for (std::size_t i = 0; i < names.size(); ++i)
            spans[i] = ElementSpan{};
    }

    void run() {
        const char* open = nextOpening(begin);
        while (open != nullptr && unsettled != 0) {
            const char* const name = open + 1;
            if (name == end) break;
            open = *name == '/' ? afterClosing(open) : afterOpening(open);
        }
    }

private:
    // The first '<' at or after `from`; after a closing tag it usually stands right there.
    const char* nextOpening(const char* from) const {
        if (from != end && *from == '<') return from;
        return findOpening(from, end);
    }

    // `open` starts "</": settles the element still waiting for this end tag, if any.
    const char* afterClosing(const char* open) {
        const char* const name = open + 2;
        if (name == end) return nullptr;
        for (std::size_t i = names.firstWith(*name); i != ElementNames::kNone;
             i = names.nextWith(i)) {
            if (spans[i].value != std::string_view::npos && !spans[i].found() &&
                names.standsAt(i, name, end)) {
                settle(i, open);
                return nextOpening(name + names.length(i) + 1);
            }
        }
        return nextOpening(name);
    }

    // `open` may start a wanted element. On its first occurrence the value begins behind
    // it, and the element's own end tag is usually the very next '<'. Events mostly list
    // their elements in the order the handler names them, so the name after the last one
    // found is tried before the others.
    const char* afterOpening(const char* open) {
        const char* const name = open + 1;
        std::size_t i = expected;
        if (i >= names.size() || !names.standsAt(i, name, end)) {
            i = names.firstWith(*name);
            while (i != ElementNames::kNone && !names.standsAt(i, name, end))
                i = names.nextWith(i);
            if (i == ElementNames::kNone) return nextOpening(name);
        }
        const char* const value = name + names.length(i) + 1;
        if (spans[i].value != std::string_view::npos) return nextOpening(value);
        spans[i].value = static_cast<std::size_t>(value - begin);
        const char* const next = nextOpening(value);
        if (next == nullptr || end - next < 2 || next[1] != '/' ||
            !names.standsAt(i, next + 2, end)) {
            return next;
        }
        settle(i, next);
        expected = i + 1;
        return nextOpening(next + 2 + names.length(i) + 1);
    }

    void settle(std::size_t i, const char* closing) {
        spans[i].end = static_cast<std::size_t>(closing - begin);
        --unsettled;
    }

    const char* const begin;
    const char* const end;
    const ElementNames& names;
    ElementSpan* const spans;
    std::size_t unsettled;
    std::size_t expected = 0;
};

} // namespace

void findElements(std::string_view text, const ElementNames& names, ElementSpan* spans) {
    ElementScan(text, names, spans).run();
}

void findAnswerFields(std::string_view answer, const ElementNames& names, ElementSpan* spans) {
    constexpr std::size_t kMissing = std::string_view::npos;
    const char* const begin = answer.data();
    const char* const end = begin + answer.size();
    std::size_t starts[ElementNames::kMaxNames];
    std::size_t ends[ElementNames::kMaxNames];
    std::fill_n(starts, names.size(), kMissing);
    std::fill_n(ends, names.size(), kMissing);
    std::size_t unseen = 2 * names.size();
    for (const char* open = findOpening(begin, end); open != nullptr && unseen != 0;
         open = findOpening(open + 1, end)) {
        const bool closing = end - open > 1 && open[1] == '/';
        const char* const name = open + (closing ? 2 : 1);
        if (name == end) break;
        std::size_t* const first = closing ? ends : starts;
        for (std::size_t i = names.firstWith(*name); i != ElementNames::kNone;
             i = names.nextWith(i)) {
            if (first[i] == kMissing && names.standsAt(i, name, end)) {
                first[i] = static_cast<std::size_t>(open - begin);
                --unseen;
                break;
            }
        }
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (starts[i] == kMissing) {
            spans[i] = ElementSpan{};
            continue;
        }
        const std::size_t value = starts[i] + names.length(i) + 2;
        // Unsigned on purpose: a missing or earlier end tag wraps to a huge length.
        spans[i] = {value, value + std::min(answer.size() - value, ends[i] - value)};
    }
}

int CommunicationsServiceProxy::getResult(std::string& response) { return resultOf(response); }

std::string CommunicationsServiceProxy::getParamAsString(const std::string& startTag,
                                                         const std::string& message,
                                                         const std::string& endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string::npos) return {};
    const std::size_t value = start + startTag.size();
    // The service's answers are read with the end tag searched from position 0; an end tag
    // that is missing or stands before the value wraps the length and the value runs on.
    const std::size_t end = message.find(endTag);
    return message.substr(value, std::min(message.size() - value, end - value));
}

long CommunicationsServiceProxy::getParamAsLong(const std::string& startTag,
                                                const std::string& message,
                                                const std::string& endTag) {
    if (message.find(startTag) == std::string::npos) return -1;
    return strtol32(getParamAsString(startTag, message, endTag).c_str());
}

std::string CommunicationsServiceEventInvoker::getParamAsString(const std::string& startTag,
                                                                const std::string& message,
                                                                const std::string& endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string::npos) return {};
    const std::size_t value = start + startTag.size();
    const std::size_t end = message.find(endTag, value);
    if (end == std::string::npos) return {};
    return message.substr(value, end - value);
}

long CommunicationsServiceEventInvoker::getParamAsLong(const std::string& startTag,
                                                       const std::string& message,
                                                       const std::string& endTag) {
    const std::size_t start = message.find(startTag);
    if (start == std::string::npos) return -1;
    const std::size_t value = start + startTag.size();
    const std::size_t end = message.find(endTag, value);
    if (end == std::string::npos) return -1;
    return strtol32(message.substr(value, end - value).c_str());
}
