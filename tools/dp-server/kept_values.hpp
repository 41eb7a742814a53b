#ifndef DP_TOOLS_DP_SERVER_KEPT_VALUES_HPP
#define DP_TOOLS_DP_SERVER_KEPT_VALUES_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "support/result.hpp"

namespace dp_tools {

/// A file of values that dp_settingsd kept: a backup or a damaged file.
struct kept_file {
    std::string name;       ///< in the data folder: "uefi_settings.txt.backup"
    std::string problem;    ///< why it is damaged, as a clause; empty when it is complete
    std::size_t count = 0;  ///< of its usable values
};

/// The backups and damaged files of the pending and the current values.
std::vector<kept_file> kept_files();

/// Replaces the file of values that the kept file `name` belongs to by its values, and returns
/// their number. Of a damaged file, only what is left can be used, and only if `is_partial_allowed`
/// is set. The replaced file is kept too: as the backup, or as a damaged file. Fails while a
/// service runs, which would continue with the old values.
dp_support::result<std::size_t> restore_values(const std::string& name, bool is_partial_allowed);

}  // namespace dp_tools

#endif
