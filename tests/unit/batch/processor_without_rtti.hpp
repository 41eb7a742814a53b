#ifndef DP_TESTS_UNIT_BATCH_PROCESSOR_WITHOUT_RTTI_HPP
#define DP_TESTS_UNIT_BATCH_PROCESSOR_WITHOUT_RTTI_HPP

#include <string>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"

namespace test {

/// A processor that is compiled with -fno-rtti and therefore has no type information. Collects the
/// input values.
class processor_without_rtti : public dp::batch_file_intf {
  public:
    /// False in builds that need type information.
    static const bool works_in_this_build;

    processor_without_rtti();
    void process_entry(dp::batch_file_entry& entry, dp::registrar* reg) override;

    std::string values;
};

}  // namespace test

#endif
