#ifndef DP_REDFISH_ACCESS_SESSION_STORE_HPP
#define DP_REDFISH_ACCESS_SESSION_STORE_HPP

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "redfish/access/access_environment.hpp"
#include "redfish/access/access_policy.hpp"
#include "redfish/access/audit_log.hpp"
#include "redfish/access/digest.hpp"
#include "redfish/access/identity.hpp"
#include "redfish/access/secret_text.hpp"

namespace dp_redfish {

/// A session as resources show it.
struct login_session {
    std::string id;  ///< not secret
    std::string user;
    roles role = roles::read_only;
    std::string peer;     ///< the address of the client that logged in
    std::string context;  ///< a text that the client chose; may be empty
    std::chrono::system_clock::time_point created;
};

/// The sessions of logged-in users. Of a session's token only the digest is kept. A session ends
/// when it was not used for the time-out. Can be used from any thread.
class session_store {
  public:
    struct limits {
        std::size_t all = 512;
        std::size_t of_one_user = 256;
    };

    session_store(const access_environment& environment, audit_log& log, limits most)
        : environment_(environment), log_(log), most_(most) {}

    enum class open_problem : std::uint8_t { none, too_many, no_random_numbers };

    struct opened {
        open_problem problem = open_problem::none;
        login_session made{};
        secret_text token{};  ///< 64 hexadecimal digits, of 256 random bits
    };

    /// Opens a session. `id` and `created` of `wanted` are set here.
    opened open(login_session wanted);

    /// The session of a token, which counts as used now; nothing when there is none or it timed
    /// out.
    std::optional<login_session> use(std::string_view token);

    /// The session with this id; nothing when there is none. Does not count as use.
    std::optional<login_session> find(std::string_view id);

    /// All sessions, ordered by the time of their login.
    std::vector<login_session> list();

    /// Ends a session; false when there is none.
    /// @param reason  for the log
    bool end(std::string_view id, std::string_view reason);

    /// Ends all sessions of a user, except the one with the id `kept`.
    void end_all(std::string_view user, std::string_view reason, std::string_view kept = {});

    /// Sets the time-outs of all sessions, also of those that are open.
    void set_timeouts(const access_policy& policy);

  private:
    struct entry {
        login_session shown;
        digest token;
        std::chrono::steady_clock::time_point last_use;
        std::chrono::steady_clock::time_point opened;
        std::uint64_t number = 0;  // of the login
    };
    using entries = std::map<std::string, entry, std::less<>>;

    static std::uint64_t index_of(const digest& token);
    [[nodiscard]] const char* why_over(const entry& of) const;
    entries::iterator erase(entries::iterator at, std::string_view reason);
    void end_those_that_timed_out();

    access_environment environment_;
    audit_log& log_;
    limits most_;
    std::mutex mutex_;
    access_policy policy_;
    std::uint64_t logins_ = 0;
    entries sessions_;  // by id
    // From the first bytes of a token's digest to the session's id. A client cannot choose a
    // digest, so it learns nothing from the time of a look-up; the whole digest is then compared in
    // constant time.
    std::unordered_map<std::uint64_t, std::string> ids_;
};

}  // namespace dp_redfish

#endif
