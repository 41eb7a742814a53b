#include <security/pam_appl.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "common/io_loops.hpp"
#include "support/standard_descriptors.hpp"

// dp_redfish_auth: asks PAM whether a password is right, for dp_redfishd, which must not run as
// root. Reads "USER\0PASSWORD\0" from standard input up to its end, and writes one character to
// standard output: '1' yes, '0' no, '?' it cannot be decided now. It does nothing else, and it ends
// after one question.

namespace {

constexpr const char* default_service = "dp-redfish";
constexpr std::size_t longest_question = 4096;
constexpr unsigned longest_time = 60;  // seconds; modules may ask other machines

enum class verdicts : char { yes = '1', no = '0', undecided = '?' };

struct question {
    std::array<char, longest_question + 1> bytes{};
    const char* user = nullptr;
    const char* password = nullptr;
};

// Reads the question; false if it is not one.
bool read_question(question& asked) {
    std::size_t size = 0;
    for (;;) {
        const ssize_t count =
            dp::read_some(STDIN_FILENO, asked.bytes.data() + size, asked.bytes.size() - size);
        if (count < 0) {
            return false;
        }
        if (count == 0) {
            break;
        }
        size += static_cast<std::size_t>(count);
        if (size == asked.bytes.size()) {
            return false;
        }
    }
    const std::string_view text(asked.bytes.data(), size);
    const std::size_t end_of_user = text.find('\0');
    const std::size_t end_of_password =
        end_of_user == std::string_view::npos ? end_of_user : text.find('\0', end_of_user + 1);
    if (end_of_user == 0 || end_of_password == std::string_view::npos ||
        end_of_password + 1 != size) {
        return false;
    }
    asked.user = asked.bytes.data();
    asked.password = asked.bytes.data() + end_of_user + 1;
    return true;
}

char* copy_for_pam(const char* text) {
    return strdup(text);
}

// Answers the questions of PAM's modules, which free the answers.
int converse(int count, const pam_message** messages, pam_response** responses, void* data) {
    const auto* const asked = static_cast<const question*>(data);
    if (count <= 0 || count > PAM_MAX_NUM_MSG) {
        return PAM_CONV_ERR;
    }
    const auto size = static_cast<std::size_t>(count);
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): freed by PAM
    auto* const answers = static_cast<pam_response*>(std::calloc(size, sizeof(pam_response)));
    if (answers == nullptr) {
        return PAM_BUF_ERR;
    }
    for (std::size_t i = 0; i < size; ++i) {
        const int style = messages[i]->msg_style;
        if (style == PAM_PROMPT_ECHO_OFF) {
            answers[i].resp = copy_for_pam(asked->password);
        } else if (style == PAM_PROMPT_ECHO_ON) {
            answers[i].resp = copy_for_pam(asked->user);
        }
    }
    *responses = answers;
    return PAM_SUCCESS;
}

// The service counts failed logins itself: waiting would only keep others from logging in.
void do_not_wait(int /*result*/, unsigned /*microseconds*/, void* /*data*/) {}

verdicts verdict_of(int code) {
    switch (code) {
        case PAM_SUCCESS:
            return verdicts::yes;
        case PAM_ABORT:
        case PAM_AUTHINFO_UNAVAIL:
        case PAM_BUF_ERR:
        case PAM_CONV_ERR:
        case PAM_CRED_INSUFFICIENT:
        case PAM_OPEN_ERR:
        case PAM_SERVICE_ERR:
        case PAM_SYMBOL_ERR:
        case PAM_SYSTEM_ERR:
            return verdicts::undecided;
        default:
            return verdicts::no;
    }
}

bool is_still_the_user(pam_handle_t* handle, const char* user) {
    const void* now = nullptr;
    return pam_get_item(handle, PAM_USER, &now) == PAM_SUCCESS && now != nullptr &&
           std::strcmp(static_cast<const char*>(now), user) == 0;
}

verdicts ask_pam(const char* service, question& asked) {
    const pam_conv conversation{converse, &asked};
    pam_handle_t* handle = nullptr;
    int code = pam_start(service, asked.user, &conversation, &handle);
    if (code != PAM_SUCCESS) {
        return verdicts::undecided;
    }
    // PAM takes the function as a pointer to data.
    void (*const no_delay)(int, unsigned, void*) = do_not_wait;
    pam_set_item(handle, PAM_FAIL_DELAY, reinterpret_cast<const void*>(no_delay));
    code = pam_authenticate(handle, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
    if (code == PAM_SUCCESS) {
        code = pam_acct_mgmt(handle, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
    }
    verdicts made = verdict_of(code);
    // Modules may map one user to another, who may have other rights.
    if (made == verdicts::yes && !is_still_the_user(handle, asked.user)) {
        made = verdicts::no;
    }
    pam_end(handle, code);
    return made;
}

}  // namespace

int main(int argc, char** argv) {
    const bool has_more_rights = getuid() != geteuid() || getgid() != getegid();
    if (has_more_rights) {
        clearenv();
    }
    // Whoever starts a program with more rights than his own may not choose the rules.
    const bool is_usage_right = argc == 1 || (argc == 2 && !has_more_rights);
    if (!dp_support::occupy_standard_descriptors() || !is_usage_right) {
        return 2;
    }
    alarm(longest_time);
    static question asked;
    verdicts made = verdicts::no;
    if (read_question(asked)) {
        made = ask_pam(argc == 2 ? argv[1] : default_service, asked);
    }
    explicit_bzero(asked.bytes.data(), asked.bytes.size());
    const char answer = static_cast<char>(made);
    return write(STDOUT_FILENO, &answer, 1) == 1 ? 0 : 1;
}
