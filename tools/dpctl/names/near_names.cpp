#include "tools/dpctl/names/near_names.hpp"

#include <algorithm>
#include <numeric>
#include <utility>

namespace dpctl {
namespace {

constexpr std::size_t most_steps = 4;
constexpr std::size_t shortest_part = 3;

std::string lower(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return result;
}

std::size_t distance(const std::string& a, const std::string& b, std::size_t limit) {
    if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > limit) {
        return limit + 1;
    }
    // Three rows of the usual matrix: a swap looks back two.
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
    return distance(lower(a), lower(b), limit);
}

std::vector<std::size_t> near_names(std::string_view text, std::span<const std::string_view> names,
                                    std::size_t count) {
    const std::string wanted = lower(text);
    const std::size_t limit = std::min(most_steps, std::max<std::size_t>(1, wanted.size() / 3));
    std::vector<std::pair<std::size_t, std::size_t>> found;  // steps, position
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string candidate = lower(names[i]);
        const std::size_t steps = distance(wanted, candidate, limit);
        if (steps <= limit) {
            found.emplace_back(steps, i);
        } else if (wanted.size() >= shortest_part && candidate.find(wanted) != std::string::npos) {
            found.emplace_back(limit + 1, i);
        }
    }
    const std::size_t kept = std::min(found.size(), count);
    std::partial_sort(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(kept),
                      found.end());
    std::vector<std::size_t> nearest;
    for (std::size_t i = 0; i < kept; ++i) {
        nearest.push_back(found[i].second);
    }
    return nearest;
}

std::string did_you_mean(std::span<const std::string> names) {
    std::string question;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i != 0) {
            question += i + 1 == names.size() ? " or " : ", ";
        }
        question += names[i];
    }
    return question.empty() ? question : "did you mean " + question + "?";
}

}  // namespace dpctl
