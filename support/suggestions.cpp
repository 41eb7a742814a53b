#include "support/suggestions.hpp"

#include <algorithm>
#include <numeric>
#include <utility>

#include "support/ascii_case.hpp"

namespace dp_support {
namespace {

constexpr std::size_t greatest_distance = 4;
constexpr std::size_t shortest_part = 3;

std::size_t distance(const std::string& a, const std::string& b, std::size_t limit) {
    if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > limit) {
        return limit + 1;
    }
    // Three rows of the distance matrix: a swap refers to the row before the last one.
    std::vector<std::size_t> before_last(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min(
                {last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0U : 1U)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], before_last[j - 2] + 1);
            }
        }
        if (*std::min_element(row.begin(), row.end()) > limit) {
            return limit + 1;
        }
        std::swap(before_last, last);
        std::swap(last, row);
    }
    return std::min(last.back(), limit + 1);
}

}  // namespace

std::size_t edit_distance(std::string_view a, std::string_view b, std::size_t limit) {
    return distance(lower_case(a), lower_case(b), limit);
}

std::vector<std::size_t> similar_names(std::string_view text,
                                       std::span<const std::string_view> names, std::size_t count) {
    const std::string wanted = lower_case(text);
    const std::size_t limit =
        std::min(greatest_distance, std::max<std::size_t>(1, wanted.size() / 3));
    std::vector<std::pair<std::size_t, std::size_t>> found;  // distance, position
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string candidate = lower_case(names[i]);
        const std::size_t edits = distance(wanted, candidate, limit);
        if (edits <= limit) {
            found.emplace_back(edits, i);
        } else if (wanted.size() >= shortest_part && candidate.find(wanted) != std::string::npos) {
            found.emplace_back(limit + 1, i);
        }
    }
    const std::size_t kept = std::min(found.size(), count);
    std::partial_sort(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(kept),
                      found.end());
    std::vector<std::size_t> positions;
    for (std::size_t i = 0; i < kept; ++i) {
        positions.push_back(found[i].second);
    }
    return positions;
}

std::string enumerate(std::span<const std::string> texts, const char* last_separator) {
    std::string list;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (i != 0) {
            list += i + 1 == texts.size() ? last_separator : ", ";
        }
        list += texts[i];
    }
    return list;
}

std::string did_you_mean(std::span<const std::string> names) {
    return names.empty() ? std::string() : "did you mean " + enumerate(names, " or ") + "?";
}

}  // namespace dp_support
