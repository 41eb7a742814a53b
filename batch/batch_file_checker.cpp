#include "batch/batch_file_checker.hpp"

#include "batch/batch_file_entry.hpp"

namespace dp {

void batch_file_checker::process_entry(batch_file_entry& entry, registrar* /*reg*/) {
    const bool is_good = entry.status == "0" && entry.detail == "0" &&
                         (entry.operation == "set" || entry.operation == "setv") &&
                         !entry.name.configuration.empty() && !entry.name.setting.empty();
    if (is_good) {
        ++good;
    } else {
        ++bad;
    }
}

}  // namespace dp
