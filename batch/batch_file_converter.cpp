#include "batch/batch_file_converter.hpp"

#include "batch/batch_file_entry.hpp"

namespace dp {

batch_file_converter::batch_file_converter() : batch_file_reader(this) {}

void batch_file_converter::process_entry(batch_file_entry& entry, registrar* reg) {
    commands.emplace_back(reg, entry);
}

}  // namespace dp
