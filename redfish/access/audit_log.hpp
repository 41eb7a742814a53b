#ifndef DP_REDFISH_ACCESS_AUDIT_LOG_HPP
#define DP_REDFISH_ACCESS_AUDIT_LOG_HPP

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace dp_redfish {

/// Writes a line for each login, failed login, end of a session and change of an account:
///
///     audit: login failed user="root" from=192.0.2.7 by=Basic reason="wrong password"
///
/// Never a password, token or hash. Texts of clients are quoted, with their control bytes escaped.
/// Can be used from any thread.
class audit_log {
  public:
    /// @param write  receives each line, without a newline; called by one thread at a time, from
    /// any
    explicit audit_log(std::function<void(const std::string&)> write) : write_(std::move(write)) {}

    /// @param peer  the client's address
    /// @param by    "Basic" or "session"
    void login(std::string_view user, std::string_view peer, std::string_view by);
    void login_failed(std::string_view user, std::string_view peer, std::string_view by,
                      std::string_view reason);
    /// A session token that is not known or no longer known.
    void token_refused(std::string_view peer);
    void session_ended(std::string_view session_id, std::string_view user, std::string_view reason);

    /// @param by     the user who made the change; empty: another process did
    /// @param what   "created with the role Operator"
    void account_changed(std::string_view user, std::string_view by, std::string_view what);

    /// Time-outs and lock-out were changed.
    void policy_changed(std::string_view by);

    /// Something else that an administrator has to know, such as a file that cannot be read.
    void problem(std::string_view what);

  private:
    void line(const std::string& text);

    std::mutex mutex_;
    std::function<void(const std::string&)> write_;
};

}  // namespace dp_redfish

#endif
