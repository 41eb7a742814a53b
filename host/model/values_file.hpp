#ifndef DP_HOST_MODEL_VALUES_FILE_HPP
#define DP_HOST_MODEL_VALUES_FILE_HPP

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "host/model/value_store.hpp"

namespace dp_host {

/// Qualified names and values in the order of a file.
using named_values = std::vector<std::pair<std::string, std::string>>;

// The files of pending and of current values: batch files of set commands, one line a value, whose
// values are escaped so that the library's reader gives every byte back.

/// Writes every value of `store` as a line.
void write_values(const value_store& store, std::ostream& out);

/// Reads a file of values, compressed or not, under its read lock. Returns why it can't be read;
/// empty when it can, and also, with no values, when there is no such file (`exists` tells).
std::string read_values(const std::string& path, named_values& values, bool& exists);

}  // namespace dp_host

#endif
