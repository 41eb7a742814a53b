#include "tools/dp-template/attribute_compiler.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "batch/batch_list_info.hpp"
#include "bios/dp_api.h"
#include "service_api/choice_list.hpp"
#include "service_api/template_flags.hpp"
#include "support/ascii_case.hpp"
#include "support/decimal.hpp"
#include "support/value_pattern.hpp"
#include "tools/dp-template/encodable_text.hpp"

namespace dp_tools {
namespace {

constexpr std::uint32_t greatest_number = std::numeric_limits<std::uint32_t>::max();

using dp_support::json_kind;
using dp_support::json_value;
using dp_support::value_pattern;
using severity = finding::severity;

/// A name as an element of a JSON pointer.
std::string pointer_token(std::string_view name) {
    std::string token;
    for (const char c : name) {
        if (c == '~') {
            token += "~0";
        } else if (c == '/') {
            token += "~1";
        } else {
            token += c;
        }
    }
    return token;
}

/// The number of characters of a UTF-8 text; other bytes may be counted or not.
std::size_t length_in_characters(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    }));
}

/// Why a value does not match its pattern; empty if it does.
std::string match_problem(value_pattern::verdict verdict) {
    switch (verdict) {
        case value_pattern::verdict::matches:
            return "";
        case value_pattern::verdict::differs:
            return "does not match the pattern";
        case value_pattern::verdict::undecided:
            return "takes too much work to compare with the pattern";
    }
    return "";
}

/// Compiles one attribute of the registry.
class attribute_compiler {
  public:
    attribute_compiler(const json_value& source, const std::string& pointer,
                       findings_list& findings)
        : source_(source), pointer_(pointer), findings_(findings) {}

    attribute_result compile() {
        check_members();
        compile_name();
        compile_descriptions();
        compile_flags();
        compile_type();
        return std::move(result_);
    }

  private:
    [[nodiscard]] std::string place(std::string_view member) const {
        return member.empty() ? pointer_ : pointer_ + "/" + std::string(member);
    }

    void unfit(const json_value& value, std::string_view member, std::string message) {
        result_.fits = false;
        findings_.add(severity::unfit, value, place(member), std::move(message));
    }

    void warn(const json_value& value, std::string_view member, std::string message) {
        findings_.add(severity::warning, value, place(member), std::move(message));
    }

    /// The member `name`, or null if it is missing or has the value null.
    [[nodiscard]] const json_value* member(std::string_view name) const {
        const json_value* found = source_.find(name);
        return found == nullptr || found->kind == json_kind::null ? nullptr : found;
    }

    /// The member's text; empty if it is missing. Any other kind of value makes the attribute
    /// unfit.
    std::string text_member(std::string_view name) {
        const json_value* found = member(name);
        if (found == nullptr) {
            return "";
        }
        if (found->kind != json_kind::text) {
            unfit(*found, name, wrong_kind(*found, "a text"));
            return "";
        }
        return found->text;
    }

    void check_members() {
        for (const json_value* repeated : source_.repeated_members()) {
            unfit(*repeated, pointer_token(repeated->name), "appears twice in the same attribute");
        }
    }

    void compile_name() {
        const json_value* name = member("AttributeName");
        if (name == nullptr) {
            unfit(source_, "", "the attribute has no AttributeName");
        } else if (name->kind != json_kind::text) {
            unfit(*name, "AttributeName", wrong_kind(*name, "a text"));
        } else if (const std::string problem = name_problem(name->text); !problem.empty()) {
            unfit(*name, "AttributeName",
                  "the name " + quoted_for_message(name->text) + " " + problem);
        }
        if (name != nullptr) {
            info_.id = name->text;
        }
    }

    std::string description(std::string_view name) {
        const std::string text = text_member(name);
        result_.has_replaced_characters =
            result_.has_replaced_characters || std::any_of(text.begin(), text.end(), [](char c) {
                return c == template_info::item_end || c == template_info::record_end;
            });
        return encodable_description(text);
    }

    void compile_descriptions() {
        info_.dsc = description("DisplayName");
        if (info_.dsc.empty()) {
            info_.dsc = info_.id;
        }
        info_.fds = description("HelpText");
        info_.grp = description("MenuPath");
    }

    void compile_flags() {
        for (const std::string_view name : {"ReadOnly", "Immutable"}) {
            const json_value* found = member(name);
            if (found == nullptr) {
                continue;
            }
            const auto truth = truth_of(*found);
            if (!truth) {
                unfit(*found, name, "is neither true nor false");
            } else if (*truth) {
                info_.flg |= dp_service::template_flags::read_only;
            }
        }
    }

    void compile_type() {
        const json_value* type = member("Type");
        if (type == nullptr) {
            unfit(source_, "", "the attribute has no Type");
        } else if (type->text == "Enumeration" && type->kind == json_kind::text) {
            compile_enumeration();
        } else if (type->text == "Boolean" && type->kind == json_kind::text) {
            compile_boolean();
        } else if (type->text == "Integer" && type->kind == json_kind::text) {
            compile_integer();
        } else if (type->text == "String" && type->kind == json_kind::text) {
            compile_string();
        } else {
            unfit(*type, "Type",
                  (type->kind == json_kind::text ? quoted_for_message(type->text)
                                                 : kind_name(type->kind)) +
                      " is none of Enumeration, Boolean, Integer, String and Password");
        }
    }

    // --- values

    static std::optional<bool> truth_of(const json_value& value) {
        if (value.kind == json_kind::boolean) {
            return value.truth;
        }
        if (value.kind == json_kind::text) {
            const std::string text = dp_support::lower_case(value.text);
            if (text == "true" || text == "false") {
                return text == "true";
            }
        }
        return std::nullopt;
    }

    /// The value as a number: an integer, a real number without a fraction, or a text of digits.
    /// Nothing if it is not a number from 0 to 2^32 - 1.
    static std::optional<std::uint32_t> number_of(const json_value& value) {
        if (value.kind == json_kind::real) {
            if (value.real >= 0 && value.real <= greatest_number &&
                value.real == std::floor(value.real)) {
                return static_cast<std::uint32_t>(value.real);
            }
            return std::nullopt;
        }
        if (value.kind == json_kind::integer || value.kind == json_kind::text) {
            return dp_support::decimal::parse<std::uint32_t>(value.text);
        }
        return std::nullopt;
    }

    static std::string number_problem(const json_value& value) {
        if (value.kind == json_kind::integer || value.kind == json_kind::real) {
            return value.text + " is not a whole number from 0 to " +
                   std::to_string(greatest_number);
        }
        if (value.kind == json_kind::text) {
            return quoted_for_message(value.text) + " is not a whole number from 0 to " +
                   std::to_string(greatest_number);
        }
        return wrong_kind(value, "a number");
    }

    /// The number in a bound, a length or a step; `missing` if the registry has none.
    std::uint32_t number_member(std::string_view name, std::uint32_t missing) {
        const json_value* found = member(name);
        if (found == nullptr || (found->kind == json_kind::text && found->text.empty())) {
            return missing;
        }
        const auto number = number_of(*found);
        if (!number) {
            unfit(*found, name, number_problem(*found));
        }
        return number.value_or(missing);
    }

    /// Compiles DefaultValue and CurrentValue. `text_of` returns a value's text or, after `unfit`,
    /// nothing; `why_invalid` returns what is wrong with a text that is kept nevertheless.
    template <class TextOf, class WhyInvalid>
    void compile_values(TextOf text_of, WhyInvalid why_invalid) {
        bool has_default = false;
        bool has_current = false;
        for (const std::string_view name : {"DefaultValue", "CurrentValue"}) {
            const json_value* found = member(name);
            if (found == nullptr) {
                continue;
            }
            const std::optional<std::string> text = text_of(*found, name);
            if (!text) {
                continue;
            }
            // A default is also stored in the template, which allows less than a batch line.
            const bool is_default = name == "DefaultValue";
            (is_default ? has_default : has_current) = true;
            const std::string problem = is_default ? item_problem(*text) : value_problem(*text);
            if (!problem.empty()) {
                unfit(*found, name, "the value " + quoted_for_message(*text) + " " + problem);
                continue;
            }
            if (const std::string reason = why_invalid(*text); !reason.empty()) {
                warn(*found, name,
                     "the value " + quoted_for_message(*text) + " " + reason + "; it is kept");
            }
            if (is_default) {
                info_.dft = *text;
            }
            result_.attribute.value = *text;
        }
        result_.has_no_value = !has_default && !has_current;
        // A reset must not set a value that the server never had.
        if (!has_default && has_current && item_problem(result_.attribute.value).empty()) {
            info_.dft = result_.attribute.value;
            result_.has_substitute_default = true;
        }
    }

    /// The text of a value that is used unchanged.
    std::optional<std::string> plain_text(const json_value& value, std::string_view name) {
        if (value.kind == json_kind::text || value.kind == json_kind::integer ||
            value.kind == json_kind::real) {
            return value.text;
        }
        unfit(value, name, wrong_kind(value, "a text"));
        return std::nullopt;
    }

    // --- kinds

    /// The text of a choice: the ValueName of an object, or a text.
    std::optional<std::string> choice_of(const json_value& entry, const std::string& at) {
        const json_value* name = &entry;
        if (entry.kind == json_kind::object) {
            name = entry.find("ValueName");
            if (name == nullptr || name->kind == json_kind::null) {
                unfit(entry, at, "the choice has no ValueName");
                return std::nullopt;
            }
        }
        const std::string name_at = entry.kind == json_kind::object ? at + "/ValueName" : at;
        if (name->kind != json_kind::text && name->kind != json_kind::integer) {
            unfit(*name, name_at, wrong_kind(*name, "a text"));
            return std::nullopt;
        }
        if (const std::string problem = item_problem(name->text); !problem.empty()) {
            unfit(*name, name_at, "the choice " + quoted_for_message(name->text) + " " + problem);
            return std::nullopt;
        }
        return name->text;
    }

    std::vector<std::string> choices() {
        std::vector<std::string> result;
        const json_value* list = member("Value");
        if (list == nullptr || list->kind != json_kind::array || list->items.empty()) {
            unfit(list == nullptr ? source_ : *list, list == nullptr ? "" : "Value",
                  "the enumeration has no list of choices");
            return result;
        }
        std::unordered_set<std::string> known;
        for (std::size_t i = 0; i < list->items.size(); ++i) {
            const std::string at = "Value/" + std::to_string(i);
            const auto choice = choice_of(list->items[i], at);
            if (choice && !known.insert(*choice).second) {
                warn(list->items[i], at,
                     "the choice " + quoted_for_message(*choice) +
                         " appears twice in the list; it is kept once");
            } else if (choice) {
                result.push_back(*choice);
            }
        }
        if (result.size() == 1 && result.front().empty()) {
            unfit(*list, "Value", "the only choice is empty");
        }
        return result;
    }

    void set_choices(const std::vector<std::string>& list) {
        info_.type = DP_TYPE_ENUMERATION;
        info_.num = static_cast<std::uint32_t>(list.size());
        info_.chc = dp_service::choice_list::join(list);
    }

    void compile_enumeration() {
        const auto list = choices();
        set_choices(list);
        const std::unordered_set<std::string> known(list.begin(), list.end());
        compile_values(
            [&](const json_value& value, std::string_view name) -> std::optional<std::string> {
                auto text = plain_text(value, name);
                // An empty text that is not a choice means that there is no value.
                return text && text->empty() && !known.contains("") ? std::nullopt : text;
            },
            [&](const std::string& text) -> std::string {
                return known.contains(text) ? "" : "is not among the choices";
            });
    }

    void compile_boolean() {
        set_choices({"False", "True"});
        compile_values(
            [&](const json_value& value, std::string_view name) -> std::optional<std::string> {
                if (value.kind == json_kind::text && value.text.empty()) {
                    return std::nullopt;
                }
                const auto truth = truth_of(value);
                if (!truth) {
                    unfit(value, name, "is neither true nor false");
                    return std::nullopt;
                }
                return *truth ? "True" : "False";
            },
            [](const std::string&) { return std::string(); });
    }

    void compile_integer() {
        auto& info = info_;
        info.type = template_info::type_numeric;
        info.min = number_member("LowerBound", 0);
        info.max = number_member("UpperBound", greatest_number);
        info.stp = std::max<std::uint32_t>(number_member("ScalarIncrement", 1), 1);
        if (info.min > info.max) {
            const json_value* lower = member("LowerBound");
            unfit(lower == nullptr ? source_ : *lower, "LowerBound",
                  "the lower bound " + std::to_string(info.min) + " is above the upper bound " +
                      std::to_string(info.max));
        }
        compile_values(
            [&](const json_value& value, std::string_view name) -> std::optional<std::string> {
                if (value.kind == json_kind::text && value.text.empty()) {
                    return std::nullopt;
                }
                const auto number = number_of(value);
                if (!number) {
                    unfit(value, name, number_problem(value));
                    return std::nullopt;
                }
                return std::to_string(*number);
            },
            [&](const std::string& text) -> std::string {
                const std::uint32_t number =
                    dp_support::decimal::parse<std::uint32_t>(text).value_or(0);
                if (number < info.min || number > info.max) {
                    return "is outside the bounds";
                }
                return (number - info.min) % info.stp != 0 ? "is not a whole number of steps" : "";
            });
    }

    void compile_string() {
        auto& info = info_;
        info.type = template_info::type_string;
        info.minc = number_member("MinLength", 0);
        info.maxc = number_member("MaxLength", 0);
        if (info.maxc == 0) {
            info.maxc = greatest_number;
        }
        if (info.minc > info.maxc) {
            unfit(*member("MinLength"), "MinLength",
                  "the least length " + std::to_string(info.minc) +
                      " is above the greatest length " + std::to_string(info.maxc));
        }
        info.reg = text_member("ValueExpression");
        const value_pattern pattern(info.reg);
        if (!info.reg.empty()) {
            const json_value& expression = *member("ValueExpression");
            std::string problem = item_problem(info.reg);
            if (problem.empty() && !pattern.problem().empty()) {
                problem = "does not compile: " + pattern.problem();
            }
            if (!problem.empty()) {
                unfit(expression, "ValueExpression",
                      "the pattern " + quoted_for_message(info.reg) + " " + problem);
            }
        }
        compile_values(
            [&](const json_value& value, std::string_view name) { return plain_text(value, name); },
            [&](const std::string& text) -> std::string {
                // The service checks a list selection only against its choices.
                if (dp::batch_list_info::is_full_form(text)) {
                    return "";
                }
                const std::size_t length = length_in_characters(text);
                if (length < info.minc) {
                    return "is shorter than the least length";
                }
                if (length > info.maxc) {
                    return "is longer than the greatest length";
                }
                // A pattern that does not compile has already been reported.
                return pattern.problem().empty() ? match_problem(pattern.judge(text)) : "";
            });
    }

    const json_value& source_;
    const std::string& pointer_;
    findings_list& findings_;
    attribute_result result_;
    template_info& info_ = result_.attribute.info;
};

}  // namespace

attribute_result compile_attribute(const json_value& source, const std::string& pointer,
                                   findings_list& findings) {
    return attribute_compiler(source, pointer, findings).compile();
}

}  // namespace dp_tools
