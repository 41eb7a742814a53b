#ifndef DP_HOST_MODEL_VALUES_FILE_HPP
#define DP_HOST_MODEL_VALUES_FILE_HPP

#include <cstddef>
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

struct values_content {
    named_values values;
    std::string version;  ///< of the values: `dp_service::values_seal::version_of` the file
};

/// Writes every value of `store` as a line, and returns their number.
std::size_t write_set_lines(const value_store& store, std::ostream& out);

/// Writes a file of values: the lines of `write_set_lines`, sealed (`dp_service::values_seal`).
/// Returns the version of the values.
std::string write_values(const value_store& store, std::ostream& out);

/// The content of the file `path`, which may be compressed, read under its read lock, for which it
/// waits as `bounded_lock` does. The code of a failure is ENOENT when there is no such file,
/// EBADMSG when it is damaged, EFBIG when it is too large, and EBUSY when it is locked.
dp_support::result<values_content> read_values(const std::string& path);

}  // namespace dp_host

#endif
