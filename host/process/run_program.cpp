#include "host/process/run_program.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>

#include "host/process/stop_signal.hpp"
#include "host/process/text_of.hpp"
#include "platform/sysipc/thread.hpp"

namespace dp_host {
namespace {

constexpr std::uint32_t timeout_ms = 30'000;
constexpr std::uint32_t exit_poll_ms = 5;

// Signal handling and standard descriptors of a program that a shell would start.
class spawn_setup {
  public:
    spawn_setup() {
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
        posix_spawnattr_init(&attributes);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        for (const int ignored : {SIGPIPE, SIGXFSZ, SIGIO}) {
            sigaddset(&signals, ignored);
        }
        posix_spawnattr_setsigdefault(&attributes, &signals);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~spawn_setup() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }
    spawn_setup(const spawn_setup&) = delete;
    spawn_setup& operator=(const spawn_setup&) = delete;

    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
};

void end(pid_t child) {
    kill(child, SIGKILL);
    while (waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
    }
}

dp_support::result<> outcome(const std::string& path, int status) {
    if (!WIFEXITED(status)) {
        return dp_support::failure{text_of(path, " was ended by signal ", WTERMSIG(status))};
    }
    const int code = WEXITSTATUS(status);
    if (code != 0) {
        return dp_support::failure{text_of(path, " failed with exit code ", code)};
    }
    return {};
}

}  // namespace

dp_support::result<> run_program(const std::string& path,
                                 const std::vector<std::string>& arguments) {
    // On some systems posix_spawn succeeds although the program cannot be executed.
    if (access(path.c_str(), X_OK) != 0) {
        return dp_support::system_failure("run", path, errno);
    }
    std::vector<std::string> texts{path};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(texts.size() + 1);
    for (auto& text : texts) {
        argv.push_back(text.data());
    }
    argv.push_back(nullptr);

    const spawn_setup setup;
    pid_t child = 0;
    const int error =
        posix_spawn(&child, path.c_str(), &setup.actions, &setup.attributes, argv.data(), environ);
    if (error != 0) {
        return dp_support::system_failure("run", path, error);
    }
    int status = 0;
    for (std::uint32_t waited = 0; waited < timeout_ms; waited += exit_poll_ms) {
        const pid_t ended = waitpid(child, &status, WNOHANG);
        if (ended == child) {
            return outcome(path, status);
        }
        if (ended == -1 && errno != EINTR) {
            return dp_support::system_failure("wait for", path, errno);
        }
        if (stop_signal::received()) {
            end(child);
            return dp_support::failure{path + " was killed, because the service stops", EINTR};
        }
        sysipc::thread::sleep(exit_poll_ms);
    }
    end(child);
    return dp_support::failure{path + " took too long and was killed", ETIMEDOUT};
}

}  // namespace dp_host
