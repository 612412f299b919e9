#include "options/hint.h"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>
#include <vector>

namespace NoisePreview {

namespace {

/// Levenshtein's distance: the characters to insert, delete or substitute.
size_t DistanceOf(std::string_view from, std::string_view to) {
    std::vector<size_t> row(to.size() + 1); // of the table of distances between prefixes
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t k = 0; k < from.size(); ++k) {
        size_t diagonal = std::exchange(row[0], k + 1);
        for (size_t n = 0; n < to.size(); ++n) {
            const size_t substituted = diagonal + (from[k] == to[n] ? 0 : 1);
            diagonal = row[n + 1];
            row[n + 1] = std::min({substituted, row[n] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

std::string Hint(const std::string& word, std::span<const std::string> knownWords) {
    constexpr size_t kMaxDistance = 2;
    const auto distance = [&](const std::string& known) { return DistanceOf(word, known); };
    const std::string& nearest = *std::ranges::min_element(knownWords, {}, distance);
    // A word that keeps less than half of its letters is not a typo.
    const bool isLikely = distance(nearest) <= kMaxDistance && 2 * distance(nearest) < nearest.size();
    return isLikely ? "; is it " + nearest + "?" : "";
}

} // namespace NoisePreview
