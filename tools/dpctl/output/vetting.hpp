#ifndef DP_TOOLS_DPCTL_OUTPUT_VETTING_HPP
#define DP_TOOLS_DPCTL_OUTPUT_VETTING_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "exec/security_wrap.hpp"

namespace dpctl {

/// What the library's vetter makes of a command line.
struct vetting {
    bool accepted = false;
    std::string reason;     ///< why not: the vetter's own words, or ours where it says nothing
    std::string looked_at;  ///< the part of the line that the vetter goes through
    std::vector<std::string> parameters;  ///< after a refusal, those before the offending character
    std::vector<dp::security_wrap::redirection> redirections;
    std::uint32_t flag = 0;  ///< `dp::security_wrap::redirection_flags`; 0 after a refusal
};

/// Has `command` vetted as `dp::security_wrap::system` does, and touches no file. Call it while no
/// other thread uses the library: what the vetter logs is caught on its way to the log.
vetting vet(const std::string& command);

/// What a redirection does, as "standard output to the file f, which is emptied first".
std::string describe(const dp::security_wrap::redirection& redirection);

/// The bits of a redirection flag in words; "no redirection" for none.
std::string describe_flag(std::uint32_t flag);

}  // namespace dpctl

#endif
