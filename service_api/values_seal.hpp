#ifndef DP_SERVICE_API_VALUES_SEAL_HPP
#define DP_SERVICE_API_VALUES_SEAL_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The seal of a file of values: two comment lines around its set lines, which prove that the file
/// is complete and unchanged.
///
///     # dp-values begin: the last line proves that this file is complete
///     0 0 uefi set Boot.Mode "Uefi" ""
///     # dp-values end 1 3db578f79e48135d
///
/// The last line has the number of set lines and the 64-bit FNV-1a hash (`fnv1a_64`) of all bytes
/// before it. Remove both lines from a file that you change by hand.
namespace dp_service::values_seal {

/// The first line, without its newline.
inline constexpr const char* begin_line =
    "# dp-values begin: the last line proves that this file is complete";

/// The last line, without a newline, of a file whose other bytes are `text`, with `count` set
/// lines. `text` includes the first line and ends with a newline.
std::string end_line(std::string_view text, std::size_t count);

/// Whether a file of values can be used.
enum class completeness : std::uint8_t {
    sealed,    ///< both lines are there and right
    unsealed,  ///< written by another program: neither line is there, and every line is complete
    damaged,   ///< anything else, also a file without values that is not sealed
};

/// What `examine` finds.
struct examination {
    completeness found = completeness::damaged;  ///< whether it can be used
    std::string version;  ///< of the values, see `version_of`; empty when damaged
    std::string problem;  ///< why it is damaged, as a clause: "its last line is incomplete"
};

/// Examines the text of a file of values, which is not compressed any more. A line of an unsealed
/// file is complete when it ends with a newline and is a set command with a name and a value that
/// the library's reader accepts.
examination examine(std::string_view text);

/// Greatest size in bytes of a file of values, compressed or not, that is read.
inline constexpr std::uint32_t size_limit = std::uint32_t{64} << 20U;

/// Whether the file `path` is a regular file of at most `size_limit` bytes, whose text is not
/// larger either if it is a compressed image. Reads its first bytes only.
bool is_within_limit(const std::string& path);

/// The version of the values in the file `path`, which may be compressed: a text of at most 40
/// printable characters without spaces, which differs between different values. For the pending
/// values it equals the version that dp_settingsd has, so a request can be made conditional on the
/// values that it was planned on: read the version first, then the values. Takes no lock, since
/// files of values are replaced by rename. Nothing when the file is missing, damaged, too large or
/// not a regular file.
std::optional<std::string> version_of(const std::string& path);

}  // namespace dp_service::values_seal

#endif
