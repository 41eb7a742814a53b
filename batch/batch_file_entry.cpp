#include "batch/batch_file_entry.hpp"

#include <ostream>

namespace dp {

std::ostream& operator<<(std::ostream& os, const batch_file_entry& entry) {
    os.width(0);
    os << entry.status << ' ' << entry.detail << ' ' << entry.tid << ' ' << entry.operation << ' ';
    if (entry.operation == "command") {
        os << entry.command << ' ';
    }
    return os << entry.name.get_name() << " \"" << entry.value_in << "\" \"" << entry.value_out
              << "\" ";
}

}  // namespace dp
