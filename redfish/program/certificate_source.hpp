#ifndef DP_REDFISH_PROGRAM_CERTIFICATE_SOURCE_HPP
#define DP_REDFISH_PROGRAM_CERTIFICATE_SOURCE_HPP

#include <memory>
#include <string>
#include <vector>

#include "redfish/http/tls_certificate.hpp"
#include "redfish/program/service_options.hpp"
#include "support/result.hpp"

namespace dp_redfish {

/// Where the service's certificate comes from: files that were given, or one of its own.
class certificate_source {
  public:
    explicit certificate_source(const service_options& chosen);

    /// Reads it. One that was not given is made when there is none, or when it expires soon.
    [[nodiscard]] dp_support::result<std::shared_ptr<const tls_certificate>> load() const;

    /// Whether it was not given.
    [[nodiscard]] bool is_own() const { return is_own_; }
    [[nodiscard]] const std::string& path() const { return certificate_; }

  private:
    std::string certificate_;
    std::string key_;
    std::vector<std::string> names_;
    bool is_own_;
};

}  // namespace dp_redfish

#endif
