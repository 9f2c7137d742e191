#include "EventMessages.h"

#include <tuple>

#include "Samples.h"

namespace bench {
namespace {

namespace protocol = CommunicationsService::protocol;
namespace samples = testsupport::samples;
using protocol::FieldKind;

template <typename Entry, typename Values> Event make(const Entry& entry, Values&& valueOf) {
    Event event{std::string(entry.method), {}, samples::eventWith(entry, valueOf)};
    samples::forEachElement(
        entry, valueOf, [&](std::string_view tag, FieldKind kind, std::string_view value) {
            if (kind != FieldKind::payload)
                event.fields.push_back({kind, std::string(tag), std::string(value)});
        });
    return event;
}

std::string_view sample(FieldKind kind, std::string_view) { return samples::valueOf(kind); }

// A conference document with as many users as make about `bytes` bytes.
std::string conferenceDocument(std::size_t bytes) {
    const std::string user = "<user entity=\"sip:1001@pbx.example.com\"><display-text>Alice "
                             "Jones</display-text><endpoint><status>connected</status>"
                             "</endpoint></user>";
    std::string document = "<?xml version=\"1.0\"?><conference-info "
                           "xmlns=\"urn:ietf:params:xml:ns:conference-info\" state=\"full\">"
                           "<users>";
    while (document.size() + user.size() < bytes)
        document += user;
    return document + "</users></conference-info>";
}

} // namespace

const std::vector<Event>& events() {
    static const std::vector<Event> all =
        std::apply([](const auto&... entry) { return std::vector<Event>{make(entry, sample)...}; },
                   protocol::events::all);
    return all;
}

const Event& callStateEvent() { return events().front(); }

Event conferenceEvent(std::size_t bytes) {
    const std::string document = conferenceDocument(bytes);
    const std::string_view documentTag =
        std::get<std::tuple_size_v<decltype(protocol::events::conferenceStatus.fields)> - 1>(
            protocol::events::conferenceStatus.fields)
            .tag;
    return make(protocol::events::conferenceStatus,
                [&](FieldKind kind, std::string_view tag) -> std::string_view {
                    return tag == documentTag ? std::string_view(document) : sample(kind, tag);
                });
}

} // namespace bench
