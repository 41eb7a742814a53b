#include "redfish/protocol/route_table.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

namespace dp_redfish {
namespace {

// The segments of `path` for each "{}" of `pattern`; nothing if they do not match.
std::optional<std::vector<std::string>> match_path(std::string_view pattern,
                                                   std::string_view path) {
    std::vector<std::string> parameters;
    for (;;) {
        const std::size_t pattern_end = std::min(pattern.find('/', 1), pattern.size());
        const std::size_t path_end = std::min(path.find('/', 1), path.size());
        const std::string_view wanted = pattern.substr(0, pattern_end);
        const std::string_view segment = path.substr(0, path_end);
        if (wanted == "/{}" && segment.size() > 1) {
            parameters.emplace_back(segment.substr(1));
        } else if (wanted != segment) {
            return std::nullopt;
        }
        pattern.remove_prefix(pattern_end);
        path.remove_prefix(path_end);
        if (pattern.empty() || path.empty()) {
            return pattern.empty() && path.empty() ? std::optional(std::move(parameters))
                                                   : std::nullopt;
        }
    }
}

}  // namespace

void route_table::add(std::string method, std::string pattern, privileges needed, operation run,
                      bool is_for_password_change) {
    routes_.push_back(
        {std::move(method), std::move(pattern), needed, std::move(run), is_for_password_change});
}

void route_table::add_stream(std::string pattern, privileges needed, operation run) {
    add("GET", std::move(pattern), needed, std::move(run));
    routes_.back().kind = route::kinds::stream;
}

void route_table::add_refusal(std::string method, std::string pattern, privileges needed,
                              operation run) {
    add(std::move(method), std::move(pattern), needed, std::move(run));
    routes_.back().kind = route::kinds::refusal;
}

route_table::match route_table::find(std::string_view method, std::string_view path) const {
    if (path.size() > 1 && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    match result;
    for (const auto& candidate : routes_) {
        auto parameters = match_path(candidate.pattern, path);
        if (!parameters) {
            continue;
        }
        if (candidate.kind != route::kinds::refusal) {
            result.allowed.push_back(candidate.method);
        }
        if (candidate.method == "GET") {
            result.allowed.emplace_back("HEAD");
        }
        const bool is_method =
            candidate.method == method || (candidate.method == "GET" && method == "HEAD");
        if (is_method && result.found == nullptr) {
            result.found = &candidate;
            result.parameters = *std::move(parameters);
        }
    }
    std::sort(result.allowed.begin(), result.allowed.end());
    result.allowed.erase(std::unique(result.allowed.begin(), result.allowed.end()),
                         result.allowed.end());
    return result;
}

}  // namespace dp_redfish
