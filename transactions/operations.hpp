#ifndef DP_TRANSACTIONS_OPERATIONS_HPP
#define DP_TRANSACTIONS_OPERATIONS_HPP

#include <cstdint>
#include <string>

#include "common/export.hpp"

namespace dp {

/// The operations of setting commands. The values are stored and compared elsewhere and never
/// change: 1 and 2 are the plain read and write, 16 more marks their "v" variants, values from 32
/// on are the delete and the command family.
enum operations : std::uint32_t {
    op_unknown = 0,
    op_get = 1,
    op_set = 2,
    op_getv = 17,
    op_setv = 18,
    op_delete = 34,
    op_cmd_import = 35,
    op_cmd_export = 36,
    op_cmd_delete = 37,
    op_cmd_generate = 38,
    op_cmd_exportcsr = 40,
    op_cmd_generatecsr = 48,
};

/// The text that outputs and logs show for an operation, for example "command import"; "unknown"
/// for any value that is not an operation.
DP_API const char* map_operation(operations op);

/// The operation of a batch file's keyword, for example "cmd_import", compared exactly.
/// `op_unknown`, with a trace line, for anything else; the command family's output texts are not
/// keywords.
DP_API operations map_operation(const std::string& text);

}  // namespace dp

#endif
