#include "redfish/access/password_access_control.hpp"

#include <cerrno>
#include <optional>
#include <utility>

#include "redfish/access/basic_credentials.hpp"
#include "redfish/access/password_hash.hpp"
#include "redfish/access/text_rules.hpp"

namespace dp_redfish {

dp_support::result<std::unique_ptr<password_access_control>> password_access_control::start(
    const options& chosen) {
    digest cache_key{};
    if (!chosen.environment.fill_random(cache_key)) {
        return dp_support::failure{"the system has no random numbers", EIO};
    }
    const auto unknown = random_digits(chosen.environment, 16);
    if (!unknown) {
        return unknown.error();
    }
    auto unknown_hash = hash_password(secret_text(std::string_view(*unknown)), chosen.environment,
                                      chosen.hash_cost);
    if (!unknown_hash) {
        return unknown_hash.error();
    }
    std::unique_ptr<password_access_control> made(
        new password_access_control(chosen, cache_key, std::move(*unknown_hash)));
    if (auto loaded = made->accounts_.load(); !loaded) {
        return loaded.error();
    }
    return made;
}

password_access_control::password_access_control(const options& chosen, const digest& cache_key,
                                                 std::string unknown_hash)
    : log_(chosen.log),
      sessions_(chosen.environment, log_, chosen.session_limits),
      failures_(chosen.environment),
      known_credentials_(chosen.environment, cache_key),
      accounts_(chosen.accounts_path, chosen.environment, chosen.hash_cost,
                {log_, sessions_, failures_, known_credentials_}),
      external_(chosen.external),
      unknown_hash_(std::move(unknown_hash)),
      thread_(chosen.queue_limit) {}

identity password_access_control::identity_of(const std::string& user) const {
    // An account that was just deleted can do nothing more.
    if (const auto found = accounts_.find(user)) {
        return found->enabled ? identity{user, found->role, {}, found->must_change_password}
                              : identity{};
    }
    const std::lock_guard lock(external_roles_mutex_);
    const auto external = external_roles_.find(user);
    return external != external_roles_.end() ? identity{user, external->second, {}} : identity{};
}

std::function<bool()> password_access_control::admission_of(const identity& client) {
    const auto known = accounts_.find(client.user);
    const std::string hash = known ? known->password_hash : std::string();
    return [this, client, hash] {
        if (!accounts_.is_current()) {
            // Another process changed the accounts. What that means is known at the next call.
            post([this](worker_thread::modes mode) {
                if (mode == worker_thread::modes::run) {
                    accounts_.refresh();
                }
            });
        }
        const identity now = identity_of(client.user);
        const auto account = accounts_.find(client.user);
        return now.is_logged_in() && !now.must_change_password && now.role == client.role &&
               (account ? account->password_hash : std::string()) == hash;
    };
}

void password_access_control::unlock(std::string_view by, const std::string& user) {
    failures_.clear(user);
    log_.account_changed(user, by, "unlocked");
}

void password_access_control::identify(std::shared_ptr<const http_request> request,
                                       std::function<void(decision)> done) {
    const auto token = request->headers.find(std::string_view("X-Auth-Token"));
    if (token != request->headers.end()) {
        if (accounts_.is_current()) {
            decide_by_token(*request, token->second, done);
            return;
        }
        // Another process changed the accounts, which may end the session.
        const bool is_added = post([this, request, done](worker_thread::modes mode) {
            if (mode == worker_thread::modes::cancel) {
                done({states::unavailable, {}});
                return;
            }
            accounts_.refresh();
            decide_by_token(*request, std::string(request->header("X-Auth-Token")), done);
        });
        if (!is_added) {
            done({states::unavailable, {}});
        }
        return;
    }
    const std::string_view authorization = request->header("Authorization");
    if (authorization.empty()) {
        done({states::known, {}});
        return;
    }
    decide_by_password(*request, authorization, done);
}

void password_access_control::decide_by_token(const http_request& request, const std::string& token,
                                              const std::function<void(decision)>& done) {
    const auto found = sessions_.use(token);
    if (!found) {
        log_.token_refused(request.peer);
        done({states::refused, {}});
        return;
    }
    done({states::known,
          {found->user, found->role, found->id, accounts_.must_change_password(found->user)}});
}

void password_access_control::decide_by_password(const http_request& request,
                                                 std::string_view authorization,
                                                 const std::function<void(decision)>& done) {
    auto read = read_basic_credentials(authorization);
    if (!read) {
        log_.login_failed({}, request.peer, "Basic", "malformed Authorization");
        done({states::refused, {}});
        return;
    }
    const digest credentials = known_credentials_.digest_of(read->user, read->password.view());
    if (known_credentials_.has(read->user, credentials) && accounts_.is_current() &&
        !is_locked(read->user)) {
        identity caller = identity_of(read->user);
        const states state = caller.is_logged_in() ? states::known : states::refused;
        done({state, std::move(caller)});
        return;
    }
    {
        const std::lock_guard lock(waiting_mutex_);
        auto& waiting = waiting_[credentials];
        waiting.push_back(done);
        if (waiting.size() > 1) {
            return;  // the first one's check decides about this one too
        }
    }
    const auto answer_all = [this, credentials](const decision& made) {
        std::vector<std::function<void(decision)>> all;
        {
            const std::lock_guard lock(waiting_mutex_);
            const auto found = waiting_.find(credentials);
            if (found != waiting_.end()) {
                all = std::move(found->second);
                waiting_.erase(found);
            }
        }
        for (const auto& one : all) {
            one(made);
        }
    };
    const auto attempt = std::make_shared<const login_attempt>(login_attempt{
        std::move(read->user), std::move(read->password), request.peer, "Basic", credentials});
    const bool is_added = post([this, attempt, answer_all](worker_thread::modes mode) {
        answer_all(mode == worker_thread::modes::run ? decide(*attempt)
                                                     : decision{states::unavailable, {}});
    });
    if (!is_added) {
        answer_all({states::unavailable, {}});
    }
}

// Never throws: who waits for these credentials would wait for ever, and all who come later.
password_access_control::decision password_access_control::decide(
    const login_attempt& attempt) noexcept {
    try {
        decision made{check(attempt), {}};
        if (made.state == states::known) {
            made.caller = identity_of(attempt.user);
            log_.login(attempt.user, attempt.peer, attempt.by);
        }
        return made;
    } catch (...) {  // as when memory runs out
        return {states::unavailable, {}};
    }
}

// Counts and logs a failed login.
password_access_control::states password_access_control::refuse(const login_attempt& attempt,
                                                                bool has_account,
                                                                const char* reason) {
    const bool is_locked_now =
        failures_.count_failure(attempt.user, has_account, accounts_.policy());
    log_.login_failed(attempt.user, attempt.peer, attempt.by,
                      is_locked_now ? "too many failed logins, now locked" : reason);
    return states::refused;
}

// Whether name and password are those of an enabled account that is not locked. Runs on the access
// thread.
password_access_control::states password_access_control::check(const login_attempt& attempt) {
    accounts_.refresh();
    if (!is_user_name(attempt.user)) {
        log_.login_failed(attempt.user, attempt.peer, attempt.by, "not a user name");
        return states::refused;
    }
    if (is_locked(attempt.user)) {
        log_.login_failed(attempt.user, attempt.peer, attempt.by, "locked after failed logins");
        return states::refused;
    }
    if (known_credentials_.has(attempt.user, attempt.credentials) &&
        identity_of(attempt.user).is_logged_in()) {
        return states::known;
    }
    const auto found = accounts_.find(attempt.user);
    if (!found && external_ != nullptr) {
        return check_external(attempt);
    }
    const auto matches =
        matches_hash(attempt.password, found ? found->password_hash : unknown_hash_);
    if (!matches) {
        log_.problem(matches.reason());
        return states::unavailable;
    }
    if (!found || !found->enabled || !*matches) {
        return refuse(attempt, found.has_value(),
                      !found            ? "no such account"
                      : !found->enabled ? "account disabled"
                                        : "wrong password");
    }
    failures_.clear(attempt.user);
    known_credentials_.remember(attempt.user, attempt.credentials);
    return states::known;
}

password_access_control::states password_access_control::check_external(
    const login_attempt& attempt) {
    // Also for users without a role, so that these take as long as others.
    const auto matches = external_->check(attempt.user, attempt.password);
    if (!matches) {
        log_.problem(matches.reason());
        return states::unavailable;
    }
    const auto role = external_->role_of(attempt.user);
    bool is_other_role = false;
    {
        const std::lock_guard lock(external_roles_mutex_);
        const auto before = external_roles_.find(attempt.user);
        is_other_role = before != external_roles_.end() && role != before->second;
        if (is_other_role) {
            external_roles_.erase(before);
        }
        if (role && *matches) {
            external_roles_[attempt.user] = *role;
        }
    }
    if (is_other_role) {
        known_credentials_.forget(attempt.user);
        sessions_.end_all(attempt.user, "role changed");
    }
    if (!role || !*matches) {
        return refuse(attempt, role.has_value(), role ? "wrong password" : "no such account");
    }
    failures_.clear(attempt.user);
    known_credentials_.remember(attempt.user, attempt.credentials);
    return states::known;
}

password_access_control::login_problem password_access_control::check_again(const std::string& user,
                                                                            secret_text password,
                                                                            const std::string& peer,
                                                                            const char* by) {
    const digest credentials = known_credentials_.digest_of(user, password.view());
    switch (check({user, std::move(password), peer, by, credentials})) {
        case states::known:
            return login_problem::none;
        case states::refused:
            return login_problem::refused;
        case states::unavailable:
            break;
    }
    return login_problem::unavailable;
}

void password_access_control::log_in(
    const std::string& user, secret_text password, const std::string& peer,
    const std::string& context,
    const std::function<void(login_problem, login_session, secret_text token)>& done) {
    const digest credentials = known_credentials_.digest_of(user, password.view());
    const auto attempt = std::make_shared<const login_attempt>(
        login_attempt{user, std::move(password), peer, "session", credentials});
    const bool is_added = post([this, attempt, context, done](worker_thread::modes mode) {
        const states state =
            mode == worker_thread::modes::run ? check(*attempt) : states::unavailable;
        if (state != states::known) {
            done(state == states::refused ? login_problem::refused : login_problem::unavailable, {},
                 {});
            return;
        }
        const identity who = identity_of(attempt->user);
        auto opened = sessions_.open({{}, who.user, who.role, attempt->peer, context, {}});
        switch (opened.problem) {
            case session_store::open_problem::none:
                log_.login(attempt->user, attempt->peer, attempt->by);
                done(login_problem::none, std::move(opened.made), std::move(opened.token));
                break;
            case session_store::open_problem::too_many:
                log_.login_failed(attempt->user, attempt->peer, attempt->by, "too many sessions");
                done(login_problem::too_many_sessions, {}, {});
                break;
            case session_store::open_problem::no_random_numbers:
                log_.problem("no session can be opened: the system has no random numbers");
                done(login_problem::unavailable, {}, {});
                break;
        }
    });
    if (!is_added) {
        done(login_problem::unavailable, {}, {});
    }
}

}  // namespace dp_redfish
