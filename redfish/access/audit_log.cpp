#include "redfish/access/audit_log.hpp"

#include <algorithm>

#include "redfish/access/text_rules.hpp"

namespace dp_redfish {
namespace {

// An address, written as the server formats it, is shown unquoted.
std::string shown_peer(std::string_view peer) {
    const bool is_plain =
        !peer.empty() && peer.find_first_not_of("0123456789abcdefABCDEF.:%") == std::string::npos;
    return is_plain ? std::string(peer) : quoted_for_log(peer);
}

}  // namespace

void audit_log::login(std::string_view user, std::string_view peer, std::string_view by) {
    line("login user=" + quoted_for_log(user) + " from=" + shown_peer(peer) +
         " by=" + std::string(by));
}

void audit_log::login_failed(std::string_view user, std::string_view peer, std::string_view by,
                             std::string_view reason) {
    line("login failed user=" + quoted_for_log(user) + " from=" + shown_peer(peer) +
         " by=" + std::string(by) + " reason=" + quoted_for_log(reason));
}

void audit_log::token_refused(std::string_view peer) {
    line("unknown session token from=" + shown_peer(peer));
}

void audit_log::session_ended(std::string_view session_id, std::string_view user,
                              std::string_view reason) {
    line("session ended id=" + std::string(session_id) + " user=" + quoted_for_log(user) +
         " reason=" + quoted_for_log(reason));
}

void audit_log::account_changed(std::string_view user, std::string_view by, std::string_view what) {
    line("account user=" + quoted_for_log(user) + " by=" +
         (by.empty() ? "another process" : quoted_for_log(by)) + " change=" + quoted_for_log(what));
}

void audit_log::policy_changed(std::string_view by) {
    line("policy of logins changed by=" + quoted_for_log(by));
}

void audit_log::problem(std::string_view what) {
    std::string shown(what);
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; },
        '?');
    line("problem: " + shown);
}

void audit_log::line(const std::string& text) {
    const std::lock_guard lock(mutex_);
    if (write_) {
        write_("audit: " + text);
    }
}

}  // namespace dp_redfish
