#include "redfish/events/event_filter.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "support/ascii_case.hpp"

namespace dp_redfish {
namespace {

// "1.4" of "ResourceEvent.1.4.ResourceChanged"; empty if there is none.
std::string_view version_of(std::string_view message_id) {
    const std::size_t first = message_id.find('.');
    const std::size_t last = message_id.rfind('.');
    return first == last ? std::string_view() : message_id.substr(first + 1, last - first - 1);
}

// A version may be given in full, in part, or not at all.
bool is_same_message(std::string_view wanted, std::string_view id) {
    const auto registry_of = [](std::string_view text) { return text.substr(0, text.find('.')); };
    const auto name_of = [](std::string_view text) { return text.substr(text.rfind('.') + 1); };
    if (registry_of(wanted) != registry_of(id) || name_of(wanted) != name_of(id)) {
        return false;
    }
    std::string_view shorter = version_of(wanted);
    std::string_view longer = version_of(id);
    if (shorter.size() > longer.size()) {
        std::swap(shorter, longer);
    }
    return longer.starts_with(shorter) &&
           (shorter.empty() || longer.size() == shorter.size() || longer[shorter.size()] == '.');
}

}  // namespace

// Reads a filter by recursive descent.
class event_filter_parser {
  public:
    explicit event_filter_parser(std::string_view text) : rest_(text) {}

    std::variant<event_filter, event_filter::problem> parse() {
        if (read_either(1)) {
            skip_spaces();
            if (rest_.empty()) {
                return std::move(made_);
            }
            fail("'" + std::string(rest_) + "' follows the end of the filter.");
        }
        return std::move(problem_);
    }

  private:
    using steps = event_filter::steps;
    static constexpr unsigned most_levels = 32;

    bool fail(std::string reason, bool is_unsupported = false) {
        problem_ = {is_unsupported, std::move(reason)};
        return false;
    }

    void add(steps kind, std::string value = {}) {
        made_.steps_.push_back({kind, std::move(value)});
    }

    void skip_spaces() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
    }

    // Takes a word if it is the next one.
    bool take(std::string_view word) {
        skip_spaces();
        const bool is_next =
            rest_.starts_with(word) &&
            (rest_.size() == word.size() || rest_[word.size()] == ' ' || rest_[word.size()] == '(');
        rest_.remove_prefix(is_next ? word.size() : 0);
        return is_next;
    }

    bool take(char c) {
        skip_spaces();
        const bool is_next = rest_.starts_with(c);
        rest_.remove_prefix(is_next ? 1 : 0);
        return is_next;
    }

    std::string take_word() {
        skip_spaces();
        const std::size_t end = std::min(rest_.find_first_of(" ()'"), rest_.size());
        std::string word(rest_.substr(0, end));
        rest_.remove_prefix(end);
        return word;
    }

    std::optional<std::string> take_value() {
        if (!take('\'')) {
            std::string word = take_word();
            return word.empty() ? std::nullopt : std::optional(std::move(word));
        }
        std::string value;
        for (std::size_t i = 0; i < rest_.size(); ++i) {
            if (rest_[i] == '\'') {
                if (i + 1 == rest_.size() || rest_[i + 1] != '\'') {
                    rest_.remove_prefix(i + 1);
                    return value;
                }
                ++i;
            }
            value += rest_[i];
        }
        return std::nullopt;
    }

    bool read_either(unsigned level) {
        if (!read_both(level)) {
            return false;
        }
        while (take("or")) {
            if (!read_both(level)) {
                return false;
            }
            add(steps::either);
        }
        return true;
    }

    bool read_both(unsigned level) {
        if (!read_one(level)) {
            return false;
        }
        while (take("and")) {
            if (!read_one(level)) {
                return false;
            }
            add(steps::both);
        }
        return true;
    }

    bool read_one(unsigned level) {
        if (level > most_levels) {
            return fail("The filter is nested too deeply.");
        }
        if (take("not")) {
            if (!read_one(level + 1)) {
                return false;
            }
            add(steps::negation);
            return true;
        }
        if (take('(')) {
            return read_either(level + 1) && (take(')') || fail("A ')' is missing."));
        }
        return read_comparison();
    }

    bool read_comparison() {
        const std::string property = take_word();
        const std::string comparison = take_word();
        const auto value = take_value();
        if (property.empty() || comparison.empty() || !value) {
            return fail("A comparison has the form: PROPERTY eq 'VALUE'.");
        }
        if (!add_comparison(property, *value)) {
            return false;
        }
        if (comparison == "ne") {
            add(steps::negation);
            return true;
        }
        if (comparison == "eq") {
            return true;
        }
        const bool is_known =
            comparison == "gt" || comparison == "ge" || comparison == "lt" || comparison == "le";
        return fail("The operators are eq, ne, and, or and not, not '" + comparison + "'.",
                    is_known);
    }

    bool add_comparison(const std::string& property, const std::string& value) {
        if (property == "MessageId") {
            add(steps::message_id, value);
        } else if (property == "OriginResource") {
            add(steps::origin, value);
        } else if (property == "RegistryPrefix") {
            add(steps::registry_prefix, value);
        } else if (property == "ResourceType") {
            add(steps::resource_type, value);
        } else if (property == "EventFormatType") {
            if (value != "Event") {
                return fail("The streams have no '" + value + "', only 'Event'.",
                            value == "MetricReport");
            }
            add(steps::all);
        } else if (property == "SubordinateResources") {
            const std::string truth = dp_support::lower_case(value);
            if (truth != "true" && truth != "false") {
                return fail("SubordinateResources is true or false.");
            }
            made_.has_subordinates_ = truth == "true";
            add(steps::all);
        } else if (property == "MetricReportDefinition") {
            return fail("There are no metric reports.", true);
        } else {
            return fail("Events cannot be selected by '" + property + "'.");
        }
        return true;
    }

    std::string_view rest_;
    event_filter made_;
    event_filter::problem problem_;
};

std::variant<event_filter, event_filter::problem> event_filter::parse(std::string_view text) {
    return event_filter_parser(text).parse();
}

bool event_filter::compare(const step& by, const service_event& event) const {
    switch (by.kind) {
        case steps::message_id:
            return is_same_message(by.value, event.message_id);
        case steps::origin:
            return event.origin == by.value ||
                   (has_subordinates_ && event.origin.starts_with(by.value + '/'));
        case steps::registry_prefix:
            return event.registry_prefix() == by.value;
        case steps::resource_type:
            return event.resource_type == by.value;
        default:
            return true;
    }
}

bool event_filter::matches(const service_event& event) const {
    std::vector<bool> results;
    for (const step& each : steps_) {
        if (each.kind == steps::negation) {
            results.back() = !results.back();
        } else if (each.kind == steps::both || each.kind == steps::either) {
            const bool last = results.back();
            results.pop_back();
            results.back() =
                each.kind == steps::both ? results.back() && last : results.back() || last;
        } else {
            results.push_back(compare(each, event));
        }
    }
    return results.empty() || results.back();
}

}  // namespace dp_redfish
