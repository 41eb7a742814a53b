#ifndef DP_TOOLS_DPCTL_OUTPUT_VETTING_HPP
#define DP_TOOLS_DPCTL_OUTPUT_VETTING_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "exec/security_wrap.hpp"

namespace dpctl {

/// How the library's vetter interprets a command line.
struct vetting {
    bool accepted = false;
    std::string reason;    ///< why it was refused: the vetter's message, or ours if it has none
    std::string examined;  ///< the part of the line that the vetter examines
    std::vector<std::string> parameters;  ///< after a refusal, those before the offending character
    std::vector<dp::security_wrap::redirection> redirections;
    std::uint32_t flag = 0;  ///< `dp::security_wrap::redirection_flags`; 0 after a refusal
};

/// Vets `command` as `dp::security_wrap::system` does, without touching a file. No other thread may
/// use the library meanwhile: messages for the log are intercepted.
vetting vet(const std::string& command);

/// What a redirection does, as "standard output to the file f (overwritten)".
std::string describe(const dp::security_wrap::redirection& redirection);

/// The bits of a redirection flag in words; "no redirection" if there are none.
std::string describe_flag(std::uint32_t flag);

}  // namespace dpctl

#endif
