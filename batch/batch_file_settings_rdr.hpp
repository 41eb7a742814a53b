#ifndef DP_BATCH_BATCH_FILE_SETTINGS_RDR_HPP
#define DP_BATCH_BATCH_FILE_SETTINGS_RDR_HPP

#include <string>
#include <vector>

#include "batch/batch_file_intf.hpp"
#include "batch/batch_file_reader.hpp"
#include "common/export.hpp"

namespace dp {

/// Collects the qualified names and the input values of a batch file in two parallel lists.
class DP_API batch_file_settings_rdr : public batch_file_intf, public batch_file_reader {
  public:
    /// A reader without lists, which the caller may set. A null list is ignored.
    batch_file_settings_rdr();
    /// Appends to both lists, which are not owned.
    batch_file_settings_rdr(std::vector<std::string>* name_list,
                            std::vector<std::string>* value_list);
    // Cannot be copied: `processor` points to this object.
    batch_file_settings_rdr(const batch_file_settings_rdr&) = delete;
    batch_file_settings_rdr& operator=(const batch_file_settings_rdr&) = delete;
    void process_entry(batch_file_entry& entry, registrar* reg) override;

    std::vector<std::string>* names = nullptr;   ///< not owned
    std::vector<std::string>* values = nullptr;  ///< not owned
};

}  // namespace dp

#endif
