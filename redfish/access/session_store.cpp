#include "redfish/access/session_store.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace dp_redfish {

std::uint64_t session_store::index_of(const digest& token) {
    std::uint64_t index = 0;
    std::memcpy(&index, token.data(), sizeof index);
    return index;
}

// Why a session has ended, for the log; null: it has not.
const char* session_store::why_over(const entry& of) const {
    const auto now = environment_.steady_now();
    if (now - of.last_use >= policy_.session_timeout) {
        return "not used for too long";
    }
    return policy_.has_absolute_timeout && now - of.opened >= policy_.absolute_timeout
               ? "open for too long"
               : nullptr;
}

session_store::entries::iterator session_store::erase(entries::iterator at,
                                                      std::string_view reason) {
    log_.session_ended(at->first, at->second.shown.user, reason);
    ids_.erase(index_of(at->second.token));
    return sessions_.erase(at);
}

void session_store::end_those_that_timed_out() {
    for (auto it = sessions_.begin(); it != sessions_.end();) {
        const char* const reason = why_over(it->second);
        it = reason != nullptr ? erase(it, reason) : std::next(it);
    }
}

session_store::opened session_store::open(login_session wanted) {
    constexpr std::size_t token_bytes = 32;
    constexpr std::size_t id_bytes = 8;
    opened result;
    auto id = random_digits(environment_, id_bytes);
    auto token = random_digits(environment_, token_bytes);
    if (!id || !token) {
        result.problem = open_problem::no_random_numbers;
        return result;
    }
    result.token = secret_text(std::string_view(*token));
    wipe(*token);

    const std::lock_guard lock(mutex_);
    end_those_that_timed_out();
    const auto of_user = std::count_if(sessions_.begin(), sessions_.end(), [&](const auto& other) {
        return other.second.shown.user == wanted.user;
    });
    if (sessions_.size() >= most_.all || static_cast<std::size_t>(of_user) >= most_.of_one_user) {
        result.problem = open_problem::too_many;
        return result;
    }
    wanted.id = *id;
    wanted.created = environment_.wall_now();
    const auto now = environment_.steady_now();
    entry added{wanted, sha256(result.token.view()), now, now, ++logins_};
    const std::uint64_t index = index_of(added.token);
    // Random numbers that repeat are none.
    if (sessions_.contains(wanted.id) || !ids_.emplace(index, wanted.id).second) {
        result.problem = open_problem::no_random_numbers;
        return result;
    }
    sessions_.emplace(wanted.id, std::move(added));
    result.made = std::move(wanted);
    return result;
}

std::optional<login_session> session_store::use(std::string_view token) {
    const digest of_token = sha256(token);
    const std::lock_guard lock(mutex_);
    const auto id = ids_.find(index_of(of_token));
    if (id == ids_.end()) {
        return std::nullopt;
    }
    const auto found = sessions_.find(id->second);
    if (found == sessions_.end() || !equal_in_constant_time(found->second.token, of_token)) {
        return std::nullopt;
    }
    if (const char* const reason = why_over(found->second); reason != nullptr) {
        erase(found, reason);
        return std::nullopt;
    }
    found->second.last_use = environment_.steady_now();
    return found->second.shown;
}

std::optional<login_session> session_store::find(std::string_view id) {
    const std::lock_guard lock(mutex_);
    const auto found = sessions_.find(id);
    if (found == sessions_.end()) {
        return std::nullopt;
    }
    if (const char* const reason = why_over(found->second); reason != nullptr) {
        erase(found, reason);
        return std::nullopt;
    }
    return found->second.shown;
}

std::vector<login_session> session_store::list() {
    const std::lock_guard lock(mutex_);
    end_those_that_timed_out();
    std::vector<const entry*> ordered;
    ordered.reserve(sessions_.size());
    for (const auto& [id, one] : sessions_) {
        ordered.push_back(&one);
    }
    std::sort(ordered.begin(), ordered.end(),
              [](const entry* a, const entry* b) { return a->number < b->number; });
    std::vector<login_session> result;
    result.reserve(ordered.size());
    for (const entry* const one : ordered) {
        result.push_back(one->shown);
    }
    return result;
}

bool session_store::end(std::string_view id, std::string_view reason) {
    const std::lock_guard lock(mutex_);
    const auto found = sessions_.find(id);
    if (found == sessions_.end()) {
        return false;
    }
    const char* const earlier = why_over(found->second);
    erase(found, earlier != nullptr ? earlier : reason);
    return earlier == nullptr;
}

void session_store::end_all(std::string_view user, std::string_view reason, std::string_view kept) {
    const std::lock_guard lock(mutex_);
    for (auto it = sessions_.begin(); it != sessions_.end();) {
        const bool ends = it->second.shown.user == user && it->first != kept;
        it = ends ? erase(it, reason) : std::next(it);
    }
}

void session_store::set_timeouts(const access_policy& policy) {
    const std::lock_guard lock(mutex_);
    policy_ = policy;
}

}  // namespace dp_redfish
