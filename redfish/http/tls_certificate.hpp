#ifndef DP_REDFISH_HTTP_TLS_CERTIFICATE_HPP
#define DP_REDFISH_HTTP_TLS_CERTIFICATE_HPP

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "support/result.hpp"

// Of OpenSSL, whose headers this one does not include.
struct ssl_ctx_st;

namespace dp_redfish {

/// A server's certificate with its private key. Never changes; may be used by several threads.
class tls_certificate {
  public:
    /// Reads PEM files: the certificate, followed by those of its issuers, and its private key,
    /// which has no passphrase. Both may be the same file. Fails when a file cannot be read or has
    /// other content, and when the key does not belong to the certificate.
    static dp_support::result<std::shared_ptr<const tls_certificate>> load(
        const std::string& certificate_file, const std::string& key_file);

    /// A new self-signed certificate with a new key of the curve P-256, both as PEM, for these host
    /// names and IP addresses; the first is also its subject. Valid from an hour before `now` for
    /// 825 days, the most that common clients accept.
    static dp_support::result<std::string> make_self_signed(const std::vector<std::string>& names,
                                                            std::time_t now);

    /// Loads the certificate and key in `file`, which are made and written first, with mode 0600,
    /// when there is no such file or when the certificate in it expires within 30 days after `now`.
    static dp_support::result<std::shared_ptr<const tls_certificate>> load_or_make(
        const std::string& file, const std::vector<std::string>& names, std::time_t now);

    /// When it expires.
    [[nodiscard]] std::time_t expiry() const { return expiry_; }

    /// Makes `context` one of a server with this certificate, TLS 1.2 or 1.3, and ciphers with
    /// forward secrecy and authenticated encryption.
    [[nodiscard]] dp_support::result<> install(ssl_ctx_st& context) const;

  private:
    tls_certificate(std::string chain, std::string key);

    std::string chain_;
    std::string key_;
    std::time_t expiry_ = 0;
};

}  // namespace dp_redfish

#endif
