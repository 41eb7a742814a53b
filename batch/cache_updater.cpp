#include "batch/cache_updater.hpp"

#include "batch/batch_file_entry.hpp"
#include "common/log.hpp"
#include "settings/instance_number.hpp"
#include "settings/registrar.hpp"
#include "settings/setting.hpp"

namespace dp {

void cache_updater::process_entry(batch_file_entry& entry, registrar* reg) {
    if (reg == nullptr) {
        return;
    }
    const auto& name = entry.name;
    setting* found = reg->find_setting(name.configuration, name.setting);
    if (found == nullptr) {
        return;
    }
    log_line(log_level::log, "LOG", "cache_updater: ", name.setting,
             name.instance.empty() ? "" : ".", name.instance, "=", entry.value_out);
    found->set_instance_value(entry.value_out, parse_instance(name.instance));
}

}  // namespace dp
