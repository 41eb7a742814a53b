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
#include "support/value_pattern.hpp"
#include "tools/dp-template/carried_text.hpp"
#include "tools/dp-template/collections.hpp"

namespace dp_tools {
namespace {

constexpr std::uint32_t greatest_number = std::numeric_limits<std::uint32_t>::max();

using severity = finding::severity;

/// Takes in what there is to say.
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

/// A name as a JSON pointer spells it.
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

std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

/// Characters of a UTF-8 text.
std::size_t length_in_characters(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    }));
}

/// An unsigned decimal number of at most 32 bits, digits only.
std::optional<std::uint32_t> plain_number(std::string_view digits) {
    std::uint64_t number = 0;
    if (digits.empty()) {
        return std::nullopt;
    }
    for (const char c : digits) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        number = number * 10 + static_cast<std::uint64_t>(c - '0');
        if (number > greatest_number) {
            return std::nullopt;
        }
    }
    return static_cast<std::uint32_t>(number);
}

/// What there is to say of a value that a pattern judged; empty when it matches.
std::string match_problem(dp_support::value_pattern::verdict verdict) {
    switch (verdict) {
        case dp_support::value_pattern::verdict::matches:
            return "";
        case dp_support::value_pattern::verdict::differs:
            return "does not match the pattern";
        case dp_support::value_pattern::verdict::undecided:
            return "takes too much work to hold against the pattern";
    }
    return "";
}

/// One attribute of the registry on its way into the template.
class attribute_compiler {
  public:
    attribute_compiler(const json_value& source, std::string pointer, findings_list& findings)
        : source_(source), pointer_(std::move(pointer)), findings_(findings) {}

    /// Compiles everything but the collection. False when the attribute is unfit.
    bool compile() {
        check_members();
        compile_name();
        compile_descriptions();
        compile_flags();
        compile_type();
        return fits_;
    }

    [[nodiscard]] compiled_attribute& result() { return result_; }
    /// Whether its description lost characters.
    [[nodiscard]] bool was_described_anew() const { return described_anew_; }
    /// Whether neither a current nor a default value is known.
    [[nodiscard]] bool has_no_value() const { return has_no_value_; }

    /// Whether the current value stands in for a default that the registry does not give.
    [[nodiscard]] bool has_borrowed_default() const { return has_borrowed_default_; }

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

    /// The member, null when it is missing or null itself.
    [[nodiscard]] const json_value* member(std::string_view name) const {
        const json_value* found = source_.find(name);
        return found == nullptr || found->kind == json_kind::null ? nullptr : found;
    }

    /// The member's text; empty when it is missing. Anything else makes the attribute unfit.
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
            unfit(*repeated, pointer_token(repeated->name), "stands in the same attribute twice");
        }
    }

    void compile_name() {
        const json_value* name = member("AttributeName");
        if (name == nullptr) {
            unfit(source_, "", "the attribute has no AttributeName");
        } else if (name->kind != json_kind::text) {
            unfit(*name, "AttributeName", "is " + kind_name(name->kind) + " instead of a text");
        } else if (const std::string problem = name_problem(name->text); !problem.empty()) {
            unfit(*name, "AttributeName", "the name " + shown(name->text) + " " + problem);
        }
        if (name != nullptr) {
            result_.info.id = name->text;
        }
    }

    std::string description(std::string_view name) {
        const std::string text = text_member(name);
        std::string carried = described(text);
        described_anew_ = described_anew_ || !item_problem(carried).empty() ||
                          std::any_of(text.begin(), text.end(), [](char c) {
                              return c == template_info::item_end || c == template_info::record_end;
                          });
        return carried;
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
                  (type->kind == json_kind::text ? shown(type->text) : kind_name(type->kind)) +
                      " is none of Enumeration, Boolean, Integer, String and Password");
        }
    }

    // --- values

    static std::optional<bool> truth_of(const json_value& value) {
        if (value.kind == json_kind::boolean) {
            return value.truth;
        }
        if (value.kind == json_kind::text) {
            const std::string text = lower_case(value.text);
            if (text == "true" || text == "false") {
                return text == "true";
            }
        }
        return std::nullopt;
    }

    /// The number that a value of the registry means: an integer, a real number without fraction
    /// or digits in a text. Null when it is none or does not fit 32 bits.
    static std::optional<std::uint32_t> number_of(const json_value& value) {
        if (value.kind == json_kind::real) {
            if (value.real >= 0 && value.real <= greatest_number &&
                value.real == std::floor(value.real)) {
                return static_cast<std::uint32_t>(value.real);
            }
            return std::nullopt;
        }
        if (value.kind == json_kind::integer || value.kind == json_kind::text) {
            return plain_number(value.text);
        }
        return std::nullopt;
    }

    static std::string number_problem(const json_value& value) {
        if (value.kind == json_kind::integer || value.kind == json_kind::real) {
            return value.text + " is not a whole number from 0 to " +
                   std::to_string(greatest_number);
        }
        if (value.kind == json_kind::text) {
            return shown(value.text) + " is not a whole number from 0 to " +
                   std::to_string(greatest_number);
        }
        return "is " + kind_name(value.kind) + " instead of a number";
    }

    /// The number of a bound, a length or a step; `missing` when the registry has none.
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

    /// Reads DefaultValue and CurrentValue. `text_of` gives a value's text or, after an unfit(),
    /// nothing; `doubt` tells what is odd about a text that is kept all the same.
    template <class TextOf, class Doubt>
    void compile_values(TextOf text_of, Doubt doubt) {
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
            // A default stands in the template, too, which carries less than a batch line.
            const bool is_default = name == "DefaultValue";
            (is_default ? has_default : has_current) = true;
            const std::string problem = is_default ? item_problem(*text) : value_problem(*text);
            if (!problem.empty()) {
                unfit(*found, name, "the value " + shown(*text) + " " + problem);
                continue;
            }
            if (const std::string odd = doubt(*text); !odd.empty()) {
                warn(*found, name, "the value " + shown(*text) + " " + odd + "; it is kept");
            }
            if (is_default) {
                result_.info.dft = *text;
            }
            result_.value = *text;
        }
        has_no_value_ = !has_default && !has_current;
        // A reset must not lead to a state that the server never had.
        if (!has_default && has_current && item_problem(result_.value).empty()) {
            result_.info.dft = result_.value;
            has_borrowed_default_ = true;
        }
    }

    /// The text of a value that stands for itself. An empty one counts as none where the empty text
    /// is no value of the kind.
    std::optional<std::string> plain_text(const json_value& value, std::string_view name) {
        if (value.kind == json_kind::text || value.kind == json_kind::integer ||
            value.kind == json_kind::real) {
            return value.text;
        }
        unfit(value, name, "is " + kind_name(value.kind) + " instead of a text");
        return std::nullopt;
    }

    // --- kinds

    /// The text of a choice: an object with a ValueName, or the text itself.
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
            unfit(*name, name_at, "the choice " + shown(name->text) + " " + problem);
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
                     "the choice " + shown(*choice) + " stands in the list twice; it is kept once");
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
                // An empty text that is no choice means that there is no value.
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
                const std::uint32_t number = plain_number(text).value_or(0);
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
        const dp_support::value_pattern pattern(info.reg);
        if (!info.reg.empty()) {
            const json_value& expression = *member("ValueExpression");
            std::string problem = item_problem(info.reg);
            if (problem.empty() && !pattern.problem().empty()) {
                problem = "does not compile: " + pattern.problem();
            }
            if (!problem.empty()) {
                unfit(expression, "ValueExpression",
                      "the pattern " + shown(info.reg) + " " + problem);
            }
        }
        compile_values(
            [&](const json_value& value, std::string_view name) { return plain_text(value, name); },
            [&](const std::string& text) -> std::string {
                // The service holds a list selection against its choices only.
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
                // Of a pattern that does not compile enough is said.
                return pattern.problem().empty() ? match_problem(pattern.judge(text)) : "";
            });
    }

    const json_value& source_;
    std::string pointer_;
    findings_list& findings_;
    compiled_attribute result_;
    bool fits_ = true;
    bool described_anew_ = false;
    bool has_no_value_ = false;
    bool has_borrowed_default_ = false;
};

/// Walks from the root to the list of attributes; null, with a finding, when there is none.
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
                findings.add(severity::broken, *repeated, pointer + "/" + name,
                             "stands there twice");
                return nullptr;
            }
        }
        const json_value* next = value->find(name);
        if (next == nullptr) {
            findings.add(severity::broken, *value, pointer,
                         "has no member " + std::string(name) + ": this is no AttributeRegistry");
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

/// The titles that the registry gives its menus, by path.
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

/// A record is found by its collection's item as plain text. Whether `text`, which an item end
/// follows, ends like that item of a collection that is not its own.
bool passes_for_other_collection(const std::string& text, const std::string& own,
                                 const std::set<std::string>& names) {
    constexpr std::string_view key = "cfg:";
    const auto found = text.rfind(key);
    if (found == std::string::npos) {
        return false;
    }
    const std::string name = text.substr(found + key.size());
    return name != own && names.contains(name);
}

std::size_t record_size(const template_info& info) {
    std::ostringstream out;
    out << info;
    return out.str().size() - 2;  // without the record's end and the line feed
}

/// The whole registry.
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
            tell_counts();
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
        info.cfgname = described(title == titles_.end() ? collection.title : title->second);
        if (collection.renamed && told_renamed_.insert(collection.name).second) {
            findings_.add(severity::warning, *source.find("MenuPath"),
                          pointer_of(index) + "/MenuPath",
                          "the menu " + shown(collection.menu) + " becomes the collection " +
                              collection.name + ": another one has its name already");
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
                          "the password " + (name == nullptr ? "" : shown(name->text) + " ") +
                              "is left out: its value must not stand in files");
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
        described_anew_.count(compiler.was_described_anew(), source, pointer);
        without_value_.count(compiler.has_no_value(), source, pointer);
        without_default_.count(compiler.has_borrowed_default(), source, pointer);
        result_.attributes.push_back(std::move(compiled));
    }

    void check_record(attribute_compiler& compiler, const json_value& source,
                      const std::string& pointer) {
        auto& info = compiler.result().info;
        for (std::string* text : {&info.grp, &info.dsc, &info.fds, &info.cfgname}) {
            if (passes_for_other_collection(*text, info.cfg, collection_names_)) {
                *text += '.';
            }
        }
        for (const std::string* text : {&info.id, &info.dft, &info.reg, &info.chc}) {
            if (passes_for_other_collection(*text, info.cfg, collection_names_)) {
                compiler.unfit(source, "",
                               "the text " + shown(*text) +
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
                               " bytes; a template takes " +
                               std::to_string(template_info::record_limit));
        }
    }

    void check_unique(attribute_compiler& compiler, const json_value& source,
                      const std::string& pointer) {
        const auto& info = compiler.result().info;
        const auto [other, is_new] = places_.try_emplace(info.cfg + "." + info.id, pointer);
        if (!is_new) {
            compiler.unfit(*source.find("AttributeName"), "AttributeName",
                           "the collection " + info.cfg + " has an attribute " + shown(info.id) +
                               " already: " + other->second);
        }
    }

    /// Attributes that have something in common, which is told once.
    struct common_trait {
        void count(bool has_it, const json_value& source, const std::string& at) {
            if (has_it && number++ == 0) {
                first = &source;
                pointer = at;
            }
        }

        std::size_t number = 0;
        const json_value* first = nullptr;
        std::string pointer;
    };

    void tell(const common_trait& trait, const std::string& message) {
        if (trait.number > 0) {
            findings_.add(
                severity::warning, *trait.first, trait.pointer,
                message + " (" + std::to_string(trait.number) + " attributes, this is the first)");
        }
    }

    void tell_counts() {
        tell(described_anew_,
             "descriptions hold characters that a template can't carry; they are replaced");
        tell(without_value_,
             "neither a current nor a default value is given; the value starts out empty");
        tell(without_default_, "no default value is given; the current value stands in for it");
    }

    const json_value& root_;
    const std::optional<std::string>& forced_collection_;
    compiled_registry result_;
    findings_list findings_;
    std::vector<std::vector<std::string>> paths_;
    std::optional<collections> collections_;
    std::set<std::string> collection_names_;
    std::map<std::string, std::string> titles_;
    std::set<std::string> told_renamed_;
    std::unordered_map<std::string, std::string> places_;  ///< from qualified name to pointer
    common_trait described_anew_;
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
