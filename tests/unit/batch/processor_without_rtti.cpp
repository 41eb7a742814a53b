#include "tests/unit/batch/processor_without_rtti.hpp"

namespace test {

#ifdef __GXX_RTTI
const bool processor_without_rtti::works_in_this_build = false;
#else
const bool processor_without_rtti::works_in_this_build = true;
#endif

processor_without_rtti::processor_without_rtti() = default;

void processor_without_rtti::process_entry(dp::batch_file_entry& entry, dp::registrar* /*reg*/) {
    values += entry.value_in;
}

}  // namespace test
