// The fast reader's scans: the method element, the fields of an event and of an answer,
// each located in one pass over the text with the names laid out at compile time.

#include "Scans.h"

#include <cstdlib>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "Catalogue.h"
#include "CommunicationsService/protocol/Description.h"

namespace fast {

namespace {

const char* findOpening(const char* from, const char* end) {
    return from == end ? nullptr
                       : static_cast<const char*>(
                             std::memchr(from, '<', static_cast<std::size_t>(end - from)));
}

// Whether `name` followed by '>' stands at `at`. The pool holds the '>' behind the name,
// so both are compared at once.
inline bool standsAt(const char* pool, ElementName name, const char* at, const char* end) {
    return sameBytes(at, pool + name.offset, name.size + std::size_t{1}, end);
}

#if defined(__SSE2__)
// Openings in blocks: every '<' of 64 bytes at once as a bit mask, the way simdjson finds
// the structural characters of JSON, so that the places of an event's tags are all known
// before any of them is compared, and the compares do not wait on one another.
std::uint64_t openingsOf64(const char* bytes) {
    const __m128i openings = _mm_set1_epi8('<');
    std::uint64_t mask = 0;
    for (int part = 0; part < 4; ++part) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + 16 * part));
        const auto bits =
            static_cast<std::uint16_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(chunk, openings)));
        mask |= std::uint64_t{bits} << (16 * part);
    }
    return mask;
}

// The '<' of a text from a place on, in order, 64 bytes at a time. A last short block is
// read as the end of the 64 bytes before the end of the text, when the text has that many.
class Openings {
public:
    Openings(const char* text, const char* from, const char* end)
        : text(text), block(from), end(end), mask(from < end ? maskAt(from) : 0) {}

    // The next '<', or nullptr when there is none.
    const char* next() {
        if (!refill()) return nullptr;
        const char* const at = block + static_cast<unsigned>(__builtin_ctzll(mask));
        mask &= mask - 1;
        return at;
    }

    // Passes over the next '<', whose place is known.
    void skip() {
        if (refill()) mask &= mask - 1;
    }

private:
    // Whether a '<' is left, with the mask on the block that holds it.
    bool refill() {
        while (mask == 0) {
            if (end - block <= 64) return false;
            block += 64;
            mask = maskAt(block);
        }
        return true;
    }

    std::uint64_t maskAt(const char* bytes) const {
        const auto room = static_cast<std::size_t>(end - bytes);
        if (room >= 64) return openingsOf64(bytes);
        if (end - text >= 64) return openingsOf64(end - 64) >> (64 - room);
        char tail[64] = {};
        std::memcpy(tail, bytes, room);
        return openingsOf64(tail);
    }

    const char* const text;
    const char* block;
    const char* const end;
    std::uint64_t mask;
};
#else
// Without SSE2, as on the phone's armhf core, each '<' is found by memchr from the one
// before: there, building the masks of 64 bytes from 32-bit words costs more instructions
// than the compares save.
class Openings {
public:
    Openings(const char* /*text*/, const char* from, const char* end) : at(from), end(end) {}

    // The next '<', or nullptr when there is none.
    const char* next() {
        const char* const found = findOpening(at, end);
        if (found != nullptr) at = found + 1;
        return found;
    }

    // Passes over the next '<'.
    void skip() { next(); }

private:
    const char* at;
    const char* const end;
};
#endif

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// The scan of one event: each '<' is looked at once, from left to right.
class ElementScan {
public:
    ElementScan(std::string_view text, ElementNames names, ElementSpan* spans)
        : begin(text.data()), end(text.data() + text.size()), names(names), spans(spans),
          unsettled(names.count) {}

    void run(std::size_t from) {
        if (unsettled == 0) return;
        const char* open = inOrder(begin + from);
        // The elements the expected order did not reach.
        for (std::size_t i = reached; i < names.count; ++i)
            spans[i] = kNotFound;
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

    // Expected order: while each element's value is followed by the bytes between it and
    // the next value, every element costs one compare; with the '<' found 64 bytes at a
    // time, the compares do not wait on one another. Gives the '<' where the scan goes on.
    const char* inOrder(const char* first) {
        // Locals, so that writing a span never makes the compiler read the members again.
        const char* const pool = names.pool;
        const char* const text = begin;
        const char* const last = end;
        const ElementName* name = names.names;
        const ElementName* const beyond = name + names.count;
        Openings openings(text, first, last);
        const char* const open = openings.next();
        if (open == nullptr || !standsAt(pool, *name, open + 1, last)) return open;
        const char* value = open + 2 + name->size;
        for (ElementSpan* out = spans;; ++out) {
            const char* const close = openings.next();
            out->value = static_cast<std::size_t>(value - text);
            if (close == nullptr ||
                !sameBytes(close, pool + name->offset + name->size + 1, name->following, last)) {
                const auto next = static_cast<std::size_t>(name - names.names);
                out->end = std::string_view::npos;
                reached = next + 1;
                expected = next;
                unsettled = names.count - next;
                return close;
            }
            out->end = static_cast<std::size_t>(close - text);
            value = close + name->following;
            if (++name == beyond) break;
            openings.skip(); // the next start tag's, compared with the bytes between
        }
        reached = names.count;
        unsettled = 0;
        return nullptr;
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
        // Its end tag is found by the first byte of its name: in the long values that end
        // an event, XML documents, that byte stands more rarely than '<' or '/'.
        if (open == nullptr || end - open < 3) return;
        const char first = names.pool[names.names[i].offset];
        for (const char* at = open + 2; at < end; ++at) {
            at = static_cast<const char*>(
                std::memchr(at, first, static_cast<std::size_t>(end - at)));
            if (at == nullptr) return;
            if (at[-2] == '<' && at[-1] == '/' && nameAt(i, at)) return settle(i, at - 2);
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

// Locates the elements of `names`, laid out in their pool as NamePool::elements lays them
// out, in one pass (`spans` holds names.count entries), by the invoker's rules. The scan may
// begin at `from` when no start tag of a name stands before it.
void findElements(std::string_view text, ElementNames names, ElementSpan* spans,
                  std::size_t from = 0) {
    ElementScan(text, names, spans).run(from);
}

using CommunicationsService::protocol::kMethodClose;
using CommunicationsService::protocol::kMethodOpen;

struct MethodName {
    NamePool<kMethodOpen.size() + kMethodClose.size()> pool;
    ElementName name;
};

constexpr MethodName methodName() {
    MethodName method;
    const std::string_view name = CommunicationsService::protocol::kMethodTag;
    method.pool.elements(&name, 1, &method.name);
    return method;
}

constexpr MethodName kMethod = methodName();

} // namespace

ElementSpan findMethod(std::string_view text, std::size_t& fields) {
    // Expected order: the service begins every event with its method element. Its tags are
    // compared as words: the opening tag is one, the closing tag one and a byte.
    static_assert(kMethodOpen.size() == 8 && kMethodClose.size() == 9);
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    fields = 0;
    if (text.size() >= kMethodOpen.size() + kMethodClose.size() &&
        loadWord(begin) == loadWord(kMethodOpen.data())) {
        const char* const close = findOpening(begin + kMethodOpen.size(), end);
        if (close != nullptr && static_cast<std::size_t>(end - close) >= kMethodClose.size() &&
            loadWord(close) == loadWord(kMethodClose.data()) && close[8] == kMethodClose[8]) {
            const auto value = static_cast<std::size_t>(close - begin);
            fields = value + kMethodClose.size();
            return {kMethodOpen.size(), value};
        }
    }
    ElementSpan method;
    findElements(text, {kMethod.pool.bytes, &kMethod.name, 1}, &method);
    return method;
}

namespace {

// Locates fields of one of the service's answers in one pass, by the proxy's rules.
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
            spans[i] = kNotFound;
            continue;
        }
        const std::size_t value = starts[i] + names.names[i].size + 2;
        // Unsigned on purpose, as in answerText.
        spans[i] = {value, value + std::min(answer.size() - value, ends[i] - value)};
    }
}

} // namespace

void findEventElements(std::size_t row, std::string_view event, ElementSpan* spans,
                       std::size_t from) {
    const catalogue::EventLayout& layout = catalogue::kCatalogue.events[row];
    findElements(event, {catalogue::kCatalogue.pool.bytes, layout.names, layout.elements}, spans,
                 from);
}

void findAnswerElements(std::size_t row, std::string_view answer, ElementSpan* spans) {
    const catalogue::RequestLayout& layout = catalogue::kCatalogue.requests[row];
    findAnswerFields(answer,
                     {catalogue::kCatalogue.pool.bytes,
                      catalogue::kCatalogue.answers.names + layout.answerFirst,
                      layout.answerFields + 1u},
                     spans);
}

} // namespace fast
