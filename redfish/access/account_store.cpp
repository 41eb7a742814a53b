#include "redfish/access/account_store.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "redfish/access/first_account.hpp"
#include "redfish/access/password_hash.hpp"
#include "redfish/access/role_names.hpp"

namespace dp_redfish {
namespace {

constexpr std::chrono::milliseconds accounts_lock_patience(2000);

bool has_administrator(const account_data& data) {
    return std::any_of(data.accounts.begin(), data.accounts.end(), [](const account& one) {
        return one.enabled && one.role == roles::administrator;
    });
}

account* find_account(account_data& data, std::string_view name) {
    const account* const found = data.find(name);
    return found == nullptr ? nullptr : data.accounts.data() + (found - data.accounts.data());
}

// Whether there is an account, and the one that a client wants to change.
account_problem check_account(const account* found, const account_store::precondition& expected) {
    if (found == nullptr) {
        return account_problem::no_such_account;
    }
    return expected && !expected(*found) ? account_problem::precondition_failed
                                         : account_problem::none;
}

}  // namespace

dp_support::result<> account_store::load() {
    auto content = file_.read();
    if (!content) {
        return content.error();
    }
    adopt(content->data, content->read);
    return {};
}

std::optional<account> account_store::find(std::string_view name) const {
    const std::lock_guard lock(mutex_);
    const account* const found = data_.find(name);
    return found == nullptr ? std::nullopt : std::optional(*found);
}

bool account_store::must_change_password(std::string_view name) const {
    const std::lock_guard lock(mutex_);
    const account* const found = data_.find(name);
    return found != nullptr && found->must_change_password;
}

account_data account_store::copy() const {
    const std::lock_guard lock(mutex_);
    return data_;
}

std::vector<account> account_store::list() const {
    const std::lock_guard lock(mutex_);
    return data_.accounts;
}

access_policy account_store::policy() const {
    const std::lock_guard lock(mutex_);
    return data_.policy;
}

bool account_store::is_current() const {
    const accounts_file::version present = file_.present_version();
    const std::lock_guard lock(mutex_);
    // One that cannot be read was reported; reading it again would not help.
    return present == read_ || (!is_readable_ && present == not_readable_);
}

bool account_store::refresh() {
    const accounts_file::version present = file_.present_version();
    {
        const std::lock_guard lock(mutex_);
        if (present == read_) {
            is_readable_ = true;
            return true;
        }
        if (!is_readable_ && present == not_readable_) {
            return false;
        }
    }
    auto content = file_.read();
    if (!content) {
        to_tell_.log.problem("the accounts stay as they were: " + content.reason());
        const std::lock_guard lock(mutex_);
        is_readable_ = false;
        not_readable_ = present;
        return false;
    }
    adopt(content->data, content->read);
    return true;
}

// Takes over what the file has now, and ends what rested on the old state of an account.
void account_store::adopt(const account_data& data, const accounts_file::version& version,
                          const std::string& kept_session) {
    account_data before = data;
    {
        const std::lock_guard lock(mutex_);
        std::swap(data_, before);
        read_ = version;
        is_readable_ = true;
    }
    to_tell_.sessions.set_timeouts(data.policy);
    for (const account& old : before.accounts) {
        const account* const now = data.find(old.name);
        const bool has_other_password = now == nullptr || now->password_hash != old.password_hash;
        const char* const reason = now == nullptr          ? "account deleted"
                                   : !now->enabled         ? "account disabled"
                                   : now->role != old.role ? "role changed"
                                   : has_other_password    ? "password changed"
                                                           : nullptr;
        if (reason != nullptr) {
            const bool is_password_alone = now != nullptr && now->enabled && now->role == old.role;
            if (has_other_password && old.name == first_account_name) {
                remove_first_password(file_.path());
            }
            to_tell_.known_credentials.forget(old.name);
            to_tell_.sessions.end_all(old.name, reason,
                                      is_password_alone ? kept_session : std::string());
        }
    }
}

account_problem account_store::report(const dp_support::failure& why) const {
    to_tell_.log.problem("the accounts were not changed: " + why.reason);
    const bool is_full = why.code == ENOSPC || why.code == EDQUOT || why.code == EFBIG;
    return is_full ? account_problem::no_space : account_problem::failed;
}

account_problem account_store::edit(const std::function<account_problem(account_data&)>& edit,
                                    const std::string& kept_session) {
    const auto lock = file_.lock(accounts_lock_patience);
    if (!lock) {
        return report(lock.error());
    }
    if (!refresh()) {
        // What is there now may be worth more than what would replace it.
        return report({"the accounts file cannot be read", 0});
    }
    account_data data = copy();
    const account_problem problem = edit(data);
    if (problem != account_problem::none) {
        return problem;
    }
    const auto written = file_.write(data);
    if (!written.outcome && !written.is_in_place) {
        return report(written.outcome.error());
    }
    adopt(data, written.now, kept_session);
    return written.outcome ? account_problem::none : report(written.outcome.error());
}

account_problem account_store::create(std::string_view by, const std::string& name, roles role,
                                      bool enabled, const secret_text& password,
                                      bool must_change_password) {
    // Before the lock, which others wait for.
    auto hash = hash_password(password, environment_, hash_cost_);
    if (!hash) {
        return report(hash.error());
    }
    const account_problem problem = edit([&](account_data& data) {
        if (data.find(name) != nullptr) {
            return account_problem::name_taken;
        }
        if (data.accounts.size() >= account_data::accounts_limit) {
            return account_problem::too_many_accounts;
        }
        data.accounts.push_back({name, role, enabled, *hash, must_change_password});
        return account_problem::none;
    });
    if (problem == account_problem::none) {
        // Failed logins before there was this account do not lock it.
        to_tell_.failures.clear(name);
        to_tell_.log.account_changed(
            name, by, "created with the role " + role_name(role) + (enabled ? "" : ", disabled"));
    }
    return problem;
}

account_problem account_store::change(std::string_view by, std::string_view name,
                                      const account_change& change, const precondition& expected) {
    std::string hash;
    if (change.password != nullptr) {
        auto made = hash_password(*change.password, environment_, hash_cost_);
        if (!made) {
            return report(made.error());
        }
        hash = std::move(*made);
    }
    std::string what;
    const auto add = [&](const std::string& part) { what += (what.empty() ? "" : ", ") + part; };
    bool changes_file = false;
    const auto apply = [&](account_data& data) {
        account* const found = find_account(data, name);
        if (const auto wrong = check_account(found, expected); wrong != account_problem::none) {
            return wrong;
        }
        const bool had_administrator = has_administrator(data);
        if (!hash.empty()) {
            found->password_hash = hash;
            found->must_change_password = false;
            add("password");
        }
        const bool must_change = change.must_change_password.value_or(found->must_change_password);
        if (must_change != found->must_change_password) {
            found->must_change_password = must_change;
            add(must_change ? "must change the password" : "need not change the password");
        }
        if (change.role && *change.role != found->role) {
            found->role = *change.role;
            add("role " + role_name(found->role));
        }
        if (change.enabled && *change.enabled != found->enabled) {
            found->enabled = *change.enabled;
            add(found->enabled ? "enabled" : "disabled");
        }
        if (had_administrator && !has_administrator(data)) {
            return account_problem::last_administrator;
        }
        changes_file = !what.empty();
        return account_problem::none;
    };
    account_problem problem = account_problem::none;
    {
        // A change to what is there already writes no file.
        refresh();
        account_data trial = copy();
        problem = apply(trial);
    }
    if (problem == account_problem::none && changes_file) {
        what.clear();
        problem = edit(apply, change.kept_session);
    }
    if (problem != account_problem::none) {
        return problem;
    }
    if (change.unlock || !hash.empty()) {
        to_tell_.failures.clear(name);
    }
    if (change.unlock) {
        add("unlocked");
    }
    if (!what.empty()) {
        to_tell_.log.account_changed(name, by, what);
    }
    return problem;
}

account_problem account_store::remove(std::string_view by, std::string_view name,
                                      const precondition& expected) {
    const account_problem problem = edit([&](account_data& data) {
        account* const found = find_account(data, name);
        if (const auto wrong = check_account(found, expected); wrong != account_problem::none) {
            return wrong;
        }
        const bool had_administrator = has_administrator(data);
        data.accounts.erase(data.accounts.begin() + (found - data.accounts.data()));
        return had_administrator && !has_administrator(data) ? account_problem::last_administrator
                                                             : account_problem::none;
    });
    if (problem == account_problem::none) {
        to_tell_.failures.clear(name);
        to_tell_.log.account_changed(name, by, "deleted");
    }
    return problem;
}

account_problem account_store::change_policy(
    std::string_view by, const std::function<bool(access_policy&)>& edit_policy) {
    bool changed = false;
    const account_problem problem = edit([&](account_data& data) {
        access_policy wanted = data.policy;
        if (!edit_policy(wanted)) {
            return account_problem::precondition_failed;
        }
        changed = wanted != data.policy;
        data.policy = wanted;
        return account_problem::none;
    });
    if (problem == account_problem::none && changed) {
        to_tell_.log.policy_changed(by);
    }
    return problem;
}

}  // namespace dp_redfish
