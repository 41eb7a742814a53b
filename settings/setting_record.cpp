#include "settings/setting_record.hpp"

#include "settings/setting.hpp"

namespace dp {

void setting_record::invalidate(std::uint32_t instance) {
    for (setting* member : settings) {
        if (member == nullptr) {
            continue;
        }
        if (auto* entry = member->cache.find_entry(instance, false)) {
            entry->valid = false;
        }
    }
}

}  // namespace dp
