#include "batch/batch_file_settings_rdr.hpp"

#include "batch/batch_file_entry.hpp"

namespace dp {

batch_file_settings_rdr::batch_file_settings_rdr() : batch_file_reader(this) {}

batch_file_settings_rdr::batch_file_settings_rdr(std::vector<std::string>* name_list,
                                                 std::vector<std::string>* value_list)
    : batch_file_reader(this), names(name_list), values(value_list) {}

void batch_file_settings_rdr::process_entry(batch_file_entry& entry, registrar* /*reg*/) {
    if (names != nullptr) {
        names->push_back(entry.name.get_name());
    }
    if (values != nullptr) {
        values->push_back(entry.value_in);
    }
}

}  // namespace dp
