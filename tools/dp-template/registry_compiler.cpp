#include "tools/dp-template/registry_compiler.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <set>
#include <sstream>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_list_info.hpp"
#include "bios/dp_api.h"
#include "common/quoting.hpp"
#include "service_api/choice_list.hpp"
#include "service_api/template_flags.hpp"
#include "support/ascii_case.hpp"
#include "support/decimal.hpp"
#include "support/value_pattern.hpp"
#include "tools/dp-template/collections.hpp"
#include "tools/dp-template/encodable_text.hpp"

namespace dp_tools {
namespace {

constexpr std::uint32_t greatest_number = std::numeric_limits<std::uint32_t>::max();

using dp_support::json_kind;
using dp_support::json_value;
using dp_support::value_pattern;
using severity = finding::severity;

/// Collects findings.
class findings_list {
  public:
    explicit findings_list(std::vector<finding>& findings) : findings_(findings) {}

    void add(severity weight, const json_value& value, std::string pointer, std::string message) {
        findings_.push_back({weight, value.offset, std::move(pointer), std::move(message)});
    }

  private:
    std::vector<finding>& findings_;
};

std::string kind_name(json_kind kind) {
    switch (kind) {
        case json_kind::null:
            return "null";
        case json_kind::boolean:
            return "true or false";
        case json_kind::integer:
        case json_kind::real:
            return "a number";
        case json_kind::text:
            return "a text";
        case json_kind::array:
            return "a list";
        case json_kind::object:
            return "an object";
    }
    return "";
}

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
    attribute_compiler(const json_value& source, std::string pointer, findings_list& findings)
        : source_(source), pointer_(std::move(pointer)), findings_(findings) {}

    /// Compiles everything except the collection. False if the attribute is unfit.
    bool compile() {
        check_members();
        compile_name();
        compile_descriptions();
        compile_flags();
        compile_type();
        return fits_;
    }

    [[nodiscard]] compiled_attribute& result() { return result_; }

    /// Whether characters of its description were replaced.
    [[nodiscard]] bool has_replaced_characters() const { return has_replaced_characters_; }

    /// Whether the registry has neither a current nor a default value.
    [[nodiscard]] bool has_no_value() const { return has_no_value_; }

    /// Whether the current value is used as the default, which the registry does not have.
    [[nodiscard]] bool has_substitute_default() const { return has_substitute_default_; }

    void unfit(const json_value& value, std::string_view member, std::string message) {
        fits_ = false;
        findings_.add(severity::unfit, value, place(member), std::move(message));
    }
    [[nodiscard]] bool fits() const { return fits_; }

  private:
    [[nodiscard]] std::string place(std::string_view member) const {
        return member.empty() ? pointer_ : pointer_ + "/" + std::string(member);
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
            unfit(*found, name, "is " + kind_name(found->kind) + " instead of a text");
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
            unfit(*name, "AttributeName", "is " + kind_name(name->kind) + " instead of a text");
        } else if (const std::string problem = name_problem(name->text); !problem.empty()) {
            unfit(*name, "AttributeName",
                  "the name " + quoted_for_message(name->text) + " " + problem);
        }
        if (name != nullptr) {
            result_.info.id = name->text;
        }
    }

    std::string description(std::string_view name) {
        const std::string text = text_member(name);
        has_replaced_characters_ =
            has_replaced_characters_ || std::any_of(text.begin(), text.end(), [](char c) {
                return c == template_info::item_end || c == template_info::record_end;
            });
        return encodable_description(text);
    }

    void compile_descriptions() {
        result_.info.dsc = description("DisplayName");
        if (result_.info.dsc.empty()) {
            result_.info.dsc = result_.info.id;
        }
        result_.info.fds = description("HelpText");
        result_.info.grp = description("MenuPath");
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
                result_.info.flg |= dp_service::template_flags::read_only;
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
        return "is " + kind_name(value.kind) + " instead of a number";
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
                result_.info.dft = *text;
            }
            result_.value = *text;
        }
        has_no_value_ = !has_default && !has_current;
        // A reset must not set a value that the server never had.
        if (!has_default && has_current && item_problem(result_.value).empty()) {
            result_.info.dft = result_.value;
            has_substitute_default_ = true;
        }
    }

    /// The text of a value that is used unchanged.
    std::optional<std::string> plain_text(const json_value& value, std::string_view name) {
        if (value.kind == json_kind::text || value.kind == json_kind::integer ||
            value.kind == json_kind::real) {
            return value.text;
        }
        unfit(value, name, "is " + kind_name(value.kind) + " instead of a text");
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
            unfit(*name, name_at, "is " + kind_name(name->kind) + " instead of a text");
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
        result_.info.type = DP_TYPE_ENUMERATION;
        result_.info.num = static_cast<std::uint32_t>(list.size());
        result_.info.chc = dp_service::choice_list::join(list);
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
        auto& info = result_.info;
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
        auto& info = result_.info;
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
    std::string pointer_;
    findings_list& findings_;
    compiled_attribute result_;
    bool fits_ = true;
    bool has_replaced_characters_ = false;
    bool has_no_value_ = false;
    bool has_substitute_default_ = false;
};

/// The list of attributes; null, with a finding, if there is none.
const json_value* find_attributes(const json_value& root, findings_list& findings) {
    const json_value* value = &root;
    std::string pointer;
    for (const char* name : {"RegistryEntries", "Attributes"}) {
        if (value->kind != json_kind::object) {
            findings.add(severity::broken, *value, pointer,
                         "is " + kind_name(value->kind) + " instead of an object");
            return nullptr;
        }
        for (const json_value* repeated : value->repeated_members()) {
            if (repeated->name == name) {
                findings.add(severity::broken, *repeated, pointer + "/" + name, "appears twice");
                return nullptr;
            }
        }
        const json_value* next = value->find(name);
        if (next == nullptr) {
            findings.add(
                severity::broken, *value, pointer,
                "has no member " + std::string(name) + ": this is not an AttributeRegistry");
            return nullptr;
        }
        value = next;
        pointer += "/" + std::string(name);
    }
    if (value->kind != json_kind::array) {
        findings.add(severity::broken, *value, pointer,
                     "is " + kind_name(value->kind) + " instead of a list");
        return nullptr;
    }
    return value;
}

/// The menus' titles in the registry, by path.
std::map<std::string, std::string> menu_titles(const json_value& root) {
    std::map<std::string, std::string> titles;
    const json_value* entries = root.find("RegistryEntries");
    const json_value* menus = entries == nullptr ? nullptr : entries->find("Menus");
    if (menus == nullptr || menus->kind != json_kind::array) {
        return titles;
    }
    for (const auto& menu : menus->items) {
        const json_value* path = menu.find("MenuPath");
        const json_value* title = menu.find("DisplayName");
        if (path == nullptr || title == nullptr || path->kind != json_kind::text ||
            title->kind != json_kind::text || title->text.empty()) {
            continue;
        }
        std::string key;
        for (const auto& element : menu_elements(path->text)) {
            key += (key.empty() ? "" : "/") + element;
        }
        titles.emplace(key, title->text);
    }
    return titles;
}

/// The library finds the template records of a collection by a text search for its item "cfg:NAME".
/// Whether `text`, which is the end of an item, ends like that item of another collection.
bool matches_other_collection(const std::string& text, const std::string& collection,
                              const std::set<std::string>& names) {
    constexpr std::string_view key = "cfg:";
    const auto found = text.rfind(key);
    if (found == std::string::npos) {
        return false;
    }
    const std::string name = text.substr(found + key.size());
    return name != collection && names.contains(name);
}

std::size_t record_size(const template_info& info) {
    std::ostringstream out;
    out << info;
    return out.str().size() - 2;  // without the end of the record and the newline
}

/// Compiles the whole registry.
class registry_compiler {
  public:
    registry_compiler(const json_value& root, const std::optional<std::string>& collection)
        : root_(root), forced_collection_(collection), findings_(result_.findings) {}

    compiled_registry compile() {
        if (const json_value* attributes = find_attributes(root_, findings_)) {
            place_in_collections(*attributes);
            for (std::size_t i = 0; i < attributes->items.size(); ++i) {
                compile_attribute(attributes->items[i], i);
            }
            report_counts();
        }
        std::stable_sort(result_.findings.begin(), result_.findings.end(),
                         [](const finding& a, const finding& b) { return a.offset < b.offset; });
        return std::move(result_);
    }

  private:
    static std::string pointer_of(std::size_t index) {
        return "/RegistryEntries/Attributes/" + std::to_string(index);
    }

    void place_in_collections(const json_value& attributes) {
        if (forced_collection_) {
            collection_names_.insert(*forced_collection_);
            return;
        }
        paths_.reserve(attributes.items.size());
        for (const auto& attribute : attributes.items) {
            const json_value* path = attribute.find("MenuPath");
            paths_.push_back(path != nullptr && path->kind == json_kind::text
                                 ? menu_elements(path->text)
                                 : std::vector<std::string>());
        }
        collections_.emplace(paths_);
        titles_ = menu_titles(root_);
        for (const auto& collection : collections_->all()) {
            collection_names_.insert(collection.name);
        }
    }

    void set_collection(template_info& info, const json_value& source, std::size_t index) {
        if (forced_collection_) {
            info.cfg = *forced_collection_;
            info.cfgname = *forced_collection_;
            return;
        }
        const auto& collection = collections_->of(paths_[index]);
        info.cfg = collection.name;
        const auto title = titles_.find(collection.menu);
        info.cfgname =
            encodable_description(title == titles_.end() ? collection.title : title->second);
        if (collection.renamed && reported_renames_.insert(collection.name).second) {
            findings_.add(
                severity::warning, *source.find("MenuPath"), pointer_of(index) + "/MenuPath",
                "the menu " + quoted_for_message(collection.menu) + " becomes the collection " +
                    collection.name + ", because an earlier one has its name");
        }
    }

    void compile_attribute(const json_value& source, std::size_t index) {
        const std::string pointer = pointer_of(index);
        if (source.kind != json_kind::object) {
            findings_.add(severity::unfit, source, pointer,
                          "is " + kind_name(source.kind) + " instead of an object");
            ++result_.unfit;
            return;
        }
        const json_value* type = source.find("Type");
        if (type != nullptr && type->kind == json_kind::text && type->text == "Password") {
            const json_value* name = source.find("AttributeName");
            findings_.add(severity::notice, source, pointer,
                          "the password " +
                              (name == nullptr ? "" : quoted_for_message(name->text) + " ") +
                              "is left out: its value must not be stored in files");
            ++result_.passwords;
            return;
        }
        attribute_compiler compiler(source, pointer, findings_);
        compiler.compile();
        auto& compiled = compiler.result();
        set_collection(compiled.info, source, index);
        if (compiler.fits()) {
            check_record(compiler, source, pointer);
        }
        if (compiler.fits()) {
            check_unique(compiler, source, pointer);
        }
        if (!compiler.fits()) {
            ++result_.unfit;
            return;
        }
        has_replaced_characters_.count(compiler.has_replaced_characters(), source, pointer);
        without_value_.count(compiler.has_no_value(), source, pointer);
        without_default_.count(compiler.has_substitute_default(), source, pointer);
        result_.attributes.push_back(std::move(compiled));
    }

    void check_record(attribute_compiler& compiler, const json_value& source,
                      const std::string& pointer) {
        auto& info = compiler.result().info;
        for (std::string* text : {&info.grp, &info.dsc, &info.fds, &info.cfgname}) {
            if (matches_other_collection(*text, info.cfg, collection_names_)) {
                *text += '.';
            }
        }
        for (const std::string* text : {&info.id, &info.dft, &info.reg, &info.chc}) {
            if (matches_other_collection(*text, info.cfg, collection_names_)) {
                compiler.unfit(source, "",
                               "the text " + quoted_for_message(*text) +
                                   " would put the attribute into another collection");
            }
        }
        if (record_size(info) > template_info::record_limit && !info.fds.empty()) {
            info.fds.clear();
            findings_.add(severity::warning, *source.find("HelpText"), pointer + "/HelpText",
                          "is left out: the attribute's record would be longer than " +
                              std::to_string(template_info::record_limit) + " bytes");
        }
        if (const std::size_t size = record_size(info); size > template_info::record_limit) {
            compiler.unfit(source, "",
                           "the attribute's record would have " + std::to_string(size) +
                               " bytes; a template allows " +
                               std::to_string(template_info::record_limit));
        }
    }

    void check_unique(attribute_compiler& compiler, const json_value& source,
                      const std::string& pointer) {
        const auto& info = compiler.result().info;
        const auto [other, is_new] = places_.try_emplace(info.cfg + "." + info.id, pointer);
        if (!is_new) {
            compiler.unfit(*source.find("AttributeName"), "AttributeName",
                           "the collection " + info.cfg + " already has an attribute " +
                               quoted_for_message(info.id) + ": " + other->second);
        }
    }

    /// Attributes with a common trait, which is reported once.
    struct common_trait {
        void count(bool has_trait, const json_value& source, const std::string& where) {
            if (has_trait && number++ == 0) {
                first = &source;
                pointer = where;
            }
        }

        std::size_t number = 0;
        const json_value* first = nullptr;
        std::string pointer;
    };

    void report(const common_trait& trait, const std::string& message) {
        if (trait.number > 0) {
            findings_.add(
                severity::warning, *trait.first, trait.pointer,
                message + " (" + std::to_string(trait.number) + " attributes, this is the first)");
        }
    }

    void report_counts() {
        report(has_replaced_characters_,
               "descriptions contain characters that a template cannot encode; they are replaced");
        report(without_value_,
               "there is neither a current nor a default value; the initial value is empty");
        report(without_default_,
               "there is no default value; the current value is used as the default");
    }

    const json_value& root_;
    const std::optional<std::string>& forced_collection_;
    compiled_registry result_;
    findings_list findings_;
    std::vector<std::vector<std::string>> paths_;
    std::optional<collections> collections_;
    std::set<std::string> collection_names_;
    std::map<std::string, std::string> titles_;
    std::set<std::string> reported_renames_;
    std::unordered_map<std::string, std::string> places_;  ///< qualified name to pointer
    common_trait has_replaced_characters_;
    common_trait without_value_;
    common_trait without_default_;
};

}  // namespace

compiled_registry compile_registry(const json_value& root,
                                   const std::optional<std::string>& collection) {
    return registry_compiler(root, collection).compile();
}

std::string template_text(const std::vector<compiled_attribute>& attributes) {
    std::ostringstream out;
    for (const auto& attribute : attributes) {
        out << attribute.info;
    }
    return std::move(out).str();
}

std::string settings_text(const std::vector<compiled_attribute>& attributes) {
    std::ostringstream out;
    dp::batch_file_entry entry;
    entry.status = "0";
    entry.detail = "0";
    entry.tid = "uefi";
    entry.operation = "set";
    for (const auto& attribute : attributes) {
        entry.name.configuration = attribute.info.cfg;
        entry.name.setting = attribute.info.id;
        entry.value_in = dp::add_backslash(attribute.value);
        out << entry << '\n';
    }
    return std::move(out).str();
}

}  // namespace dp_tools
