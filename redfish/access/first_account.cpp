#include "redfish/access/first_account.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <utility>

#include "redfish/access/account.hpp"
#include "redfish/access/accounts_file.hpp"
#include "redfish/access/password_hash.hpp"
#include "support/folder_of.hpp"
#include "support/read_file.hpp"
#include "support/staged_file.hpp"

namespace dp_redfish {
namespace {

constexpr std::size_t greatest_first_password = 1024;

dp_support::result<> write_first_password(const std::string& accounts_path,
                                          const secret_text& password) {
    constexpr mode_t owner_only = S_IRUSR | S_IWUSR;
    dp_support::staged_file file(first_password_path(accounts_path),
                                 dp_support::staged_file::durable, owner_only);
    file.out() << password.view() << '\n';
    return file.complete()
        .and_then([&] { return give_to_folder_owner(file.staged_path()); })
        .and_then([&] { return file.replace(); });
}

// Removes the file with the first password if that is no longer the password: whoever changed it
// may have been killed before he removed the file.
void remove_outdated_first_password(const accounts_file& file) {
    const std::string path = first_password_path(file.path());
    auto text = dp_support::read_file(path, greatest_first_password);
    if (!text) {
        return;
    }
    const secret_text password(std::string_view(*text).substr(0, text->find('\n')));
    dp_support::wipe(*text);
    const auto content = file.read();
    if (!content) {
        return;
    }
    const account* const first = content->data.find(first_account_name);
    const auto matches =
        first != nullptr ? matches_hash(password, first->password_hash) : dp_support::result(false);
    if (matches && !*matches) {
        remove_first_password(file.path());
    }
}

}  // namespace

std::string first_password_path(const std::string& accounts_path) {
    return accounts_path + ".first-password";
}

void remove_first_password(const std::string& accounts_path) {
    unlink(first_password_path(accounts_path).c_str());
}

dp_support::result<secret_text> random_password(const access_environment& environment) {
    // 32 characters without those that look alike.
    constexpr std::string_view characters = "abcdefghijkmnpqrstuvwxyz23456789";
    constexpr std::size_t length = 25;
    constexpr std::size_t group = 5;
    std::array<unsigned char, length> random{};
    if (!environment.fill_random(random)) {
        return dp_support::failure{"the system has no random numbers", EIO};
    }
    secret_text password(length + length / group - 1);
    char* next = password.data();
    for (std::size_t i = 0; i < length; ++i) {
        if (i != 0 && i % group == 0) {
            *next++ = '-';
        }
        *next++ = characters[random[i] % characters.size()];
    }
    explicit_bzero(random.data(), random.size());
    return password;
}

dp_support::result<bool> make_first_account(const std::string& accounts_path,
                                            const access_environment& environment,
                                            unsigned hash_cost) {
    constexpr std::chrono::milliseconds patience(2000);
    const std::string folder = dp_support::folder_of(accounts_path);
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        return dp_support::system_failure("create", folder, errno);
    }
    const accounts_file file(accounts_path);
    const auto lock = file.lock(patience);
    if (!lock) {
        return lock.error();
    }
    if (file.present_version() != accounts_file::version()) {
        remove_outdated_first_password(file);
        return false;
    }
    const auto password = random_password(environment);
    if (!password) {
        return password.error();
    }
    auto hash = hash_password(*password, environment, hash_cost);
    if (!hash) {
        return hash.error();
    }
    account_data data;
    data.accounts.push_back(
        {std::string(first_account_name), roles::administrator, true, std::move(*hash)});
    // First, so that an account whose password nobody knows cannot exist.
    const auto done = write_first_password(accounts_path, *password).and_then([&] {
        return file.write(data).outcome;
    });
    if (!done) {
        return done.error();
    }
    return true;
}

}  // namespace dp_redfish
