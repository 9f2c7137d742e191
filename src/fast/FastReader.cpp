// The fast reader's routing, numbers and requests: the method routed by its first byte,
// numbers read where they stand, requests written in one allocation. Its scans of events
// and answers are in Scans.cpp.

#include <charconv>
#include <string>

#include "Catalogue.h"
#include "CommunicationsService/framework/Utilities.h"

namespace fast {

namespace {

using catalogue::kBounds;
using catalogue::kCatalogue;
using catalogue::RequestLayout;
using CommunicationsService::protocol::Encoding;
namespace protocol = CommunicationsService::protocol;

// First byte: the rows whose method name begins with each byte; only those are compared
// with a name.
struct RoutesByFirstByte {
    RouteSet rows[256] = {};
};

static_assert(elements::kEvents <= 32, "one bit per route");

constexpr RoutesByFirstByte routesByFirstByte() {
    RoutesByFirstByte table;
    for (std::size_t row = 0; row < elements::kEvents; ++row) {
        const auto first =
            static_cast<unsigned char>(kCatalogue.pool.text(kCatalogue.events[row].method).front());
        table.rows[first] |= RouteSet{1} << row;
    }
    return table;
}

// Whether one method name begins with another: then one method could select two rows.
constexpr bool namesNest() {
    for (const catalogue::EventLayout& one : kCatalogue.events) {
        for (const catalogue::EventLayout& other : kCatalogue.events) {
            const std::string_view name = kCatalogue.pool.text(one.method);
            const std::string_view otherName = kCatalogue.pool.text(other.method);
            if (&one != &other && name.substr(0, otherName.size()) == otherName) return true;
        }
    }
    return false;
}

static_assert(!namesNest(),
              "routesOf stops at the first row that matches, which is right only while no "
              "method name begins with another: let it go on comparing the other rows");

constexpr RoutesByFirstByte kRoutesByFirstByte = routesByFirstByte();

} // namespace

long decimal(std::string_view digits) { return decimal32(digits); }

RouteSet routesOf(std::string_view method) {
    if (method.empty()) return 0;
    RouteSet candidates = kRoutesByFirstByte.rows[static_cast<unsigned char>(method.front())];
    for (; candidates != 0; candidates &= candidates - 1) {
        const auto row = static_cast<std::size_t>(__builtin_ctz(candidates));
        const catalogue::EventLayout& event = kCatalogue.events[row];
        const std::string_view name = kCatalogue.pool.text(event.method);
        // The name's last byte is compared first: rows that share the first byte seldom
        // share that one.
        if (method.size() < name.size() || method[name.size() - 1] != name.back()) continue;
        if (event.match == protocol::Match::exact && method.size() != name.size()) continue;
        if (sameBytes(method.data(), name.data(), name.size(), method.data() + method.size()))
            return RouteSet{1} << row;
    }
    return 0;
}

// One request in the envelope, written into one string of exactly its length, so that a
// request costs one allocation however long its values are. A null C string stops the
// text right after its field's opening tag and drops everything after it, which is what
// the service has always received for such a request.
std::string requestText(std::size_t row, const Argument* arguments) {
    const RequestLayout& layout = kCatalogue.requests[row];
    constexpr std::string_view kOpenMethod = protocol::kMethodOpen;
    constexpr std::string_view kCloseMethod = protocol::kMethodClose;
    const std::string_view method = kCatalogue.pool.text(layout.method);
    std::string_view values[kBounds.fields];
    char decimals[kBounds.fields][12];
    // The pass-through requests format numbers with the framework's own helper.
    std::string spelled[kBounds.fields];
    std::size_t written = layout.fields; // fields written whole
    std::size_t total = kOpenMethod.size() + method.size() + kCloseMethod.size();
    for (std::size_t i = 0; i < layout.fields; ++i) {
        const Argument& argument = arguments[i];
        const std::size_t tag = layout.field[i].tag.size;
        switch (layout.field[i].encoding) {
        case Encoding::text:
        case Encoding::stateName:
        case Encoding::payload:
            values[i] = argument.text;
            break;
        case Encoding::decimal: {
            const auto end = std::to_chars(decimals[i], decimals[i] + 12, argument.number).ptr;
            values[i] = std::string_view(decimals[i], static_cast<std::size_t>(end - decimals[i]));
            break;
        }
        case Encoding::flag:
            values[i] = protocol::kFlagDigits[argument.number != 0];
            break;
        case Encoding::word:
            values[i] = protocol::kFlagWords[argument.number != 0];
            break;
        case Encoding::number:
            spelled[i] = ClientUtils::itos(argument.number);
            values[i] = spelled[i];
            break;
        }
        if (argument.missing) {
            total += tag + 2;
            written = i;
            break;
        }
        total += layout.field[i].encoding == Encoding::payload ? values[i].size()
                                                               : 2 * tag + 5 + values[i].size();
    }
    std::string message(total, '\0');
    char* out = copyShort(message.data(), kOpenMethod);
    out = copyShort(copyShort(out, method), kCloseMethod);
    for (std::size_t i = 0; i < layout.fields; ++i) {
        const std::string_view tag = kCatalogue.pool.text(layout.field[i].tag);
        if (layout.field[i].encoding == Encoding::payload) {
            out = copyShort(out, values[i]);
            continue;
        }
        *out++ = '<';
        out = copyShort(out, tag);
        *out++ = '>';
        if (i == written) break;
        out = copyShort(out, values[i]);
        *out++ = '<';
        *out++ = '/';
        out = copyShort(out, tag);
        *out++ = '>';
    }
    return message;
}

} // namespace fast
