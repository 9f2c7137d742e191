#include "Answers.h"

#include <algorithm>
#include <string_view>

namespace answer {

namespace {

bool contains(std::string_view text, std::string_view word) {
    return text.find(word) != std::string_view::npos;
}

} // namespace

int readFlag(const std::string& response, bool& value) {
    if (contains(response, protocol::kFailureWord)) return sfiFailure;
    value = contains(response, protocol::kTrueWord);
    return sfiSuccess;
}

int readState(const std::string& response, sfiServiceState& state) {
    if (contains(response, protocol::kFailureWord)) return sfiFailure;
    for (const sfiServiceState candidate :
         {sfiServiceInService, sfiServiceOutOfService, sfiServiceDoNotDisturb}) {
        if (contains(response, serviceStateName(candidate))) {
            state = candidate;
            return sfiSuccess;
        }
    }
    return sfiFailure;
}

int readItems(const std::string& response, std::vector<std::string>& items) {
    if (response == protocol::kFailureWord) return sfiFailure;
    // Each '<' opens an item, even inside another one: "<a<b>" lists "a<b" and "b". Every
    // '<' before the last '>' gives one item, so the list grows once.
    const std::size_t lastClose = response.rfind('>');
    if (lastClose != std::string::npos) {
        items.reserve(items.size() + static_cast<std::size_t>(std::count(
                                         response.begin(), response.begin() + lastClose, '<')));
    }
    for (std::size_t open = response.find('<'); open != std::string::npos;
         open = response.find('<', open + 1)) {
        const std::size_t close = response.find('>', open);
        if (close != std::string::npos)
            items.push_back(response.substr(open + 1, close - open - 1));
    }
    return sfiSuccess;
}

} // namespace answer
