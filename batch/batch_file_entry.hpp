#ifndef DP_BATCH_BATCH_FILE_ENTRY_HPP
#define DP_BATCH_BATCH_FILE_ENTRY_HPP

#include <iosfwd>
#include <string>

#include "batch/qualified_setting_name.hpp"
#include "common/export.hpp"

namespace dp {

/// A line of a batch file, as texts: a setting command in a request, or the same command with its
/// outcome in an answer.
class DP_API batch_file_entry {
  public:
    std::string status;     ///< outcome as a decimal number; "0" in a request and on success
    std::string detail;     ///< the command's correlator; "0" in a clean request
    std::string tid;        ///< transaction identifier, one word
    std::string operation;  ///< keyword, or "command" for the two-word output form
    std::string command;    ///< the word after "command"; not read or written for other operations
    qualified_setting_name name;  ///< the setting
    std::string value_in;         ///< value given to the command
    std::string value_out;        ///< value produced by the command
};

/// Writes the line without a newline. Nothing is escaped: a value with a double quote or a
/// backslash does not survive being written and read.
DP_API std::ostream& operator<<(std::ostream& os, const batch_file_entry& entry);

}  // namespace dp

#endif
