#include <cstring>

#include "CommunicationsService/app/EventHandler.h"
#include "CommunicationsService/app/Events.h"
#include "CommunicationsService/protocol/Catalogue.h"

namespace CommunicationsService::app {

namespace {

// A text of a fixed array: up to its NUL, never past the array's end.
template <std::size_t N> std::string boundedText(const char (&field)[N]) {
    const void* nul = std::memchr(field, '\0', N);
    return std::string(field, nul != nullptr ? static_cast<const char*>(nul) - field : N);
}

} // namespace

CallParties::CallParties(const CallPartyInfo* record) {
    if (record == nullptr) return;
    calledPartyName = boundedText(record->calledPartyName);
    calledParty = boundedText(record->calledParty);
    callingPartyName = boundedText(record->callingPartyName);
    callingParty = boundedText(record->callingParty);
}

std::string_view nameOf(const Event& event) {
    return protocol::catalogue::kEvents[event.index()].name;
}

void EventHandler::handle(const Event& event) {
    std::visit([this](const auto& one) { on(one); }, event);
}

} // namespace CommunicationsService::app
