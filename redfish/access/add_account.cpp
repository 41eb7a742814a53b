#include "redfish/access/add_account.hpp"

#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "common/io_loops.hpp"
#include "redfish/access/account_store.hpp"
#include "redfish/access/accounts_file.hpp"
#include "redfish/access/audit_log.hpp"
#include "redfish/access/credential_cache.hpp"
#include "redfish/access/lockout.hpp"
#include "redfish/access/password_hash.hpp"
#include "redfish/access/session_store.hpp"
#include "redfish/access/text_rules.hpp"

namespace dp_redfish {
namespace {

// Switches the echo of a terminal off while it exists.
class terminal_without_echo {
  public:
    explicit terminal_without_echo(int terminal) : terminal_(terminal) {
        termios silent{};
        if (tcgetattr(terminal_, &before_) == 0) {
            silent = before_;
            silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            silent.c_lflag |= ECHONL;
            is_changed_ = tcsetattr(terminal_, TCSAFLUSH, &silent) == 0;
        }
    }
    ~terminal_without_echo() {
        if (is_changed_) {
            tcsetattr(terminal_, TCSAFLUSH, &before_);
        }
    }
    terminal_without_echo(const terminal_without_echo&) = delete;
    terminal_without_echo& operator=(const terminal_without_echo&) = delete;

    [[nodiscard]] bool is_changed() const { return is_changed_; }

  private:
    int terminal_;
    termios before_{};
    bool is_changed_ = false;
};

// A line without its newline; byte by byte, since what follows belongs to the next reader.
dp_support::result<secret_text> read_line(int in) {
    constexpr std::size_t most_bytes = 4 * greatest_password_length;
    secret_text line(most_bytes + 1);
    std::size_t length = 0;
    for (;;) {
        char c = 0;
        const ssize_t count = dp::read_some(in, &c, 1);
        if (count < 0) {
            return dp_support::failure{
                std::string("cannot read the password: ") + std::strerror(errno), errno};
        }
        if (count == 0 || c == '\n') {
            break;
        }
        if (length <= most_bytes) {
            line.data()[length++] = c;
        }
    }
    return secret_text(line.view().substr(0, length));
}

void prompt(int out, std::string_view text) {
    // A prompt that is not shown keeps nobody from typing.
    [[maybe_unused]] const ssize_t shown = write(out, text.data(), text.size());
}

}  // namespace

dp_support::result<secret_text> read_new_password(int in, int prompts) {
    std::optional<secret_text> password;
    if (isatty(in) == 1) {
        const terminal_without_echo silent(in);
        if (!silent.is_changed()) {
            return dp_support::failure{"cannot switch the terminal's echo off", EIO};
        }
        prompt(prompts, "New password: ");
        auto first = read_line(in);
        if (!first) {
            return first.error();
        }
        prompt(prompts, "Again: ");
        const auto second = read_line(in);
        if (!second) {
            return second.error();
        }
        if (first->view() != second->view()) {
            return dp_support::failure{"the passwords differ", EINVAL};
        }
        password = std::move(*first);
    } else {
        auto line = read_line(in);
        if (!line) {
            return line.error();
        }
        password = std::move(*line);
    }
    switch (check_new_password(password->view())) {
        case password_problem::length:
            return dp_support::failure{"the password must have " +
                                           std::to_string(least_password_length) + " to " +
                                           std::to_string(greatest_password_length) + " characters",
                                       EINVAL};
        case password_problem::characters:
            return dp_support::failure{"the password must be UTF-8 without control characters",
                                       EINVAL};
        case password_problem::none:
            break;
    }
    return std::move(*password);
}

dp_support::result<> add_account(const std::string& accounts_path, const std::string& name,
                                 roles role, const secret_text& password,
                                 const access_environment& environment, unsigned hash_cost) {
    if (!is_user_name(name)) {
        return dp_support::failure{quoted_for_log(name) +
                                       " cannot be the name of an account: use "
                                       "1 to 32 letters, digits and \"._-@\"",
                                   EINVAL};
    }
    constexpr std::chrono::milliseconds patience(2000);
    {
        const accounts_file file(accounts_path);
        const auto lock = file.lock(patience);
        if (!lock) {
            return lock.error();
        }
        if (file.present_version() == accounts_file::version()) {
            if (auto made = file.write(account_data()).outcome; !made) {
                return made;
            }
        }
    }
    std::string reason;
    audit_log log([&](const std::string& line) { reason = line; });
    session_store sessions(environment, log, {});
    lockout failures(environment);
    credential_cache known(environment, {});
    account_store accounts(accounts_path, environment, hash_cost, {log, sessions, failures, known});
    if (auto loaded = accounts.load(); !loaded) {
        return loaded;
    }
    account_problem problem = accounts.create({}, name, role, true, password);
    if (problem == account_problem::name_taken) {
        problem = accounts.change({}, name, {&password, role, true, true}, {});
    }
    switch (problem) {
        case account_problem::none:
            return {};
        case account_problem::too_many_accounts:
            return dp_support::failure{accounts_path + ": there are " +
                                           std::to_string(account_data::accounts_limit) +
                                           " accounts, which is the limit",
                                       ENOSPC};
        case account_problem::last_administrator:
            return dp_support::failure{"this account is the last enabled administrator", EPERM};
        default:
            return dp_support::failure{reason, EIO};
    }
}

}  // namespace dp_redfish
