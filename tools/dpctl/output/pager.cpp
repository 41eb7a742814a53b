#include "tools/dpctl/output/pager.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>

#include "support/file_descriptor.hpp"

namespace dpctl {
namespace {

// Ignores signals during its lifetime.
class ignored_signals {
  public:
    ignored_signals() {
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            sigaction(numbers[i], &ignore, &before_[i]);
        }
    }
    ~ignored_signals() {
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            sigaction(numbers[i], &before_[i], nullptr);
        }
    }
    ignored_signals(const ignored_signals&) = delete;
    ignored_signals& operator=(const ignored_signals&) = delete;

    // Those that the pager gets with their default actions.
    static constexpr std::array<int, 3> numbers{SIGINT, SIGQUIT, SIGPIPE};

  private:
    std::array<struct sigaction, numbers.size()> before_{};
};

// Starts `command` with `input` as its standard input; -1 on failure.
pid_t start_shell(const std::string& command, int input) {
    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
    if (posix_spawn_file_actions_init(&actions) != 0) {
        return -1;
    }
    pid_t child = -1;
    if (posix_spawnattr_init(&attributes) == 0) {
        sigset_t defaults{};
        sigemptyset(&defaults);
        for (const int number : ignored_signals::numbers) {
            sigaddset(&defaults, number);
        }
        std::string shell = "sh";
        std::string option = "-c";
        std::string text = command;
        const std::array<char*, 4> arguments{shell.data(), option.data(), text.data(), nullptr};
        if (posix_spawnattr_setsigdefault(&attributes, &defaults) != 0 ||
            posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF) != 0 ||
            posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO) != 0 ||
            posix_spawn(&child, "/bin/sh", &actions, &attributes, arguments.data(), environ) != 0) {
            child = -1;
        }
        posix_spawnattr_destroy(&attributes);
    }
    posix_spawn_file_actions_destroy(&actions);
    return child;
}

void write_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(descriptor, text.data(), text.size());
        if (count > 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return;
        }
    }
}

}  // namespace

std::string pager_command() {
    // Nobody asked for a program that is not there.
    constexpr const char* less_if_found = "command -v less >/dev/null || exit 127; exec less";
    const char* const chosen = std::getenv("PAGER");
    const std::string command = chosen == nullptr ? less_if_found : chosen;
    return command == "cat" ? std::string() : command;
}

bool show_in_pager(const std::string& command, std::string_view text) {
    // The shell's own codes for a command that cannot be run, and that is not found.
    constexpr int not_run = 126;
    constexpr int not_found = 127;
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return false;
    }
    dp_support::file_descriptor input(ends[0]);
    dp_support::file_descriptor output(ends[1]);
    setenv("LESS", "FRX", 0);
    setenv("LV", "-c", 0);
    const ignored_signals ignored;
    const pid_t child = start_shell(command, input.get());
    if (child == -1) {
        return false;
    }
    input.close();
    write_all(output.get(), text);
    output.close();
    int status = 0;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    return code != not_run && code != not_found;
}

}  // namespace dpctl
