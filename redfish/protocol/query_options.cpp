#include "redfish/protocol/query_options.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <set>
#include <string_view>

#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"
#include "support/decimal.hpp"

namespace dp_redfish {
namespace {

answer wrong_format(const std::string& name, const std::string& value) {
    return error_answer(http_status::bad_request,
                        {{"QueryParameterValueFormatError", {value, name}}});
}

answer out_of_range(const std::string& name, const std::string& value, std::string range) {
    return error_answer(http_status::bad_request,
                        {{"QueryParameterOutOfRange", {value, name, std::move(range)}}});
}

// A number of members.
std::variant<std::size_t, answer> read_count(const std::string& name, const std::string& value) {
    constexpr std::uint32_t greatest = 0x7FFFFFFF;
    const std::string_view digits =
        value.starts_with('-') ? std::string_view(value).substr(1) : std::string_view(value);
    if (!dp_support::decimal::is_digits(digits)) {
        return error_answer(http_status::bad_request,
                            {{"QueryParameterValueTypeError", {value, name}}});
    }
    const auto number = dp_support::decimal::parse<std::uint32_t>(value);
    if (!number || *number > greatest) {
        return out_of_range(name, value, "0 to " + std::to_string(greatest));
    }
    return std::size_t{*number};
}

// ".", "*" or "~", maybe with "($levels=NUMBER)".
std::variant<expansion, answer> read_expansion(const std::string& name, const std::string& value) {
    expansion result;
    const char which = value.empty() ? '\0' : value.front();
    result.links = which == '~' || which == '*';
    result.others = which == '.' || which == '*';
    if (!result.links && !result.others) {
        return wrong_format(name, value);
    }
    constexpr std::string_view begin = "($levels=";
    const std::string_view rest = std::string_view(value).substr(1);
    if (rest.empty()) {
        return result;
    }
    if (!rest.starts_with(begin) || !rest.ends_with(')')) {
        return wrong_format(name, value);
    }
    const std::string_view digits = rest.substr(begin.size(), rest.size() - begin.size() - 1);
    if (!dp_support::decimal::is_digits(digits)) {
        return wrong_format(name, value);
    }
    const auto levels = dp_support::decimal::parse<unsigned>(digits);
    if (!levels || *levels == 0 || *levels > expansion::most_levels) {
        return out_of_range(name, value, "1 to " + std::to_string(expansion::most_levels));
    }
    result.levels = *levels;
    return result;
}

std::optional<std::vector<std::string>> split_selection(std::string_view value) {
    std::vector<std::string> names;
    for (;;) {
        const std::size_t comma = value.find(',');
        std::string_view name = value.substr(0, comma);
        while (name.starts_with(' ')) {
            name.remove_prefix(1);
        }
        while (name.ends_with(' ')) {
            name.remove_suffix(1);
        }
        if (name.empty() || name.front() == '/' || name.back() == '/') {
            return std::nullopt;
        }
        names.emplace_back(name);
        if (comma == std::string_view::npos) {
            return names;
        }
        value.remove_prefix(comma + 1);
    }
}

class query_reader {
  public:
    std::variant<query_options, answer> read(const query_parameters& query) {
        std::set<std::string_view> known;
        for (const auto& [name, value] : query) {
            if (!name.starts_with('$') && name != "only") {
                continue;
            }
            if (!known.insert(name).second) {
                return error_answer(http_status::bad_request,
                                    {{"QueryCombinationInvalid",
                                      {},
                                      {},
                                      "The parameter " + name + " is repeated."}});
            }
            if (auto error = take(name, value)) {
                return *std::move(error);
            }
        }
        if (options_.only && (options_.expanded || options_.top || options_.skip)) {
            return error_answer(http_status::bad_request, {{"QueryCombinationInvalid"}});
        }
        return std::move(options_);
    }

  private:
    std::optional<answer> take(const std::string& name, const std::string& value) {
        if (name == "only") {
            if (!value.empty()) {
                return wrong_format(name, value);
            }
            options_.only = true;
            return std::nullopt;
        }
        if (name == "$top" || name == "$skip") {
            auto count = read_count(name, value);
            if (auto* const error = std::get_if<answer>(&count)) {
                return std::move(*error);
            }
            (name == "$top" ? options_.top : options_.skip) = std::get<std::size_t>(count);
            return std::nullopt;
        }
        if (name == "$expand") {
            auto expanded = read_expansion(name, value);
            if (auto* const error = std::get_if<answer>(&expanded)) {
                return std::move(*error);
            }
            options_.expanded = std::get<expansion>(expanded);
            return std::nullopt;
        }
        if (name == "$select") {
            auto names = split_selection(value);
            if (!names) {
                return wrong_format(name, value);
            }
            options_.selected = *std::move(names);
            return std::nullopt;
        }
        return error_answer(http_status::not_implemented, {{"QueryParameterUnsupported", {name}}});
    }

    query_options options_;
};

}  // namespace

std::variant<query_options, answer> read_query(const query_parameters& query) {
    return query_reader().read(query);
}

bool has_query_options(const query_parameters& query) {
    return std::any_of(query.begin(), query.end(), [](const auto& parameter) {
        return parameter.first.starts_with('$') || parameter.first == "only";
    });
}

}  // namespace dp_redfish
