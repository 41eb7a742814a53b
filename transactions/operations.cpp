#include "transactions/operations.hpp"

#include <array>

#include "common/log.hpp"

namespace dp {
namespace {

struct operation_texts {
    operations operation;
    const char* keyword;  // in batch files
    const char* output;   // in outputs and logs
};

constexpr std::array<operation_texts, 11> operation_table{{
    {op_get, "get", "get"},
    {op_set, "set", "set"},
    {op_getv, "getv", "getv"},
    {op_setv, "setv", "setv"},
    {op_delete, "delete", "delete"},
    {op_cmd_import, "cmd_import", "command import"},
    {op_cmd_export, "cmd_export", "command export"},
    {op_cmd_delete, "cmd_delete", "command delete"},
    {op_cmd_generate, "cmd_generate", "command generate"},
    {op_cmd_exportcsr, "cmd_exportcsr", "command exportcsr"},
    {op_cmd_generatecsr, "cmd_generatecsr", "command generatecsr"},
}};

}  // namespace

const char* map_operation(operations op) {
    for (const auto& row : operation_table) {
        if (row.operation == op) {
            return row.output;
        }
    }
    return "unknown";
}

operations map_operation(const std::string& text) {
    for (const auto& row : operation_table) {
        if (text == row.keyword) {
            return row.operation;
        }
    }
    log_line(log_level::trace_2, "LOG", "Returning op unknown (map operation)");
    return op_unknown;
}

}  // namespace dp
