#include "batch/batch_file_checker.hpp"

#include "batch/batch_file_entry.hpp"

namespace dp {

using namespace std::string_view_literals;

void batch_file_checker::process_entry(batch_file_entry& entry, registrar* /*reg*/) {
    const bool is_good = entry.status == "0"sv && entry.detail == "0"sv &&
                         (entry.operation == "set"sv || entry.operation == "setv"sv) &&
                         !entry.name.configuration.empty() && !entry.name.setting.empty();
    if (is_good) {
        ++good;
    } else {
        ++bad;
    }
}

}  // namespace dp
