#ifndef DP_HOST_MODEL_VALUES_FILE_HPP
#define DP_HOST_MODEL_VALUES_FILE_HPP

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "host/model/value_store.hpp"
#include "support/result.hpp"

namespace dp_host {

// The files of pending and of current values are batch files with one set command for each value.
// Values are escaped, so that the library's reader gives back every byte.

/// Qualified names and values in the order of a file.
using named_values = std::vector<std::pair<std::string, std::string>>;

/// Writes every value of `store` as a line.
void write_values(const value_store& store, std::ostream& out);

/// The values in the file `path`, which may be compressed, read under its read lock. The code of a
/// failure is ENOENT when there is no such file.
dp_support::result<named_values> read_values(const std::string& path);

}  // namespace dp_host

#endif
