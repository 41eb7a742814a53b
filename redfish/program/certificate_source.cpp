#include "redfish/program/certificate_source.hpp"

#include <ctime>

#include "support/process_log.hpp"

namespace dp_redfish {

using dp_support::result;

certificate_source::certificate_source(const service_options& chosen)
    : certificate_(chosen.certificate),
      key_(chosen.key),
      names_(host_names(chosen)),
      is_own_(certificate_.empty()) {
    if (is_own_) {
        certificate_ = chosen.state_folder + "/certificate.pem";
    }
    if (key_.empty()) {
        key_ = certificate_;
    }
}

result<std::shared_ptr<const tls_certificate>> certificate_source::load() const {
    const std::time_t now = std::time(nullptr);
    auto loaded = is_own_ ? tls_certificate::load_or_make(certificate_, names_, now)
                          : tls_certificate::load(certificate_, key_);
    if (loaded && (*loaded)->expiry() <= now) {
        dp_support::log_error("the certificate in " + certificate_ + " has expired");
    }
    return loaded;
}

}  // namespace dp_redfish
