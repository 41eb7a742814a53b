#include "batch/batch_file_loader.hpp"

namespace dp {

batch_file_loader::batch_file_loader() : batch_file_reader(this) {}

batch_file_loader::batch_file_loader(std::vector<batch_file_entry>* entry_list)
    : batch_file_reader(this), entries(entry_list) {}

void batch_file_loader::process_entry(batch_file_entry& entry, registrar* /*reg*/) {
    if (entry.status == "0") {
        ++succeeded;
    } else {
        ++failed;
    }
    if (entries != nullptr) {
        entries->push_back(entry);
    }
}

}  // namespace dp
