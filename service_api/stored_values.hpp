#ifndef DP_SERVICE_API_STORED_VALUES_HPP
#define DP_SERVICE_API_STORED_VALUES_HPP

#include <optional>
#include <string>
#include <unordered_map>

namespace dp_service {

/// The values in a file of values, whole, by the full names of their settings. List selections have
/// the terse form, as the C API returns them.
using stored_values = std::unordered_map<std::string, std::string>;

/// Reads the file of values `path`, which may be compressed. Takes no lock, since files of values
/// are replaced by rename. Nothing when it is missing, too large or not a regular file.
std::optional<stored_values> read_stored_values(const std::string& path);

}  // namespace dp_service

#endif
