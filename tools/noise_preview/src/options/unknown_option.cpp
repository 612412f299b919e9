#include "options/unknown_option.h"

#include "options/option_table.h"
#include "options/refusal.h"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>
#include <vector>

namespace NoisePreview {

namespace {

/// How many characters have to be taken away, put in or exchanged to get from one word to another:
/// Levenshtein's distance, row by row of its table.
size_t DistanceOf(std::string_view from, std::string_view to) {
    std::vector<size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t k = 0; k < from.size(); ++k) {
        size_t diagonal = std::exchange(row[0], k + 1);
        for (size_t n = 0; n < to.size(); ++n) {
            const size_t exchanged = diagonal + (from[k] == to[n] ? 0 : 1);
            diagonal = row[n + 1];
            row[n + 1] = std::min({exchanged, row[n] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

void RefuseUnknown(const std::string& word) {
    constexpr size_t kMostSlips = 2;
    if (!word.starts_with('-')) {
        throw CRefusal("'" + word + "' belongs to no option");
    }
    const std::string name = word.substr(0, word.find('='));
    const auto distance = [&](const COption& option) { return DistanceOf(name, option.m_Name); };
    const auto& nearest = *std::ranges::min_element(OptionTable(), {}, distance);
    const std::string hint =
        distance(nearest) <= kMostSlips ? std::string("; is it ") + nearest.m_Name + "?" : "";
    throw CRefusal("there is no option '" + name + "'" + hint);
}

} // namespace NoisePreview
