#include "tools/dp-template/registry_compiler.hpp"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "batch/batch_file_entry.hpp"
#include "common/quoting.hpp"
#include "support/checked_streams.hpp"
#include "tools/dp-template/encodable_text.hpp"
#include "tools/dp-template/menu_collections.hpp"

namespace dp_tools {
namespace {

using dp_support::json_kind;
using dp_support::json_value;
using severity = finding::severity;

/// The list of attributes; null, with a finding, if there is none.
const json_value* find_attributes(const json_value& root, findings_list& findings) {
    const json_value* value = &root;
    std::string pointer;
    for (const char* name : {"RegistryEntries", "Attributes"}) {
        if (value->kind != json_kind::object) {
            findings.add(severity::broken, *value, pointer, wrong_kind(*value, "an object"));
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
        findings.add(severity::broken, *value, pointer, wrong_kind(*value, "a list"));
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
    dp_support::checked_ostringstream out;
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
                add_attribute(attributes->items[i], i);
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

    void add_attribute(const json_value& source, std::size_t index) {
        const std::string pointer = pointer_of(index);
        if (source.kind != json_kind::object) {
            findings_.add(severity::unfit, source, pointer, wrong_kind(source, "an object"));
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
            if (name != nullptr) {
                result_.password_names.insert(name->text);
            }
            ++result_.passwords;
            return;
        }
        attribute_result compiled = compile_attribute(source, pointer, findings_);
        template_info& info = compiled.attribute.info;
        set_collection(info, source, index);
        if (!compiled.fits || !check_record(info, source, pointer) ||
            !check_unique(info, source, pointer)) {
            ++result_.unfit;
            return;
        }
        with_replaced_characters_.count(compiled.has_replaced_characters, source, pointer);
        without_value_.count(compiled.has_no_value, source, pointer);
        without_default_.count(compiled.has_substitute_default, source, pointer);
        result_.attributes.push_back(std::move(compiled.attribute));
        result_.positions.push_back(index);
    }

    /// Makes the template record unambiguous and short enough. False, with a finding, if it is
    /// unfit.
    bool check_record(template_info& info, const json_value& source, const std::string& pointer) {
        bool fits = true;
        for (std::string* text : {&info.grp, &info.dsc, &info.fds, &info.cfgname}) {
            if (matches_other_collection(*text, info.cfg, collection_names_)) {
                *text += '.';
            }
        }
        for (const std::string* text : {&info.id, &info.dft, &info.reg, &info.chc}) {
            if (matches_other_collection(*text, info.cfg, collection_names_)) {
                findings_.add(severity::unfit, source, pointer,
                              "the text " + quoted_for_message(*text) +
                                  " would put the attribute into another collection");
                fits = false;
            }
        }
        if (record_size(info) > template_info::record_limit && !info.fds.empty()) {
            info.fds.clear();
            findings_.add(severity::warning, *source.find("HelpText"), pointer + "/HelpText",
                          "is left out: the attribute's record would be longer than " +
                              std::to_string(template_info::record_limit) + " bytes");
        }
        if (const std::size_t size = record_size(info); size > template_info::record_limit) {
            findings_.add(severity::unfit, source, pointer,
                          "the attribute's record would have " + std::to_string(size) +
                              " bytes; a template allows " +
                              std::to_string(template_info::record_limit));
            fits = false;
        }
        return fits;
    }

    /// False, with a finding, if the collection already has an attribute of that name.
    bool check_unique(const template_info& info, const json_value& source,
                      const std::string& pointer) {
        const auto [other, is_new] = places_.try_emplace(info.cfg + "." + info.id, pointer);
        if (!is_new) {
            findings_.add(severity::unfit, *source.find("AttributeName"),
                          pointer + "/AttributeName",
                          "the collection " + info.cfg + " already has an attribute " +
                              quoted_for_message(info.id) + ": " + other->second);
        }
        return is_new;
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
        report(with_replaced_characters_,
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
    std::optional<menu_collections> collections_;
    std::set<std::string> collection_names_;
    std::map<std::string, std::string> titles_;
    std::set<std::string> reported_renames_;
    std::unordered_map<std::string, std::string> places_;  ///< qualified name to pointer
    common_trait with_replaced_characters_;
    common_trait without_value_;
    common_trait without_default_;
};

}  // namespace

compiled_registry compile_registry(const json_value& root,
                                   const std::optional<std::string>& collection) {
    return registry_compiler(root, collection).compile();
}

std::string template_text(const std::vector<compiled_attribute>& attributes) {
    dp_support::checked_ostringstream out;
    for (const auto& attribute : attributes) {
        out << attribute.info;
    }
    return std::move(out).str();
}

std::string settings_text(const std::vector<compiled_attribute>& attributes) {
    dp_support::checked_ostringstream out;
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
