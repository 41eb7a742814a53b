#ifndef DP_TOOLS_DPCTL_DESIRED_STATE_FILE_HPP
#define DP_TOOLS_DPCTL_DESIRED_STATE_FILE_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/result.hpp"

namespace dpctl {

/// The names of the members of a state file.
inline constexpr std::string_view registry_version_member = "RegistryVersion";
inline constexpr std::string_view build_id_member = "BuildId";
inline constexpr std::string_view attributes_member = "Attributes";
inline constexpr std::string_view read_only_member = "ReadOnlyAttributes";

/// A value that a setting is to have, as a person wrote it.
struct state_entry {
    enum class kinds : std::uint8_t { text, boolean, number };

    std::string name;   ///< with or without its collection
    std::string value;  ///< the text, "true" or "false", or the digits of the number
    kinds kind = kinds::text;
    std::size_t line = 0;  ///< from 1; 0: not from a file
    /// Whether the setting may keep another value if it cannot be changed because it is read-only.
    bool may_remain = false;
};

/// A part of a state file that is wrong.
struct state_problem {
    std::size_t line;  ///< from 1; 0: the whole file, which the message names
    std::string message;
};

/// A desired state: values for some of the settings.
struct state_file {
    std::string source;  ///< for messages: the file's name or "standard input"
    std::vector<state_entry> entries;
    std::string registry_version;  ///< of the server that it was made from; empty: not known
    std::string build_id;          ///< the same
    std::vector<state_problem> problems;

    /// Where the entry is, to begin a message with: "state.json:3: ".
    [[nodiscard]] std::string place_of(std::size_t line) const;
};

/// Greatest size in bytes of a state file.
inline constexpr std::size_t state_size_limit = std::size_t{16} << 20;

/// Reads the text of a state file. A text that begins with "{" or "[" is JSON:
///
///     {"RegistryVersion": "1.0.2", "BuildId": "B1", "Attributes": {"BootMode": "Uefi", "Delay":
///     5}}
///
/// Only "Attributes" must be there, and other members are ignored, so that the Bios resource of a
/// Redfish service can be used as it is. "ReadOnlyAttributes" has the values of settings that are
/// read-only in this state: they are set where they can be. A value whose bytes are not UTF-8 has
/// U+FFFD instead of them, and all its bytes in a member NAME_bytes, as hexadecimal digits. Any
/// other text consists of lines NAME=VALUE. A value is everything after the first "=". Empty lines
/// and those that begin with "#" are ignored, and so are blanks around a name and a carriage return
/// at the end of a line.
state_file parse_state(std::string source, std::string_view text);

/// Reads the regular file `path`, or standard input if that is "-". Fails when it cannot be read or
/// is larger than `state_size_limit`.
dp_support::result<state_file> read_state(const std::string& path);

}  // namespace dpctl

#endif
