#ifndef DP_TESTS_SUPPORT_REDFISH_PROCESS_HPP
#define DP_TESTS_SUPPORT_REDFISH_PROCESS_HPP

#include <string>
#include <vector>

#include "tests/support/daemon_process.hpp"

namespace test {

/// What curl received.
struct curl_answer {
    unsigned status = 0;  ///< 0: none
    std::string head;     ///< the status line and the fields of the last response
    std::string body;
    std::string problem;  ///< what curl wrote to its standard error

    /// The value of a field; empty if there is none. The name's case of letters does not matter.
    [[nodiscard]] std::string field(const std::string& name) const;
};

/// dp_redfishd as a process, with its state in $DP_ROOT/redfish, on a free port, also as root.
class redfish_process : public daemon_process {
  public:
    redfish_process();

    /// "https://127.0.0.1:PORT", from its ready line.
    [[nodiscard]] const std::string& url() const { return ready_text(); }

    /// Its standard error since the last start.
    [[nodiscard]] static std::string log() { return log_of("redfish"); }
    /// A file in its state folder.
    [[nodiscard]] static std::string state(const std::string& name);
    /// The password that it generated for "admin" at its first start.
    [[nodiscard]] static std::string first_password();

    /// Runs curl with these arguments, and the URL of `path`. Trusts its certificate, and no other.
    [[nodiscard]] curl_answer curl(const std::string& path,
                                   const std::vector<std::string>& arguments = {}) const;
    /// `curl` as "admin" with the first password, and a JSON body if `body` is not empty.
    [[nodiscard]] curl_answer ask(const std::string& method, const std::string& path,
                                  const std::string& body = "",
                                  const std::vector<std::string>& arguments = {}) const;
};

}  // namespace test

#endif
