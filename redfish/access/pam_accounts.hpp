#ifndef DP_REDFISH_ACCESS_PAM_ACCOUNTS_HPP
#define DP_REDFISH_ACCESS_PAM_ACCOUNTS_HPP

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "redfish/access/external_accounts.hpp"

namespace dp_redfish {

/// The users of the operating system who are members of groups that have a role. A helper process,
/// dp_redfish_auth, asks PAM about their passwords, because this process has no right to.
class pam_accounts final : public external_accounts {
  public:
    struct options {
        /// dp_redfish_auth: a program to start, or a socket for whose connections another process
        /// starts it, with the connection as its standard input and output.
        std::string helper;
        std::string service;  ///< PAM's service, for a program to start; empty: its default
        /// The groups with their roles. A user of several has the role of the first.
        std::vector<std::pair<std::string, roles>> groups;
        int patience_ms = 65'000;  ///< for the helper's answer
    };

    explicit pam_accounts(options chosen) : chosen_(std::move(chosen)) {}

    std::vector<external_account> list() override;
    std::optional<roles> role_of(const std::string& user) override;
    dp_support::result<bool> check(const std::string& user, const secret_text& password) override;

  private:
    options chosen_;
};

}  // namespace dp_redfish

#endif
