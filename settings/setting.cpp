#include "settings/setting.hpp"

#include <ostream>
#include <utility>

#include "settings/configuration.hpp"
#include "settings/instance_number.hpp"
#include "settings/setting_element.hpp"
#include "transactions/command_status.hpp"
#include "transactions/transaction_command.hpp"

namespace dp {
namespace {

setting_record* find_record(const setting& s) {
    auto& records = s.configuration->records;
    const auto found = records.find(s.element->record_name);
    return found == records.end() ? nullptr : &found->second;
}

bool may_delete(const setting_element& element, std::uint32_t instance) {
    if ((element.flags & setting_element::deletable_flag) != 0) {
        return true;
    }
    return element.max_instance != no_instance && element.min_instance <= instance &&
           instance <= element.max_instance;
}

}  // namespace

setting::setting(class configuration* owning_configuration, std::string setting_name,
                 plugin* owning_plugin, setting_element* description)
    : configuration(owning_configuration),
      name(std::move(setting_name)),
      owner(owning_plugin),
      element(description) {}

void setting::remove_instance(std::uint32_t instance) {
    cache.remove_instance(instance);
    configuration->count_change();
}

void setting::set_instance_value(const std::string& value, std::uint32_t instance) {
    auto* entry = cache.find_entry(instance, false);
    if (entry == nullptr) {
        // `value` may refer to another entry, and adding an entry moves them.
        std::string copy = value;
        entry = cache.find_entry(instance, true);
        entry->value = std::move(copy);
    } else if (entry->valid && entry->value == value) {
        return;
    } else {
        entry->value = value;
    }
    entry->valid = true;
    configuration->count_change();
}

bool setting::get_instance_value(std::string* out, std::uint32_t instance) {
    const auto* entry = cache.find_entry(instance, false);
    if (entry == nullptr || !entry->valid) {
        return false;
    }
    *out = entry->value;
    return true;
}

void setting::invalidate_instance(std::uint32_t instance) {
    auto* entry = cache.find_entry(instance, false);
    if (entry != nullptr && entry->valid) {
        entry->valid = false;
        configuration->count_change();
    }
}

bool setting::is_record_key() const {
    return (element->flags & setting_element::record_key_flag) != 0;
}

bool setting::is_record_refresh() const {
    return (element->flags & setting_element::record_refresh_flag) != 0;
}

// NOLINTNEXTLINE(readability-make-member-function-const): changes settings, including this one.
void setting::create_records(std::uint32_t instance) {
    setting_record* record = find_record(*this);
    if (record == nullptr) {
        return;
    }
    for (setting* member : record->settings) {
        if (member == nullptr || instance > member->element->max_instance) {
            continue;
        }
        const std::string value = member->element->default_value();
        const auto* entry = member->cache.find_entry(instance, false);
        if (entry == nullptr || !entry->valid) {
            member->set_instance_value(value, instance);
        }
    }
}

// NOLINTNEXTLINE(readability-make-member-function-const): as above.
void setting::remove_records(std::uint32_t instance) {
    setting_record* record = find_record(*this);
    if (record == nullptr) {
        return;
    }
    for (setting* member : record->settings) {
        if (member != nullptr) {
            member->remove_instance(instance);
        }
    }
}

std::ostream& setting::display_cache(std::ostream& os) const {
    return os << *this << cache << std::endl;
}

// NOLINTNEXTLINE(readability-make-member-function-const): may invalidate cached values.
void setting::validate(transaction_command* command) {
    switch (command->operation) {
        case op_set:
        case op_setv:
            if (const std::int32_t code = element->validate(command->value_in); code != 0) {
                command->fail(code);
            }
            break;
        case op_delete: {
            const std::uint32_t instance = parse_instance(command->target.instance);
            if (is_record_key()) {
                configuration->records[element->record_name].invalidate(instance);
            } else if (!may_delete(*element, instance)) {
                command->fail(command_status::delete_not_permitted);
            }
            break;
        }
        default:
            break;
    }
}

std::ostream& operator<<(std::ostream& os, const setting& s) {
    return os << *s.configuration << '.' << s.name;
}

}  // namespace dp
