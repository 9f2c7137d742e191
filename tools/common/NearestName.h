#pragma once

// "Did you mean" for the kit's programs: the one known name close to a mistyped word.

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

namespace kit {

// Edits between the words, letters compared without case.
inline std::size_t editDistance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> previous(to.size() + 1), current(to.size() + 1);
    for (std::size_t j = 0; j <= to.size(); ++j)
        previous[j] = j;
    for (std::size_t i = 1; i <= from.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const bool same = std::tolower(static_cast<unsigned char>(from[i - 1])) ==
                              std::tolower(static_cast<unsigned char>(to[j - 1]));
            current[j] =
                std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + (same ? 0 : 1)});
        }
        previous.swap(current);
    }
    return previous[to.size()];
}

// "; did you mean 'answerCall'?" when one known name is close to the word, else "".
inline std::string didYouMean(const std::string& word, const std::vector<std::string>& names) {
    const std::string* best = nullptr;
    // A third of the word may be mistyped, yet never more than a few letters: a long word
    // far from every name suggests nothing, and costs no time to turn down.
    constexpr std::size_t kMostEdits = 5;
    std::size_t bestDistance = std::clamp<std::size_t>(word.size() / 3, 2, kMostEdits) + 1;
    for (const std::string& name : names) {
        // The distance is at least the difference in length.
        const std::size_t shorter = std::min(word.size(), name.size());
        if (std::max(word.size(), name.size()) - shorter >= bestDistance) continue;
        const std::size_t distance = editDistance(word, name);
        if (distance < bestDistance) {
            best = &name;
            bestDistance = distance;
        }
    }
    if (best == nullptr) {
        // A word cut short, such as onCallHeld for onCallHeldEvent, names the one it begins.
        for (const std::string& name : names) {
            if (!word.empty() && name.compare(0, word.size(), word) == 0) {
                if (best != nullptr) return {};
                best = &name;
            }
        }
    }
    return best != nullptr ? "; did you mean '" + *best + "'?" : std::string();
}

} // namespace kit
