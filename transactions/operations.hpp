#ifndef DP_TRANSACTIONS_OPERATIONS_HPP
#define DP_TRANSACTIONS_OPERATIONS_HPP

#include <cstdint>
#include <string>

#include "common/export.hpp"

namespace dp {

/// Operations of setting commands. Other components store and compare the values, so they never
/// change: 1 and 2 are the plain read and write, 17 and 18 their "v" variants, and values above 32
/// are the delete and the command family.
enum operations : std::uint32_t {
    op_unknown = 0,           ///< none of the others
    op_get = 1,               ///< read, also from the cache
    op_set = 2,               ///< write
    op_getv = 17,             ///< read, never from the cache
    op_setv = 18,             ///< write; the value stored is the output value
    op_delete = 34,           ///< delete an instance
    op_cmd_import = 35,       ///< the plug-in defines this one and those below
    op_cmd_export = 36,       ///< "cmd_export"
    op_cmd_delete = 37,       ///< "cmd_delete"
    op_cmd_generate = 38,     ///< "cmd_generate"
    op_cmd_exportcsr = 40,    ///< "cmd_exportcsr"
    op_cmd_generatecsr = 48,  ///< "cmd_generatecsr"
};

/// Returns the static text of an operation in outputs and logs, for example "command import";
/// "unknown" for any other value.
DP_API const char* map_operation(operations op);

/// Returns the operation of a batch file keyword, for example "cmd_import", compared exactly. For
/// any other text, including the output texts of the command family, returns `op_unknown` and
/// writes a trace line.
DP_API operations map_operation(const std::string& text);

}  // namespace dp

#endif
