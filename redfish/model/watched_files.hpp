#ifndef DP_REDFISH_MODEL_WATCHED_FILES_HPP
#define DP_REDFISH_MODEL_WATCHED_FILES_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "support/result.hpp"

namespace dp_redfish {

/// The files that what the service shows is read from.
enum class watched_file : std::uint8_t {
    bios_template,
    registry,
    pending_values,
    current_values,
    vital_product_data,
    history,
};

inline constexpr std::size_t watched_file_count = 6;

/// The path of a watched file.
std::string path_of(watched_file file);

/// Identifies the content of a file: differs after each time that it was written or replaced. All
/// zeros without a file.
struct file_state {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t written = 0;  ///< nanoseconds since 1970, of the last write
    std::int64_t changed = 0;  ///< the same, of the last change of the inode

    bool operator==(const file_state&) const = default;
};

/// By `watched_file`.
using file_states = std::array<file_state, watched_file_count>;

/// The files as they are now. Costs a system call each.
file_states watched_file_states();

/// Fails, with the path, when this user may not read one of the files, nor see whether it is there.
dp_support::result<> check_rights_to_read();

}  // namespace dp_redfish

#endif
