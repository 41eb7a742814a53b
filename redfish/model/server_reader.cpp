#include "redfish/model/server_reader.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <variant>
#include <vector>

#include "bios/dp_api.h"
#include "redfish/model/registry_resource.hpp"
#include "redfish/model/setting_names.hpp"
#include "service_api/attribute_description.hpp"
#include "service_api/fnv1a_64.hpp"
#include "service_api/stored_values.hpp"
#include "service_api/values_seal.hpp"
#include "support/json.hpp"
#include "support/read_file.hpp"
#include "support/utf8.hpp"
#include "transactions/command_status.hpp"
#include "transactions/operations.hpp"

namespace dp_redfish {
namespace {

using dp_service::attribute_registry;
using dp_service::registry_property;
using dp_service::registry_type;
using dp_support::failure;
using dp_support::json_value;
using dp_support::result;

constexpr std::size_t history_limit = std::size_t{64} << 20;
constexpr std::size_t product_data_limit = std::size_t{1} << 20;

// An attribute with more instances shows only those that have a value.
constexpr std::uint32_t most_instances = 256;

failure not_read(const std::string& what) {
    return {"the " + what + " could not be read", ENOMEM};
}

// --- the catalog

struct collection {
    std::string name;
    std::vector<std::shared_ptr<const dp_service::attribute_copy>> attributes;
    std::vector<std::string> setting_names;
};

result<std::vector<collection>> read_collections() {
    const char** names = nullptr;
    unsigned count = 0;
    if (dp_get_bios_collections(&names, &count) != 0) {
        return not_read("collections");
    }
    std::vector<collection> collections(count);
    for (unsigned i = 0; i < count; ++i) {
        collections[i].name = names[i];
    }
    for (auto& read : collections) {
        dp_attribute* attributes = nullptr;
        const char** settings = nullptr;
        unsigned setting_count = 0;
        if (dp_get_bios_attributes(read.name.c_str(), &attributes, &count) == 1) {
            return not_read("attributes of " + read.name);
        }
        for (const auto& attribute : std::span(attributes, attributes == nullptr ? 0 : count)) {
            read.attributes.push_back(
                std::make_shared<const dp_service::attribute_copy>(attribute));
        }
        if (dp_get_bios_attribute_names(read.name.c_str(), &settings, &setting_count) == 1) {
            return not_read("settings of " + read.name);
        }
        read.setting_names.assign(settings, settings + (settings == nullptr ? 0 : setting_count));
    }
    return collections;
}

registry_type type_in_template(const dp_attribute& attribute) {
    if (dp_service::is_numeric(attribute)) {
        return registry_type::integer;
    }
    // The order of a list of choices is not one of the choices.
    const bool is_list =
        std::string_view(attribute.dft).find_first_of(",[") != std::string_view::npos;
    return dp_service::is_enumeration(attribute) && *attribute.chc != '\0' && !is_list
               ? registry_type::enumeration
               : registry_type::string;
}

void add_setting(settings_catalog& catalog, const collection& of,
                 std::shared_ptr<const dp_service::attribute_copy> attribute,
                 std::string instance) {
    server_setting setting;
    setting.full_name = of.name + '.' + attribute->get().id;
    if (!instance.empty()) {
        setting.full_name += '.' + instance;
    }
    setting.type = type_in_template(attribute->get());
    setting.instance = std::move(instance);
    setting.attribute = std::move(attribute);
    catalog.settings.push_back(std::move(setting));
}

void add_settings(settings_catalog& catalog, const collection& of) {
    for (const auto& attribute : of.attributes) {
        const dp_attribute& raw = attribute->get();
        if (raw.mxi == 0) {
            add_setting(catalog, of, attribute, {});
        } else if (raw.mxi >= raw.mni && raw.mxi - raw.mni < most_instances) {
            for (std::uint32_t i = raw.mni; i <= raw.mxi; ++i) {
                add_setting(catalog, of, attribute, std::to_string(i));
            }
        } else {
            catalog.depends_on_values = true;
            const std::string prefix = of.name + '.' + raw.id + '.';
            for (const auto& name : of.setting_names) {
                if (name.starts_with(prefix)) {
                    add_setting(catalog, of, attribute, name.substr(prefix.size()));
                }
            }
        }
    }
}

bool belongs_to(const attribute_registry& registry, const std::vector<collection>& collections) {
    std::vector<std::string_view> names;
    names.reserve(registry.attributes.size());
    for (const auto& of : collections) {
        for (const auto& attribute : of.attributes) {
            names.emplace_back(attribute->get().id);
        }
    }
    return registry.has_attributes(std::move(names));
}

void set_registry_text(settings_catalog& catalog, const json_value& resource) {
    std::string text = to_text(resource, dp_support::json_layout::one_line);
    dp_service::fnv1a_64 hash;
    hash.add(text);
    catalog.version = hash.str();
    catalog.registry_text = std::make_shared<const std::string>(std::move(text));
}

void use_registry(settings_catalog& catalog, attribute_registry registry, json_value root) {
    std::unordered_set<std::uint32_t> with_flag_maps;
    for (const auto& map : registry.maps) {
        if (map.property == registry_property::read_only ||
            map.property == registry_property::immutable) {
            with_flag_maps.insert(map.attribute);
        }
    }
    for (auto& setting : catalog.settings) {
        setting.index =
            setting.instance.empty() ? registry.find(setting.attribute->get().id) : std::nullopt;
        if (setting.index) {
            const auto& attribute = registry.attributes[*setting.index];
            const auto* const is_write_only =
                std::get_if<bool>(&attribute[registry_property::write_only]);
            setting.type = attribute.type;
            setting.is_secret = attribute.type == registry_type::password ||
                                (is_write_only != nullptr && *is_write_only);
            setting.is_read_only_by_dependency = with_flag_maps.contains(*setting.index);
        }
    }
    name_settings(catalog);
    root = installed_registry(std::move(root));
    catalog.registry_id = root.find("Id")->text;
    catalog.registry_language = root.find("Language")->text;
    set_registry_text(catalog, root);
    catalog.registry = std::make_shared<const attribute_registry>(std::move(registry));
}

result<std::shared_ptr<const settings_catalog>> read_catalog() {
    auto collections = read_collections();
    if (!collections) {
        return collections.error();
    }
    auto catalog = std::make_shared<settings_catalog>();
    for (const auto& of : *collections) {
        add_settings(*catalog, of);
    }
    const auto text =
        dp_support::read_file(path_of(watched_file::registry), dp_service::registry_size_limit);
    if (text) {
        auto document = dp_support::parse_json(*text);
        auto registry = dp_service::read_attribute_registry(document.root);
        if (document.error.empty() && registry && belongs_to(*registry, *collections)) {
            use_registry(*catalog, *std::move(registry), std::move(document.root));
            return std::shared_ptr<const settings_catalog>(std::move(catalog));
        }
    }
    name_settings(*catalog);
    catalog->registry_id = template_registry_id;
    set_registry_text(*catalog, registry_of_template(*catalog));
    return std::shared_ptr<const settings_catalog>(std::move(catalog));
}

// --- values

using value_list = std::vector<std::optional<std::string>>;

result<value_list> read_values(const settings_catalog& catalog, watched_file file) {
    const std::size_t count = catalog.settings.size();
    std::vector<dp_transaction> requests(count);
    for (std::size_t i = 0; i < count; ++i) {
        requests[i].operation = dp::op_get;
        requests[i].name = catalog.settings[i].full_name.c_str();
        requests[i].new_value = "";
    }
    dp_get_bios_attribute_value(requests.data(), static_cast<unsigned>(count),
                                file == watched_file::current_values ? 1 : 0);
    value_list values(count);
    std::optional<dp_service::stored_values> stored;  // for those that the C API cuts
    for (std::size_t i = 0; i < count; ++i) {
        if (requests[i].status == dp::command_status::not_run) {
            return not_read("values");
        }
        if (requests[i].status == dp::command_status::success) {
            values[i] = requests[i].value;
        } else if (requests[i].status == dp::command_status::value_cut) {
            if (!stored) {
                stored = dp_service::read_stored_values(path_of(file))
                             .value_or(dp_service::stored_values());
            }
            const auto whole = stored->find(catalog.settings[i].full_name);
            values[i] = whole == stored->end() ? std::string(requests[i].value) : whole->second;
        }
    }
    return values;
}

// --- the rest

change_log read_history() {
    const auto text = dp_support::read_file(path_of(watched_file::history), history_limit);
    return change_log::parse(text ? std::string_view(*text) : std::string_view());
}

std::map<std::string, std::string> read_product_data() {
    std::map<std::string, std::string> data;
    const auto text =
        dp_support::read_file(path_of(watched_file::vital_product_data), product_data_limit);
    std::string_view rest = text ? std::string_view(*text) : std::string_view();
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = rest.substr(0, end);
        const auto equals = line.find('=');
        if (equals != std::string_view::npos && dp_support::utf8::count_characters(line)) {
            data.try_emplace(std::string(line.substr(0, equals)), line.substr(equals + 1));
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return data;
}

bool has_same(watched_file file, const file_states& states, const snapshot_pointer& previous) {
    return previous != nullptr &&
           previous->state_of(file) == states[static_cast<std::size_t>(file)];
}

result<snapshot_pointer> read_once(const snapshot_pointer& previous, const file_states& states) {
    auto made = std::make_shared<server_snapshot>();
    made->states = states;
    // The library would find a server without attributes.
    if (const auto rights = check_rights_to_read(); !rights) {
        return rights.error();
    }
    dp_api_uninitialize();
    if (dp_api_initialize() != 0) {
        return not_read("attributes");
    }
    if (has_same(watched_file::bios_template, states, previous) &&
        has_same(watched_file::registry, states, previous) &&
        !previous->catalog->depends_on_values) {
        made->catalog = previous->catalog;
    } else {
        auto catalog = read_catalog();
        if (!catalog) {
            return catalog.error();
        }
        made->catalog = *std::move(catalog);
    }
    made->pending_version =
        dp_service::values_seal::version_of(path_of(watched_file::pending_values)).value_or("");
    made->current_version =
        dp_service::values_seal::version_of(path_of(watched_file::current_values)).value_or("");
    const auto values_of = [&](watched_file file,
                               value_list server_snapshot::*values) -> result<value_list> {
        const bool is_known = previous != nullptr && previous->catalog == made->catalog &&
                              has_same(file, states, previous);
        return is_known ? (*previous).*values : read_values(*made->catalog, file);
    };
    auto pending = values_of(watched_file::pending_values, &server_snapshot::pending);
    auto current = values_of(watched_file::current_values, &server_snapshot::current);
    if (!pending || !current) {
        return not_read("values");
    }
    made->pending = *std::move(pending);
    made->current = *std::move(current);
    made->history = has_same(watched_file::history, states, previous)
                        ? previous->history
                        : std::make_shared<const change_log>(read_history());
    made->product_data = has_same(watched_file::vital_product_data, states, previous)
                             ? previous->product_data
                             : read_product_data();
    return snapshot_pointer(std::move(made));
}

}  // namespace

server_reader::~server_reader() {
    dp_api_uninitialize();
}

// The C API is one in the process. NOLINTNEXTLINE(readability-convert-member-functions-to-static)
result<snapshot_pointer> server_reader::read(const snapshot_pointer& previous) {
    constexpr int most_attempts = 5;
    file_states states = watched_file_states();
    for (int attempt = 1;; ++attempt) {
        auto read = read_once(previous, states);
        const file_states after = watched_file_states();
        if (!read || after == states || attempt == most_attempts) {
            return read;
        }
        states = after;
    }
}

}  // namespace dp_redfish
