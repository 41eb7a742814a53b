#include "tests/support/process.hpp"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <stdexcept>

namespace test {
namespace {

constexpr std::chrono::seconds longest_run{180};

/// Reads both pipes until they are closed; kills a child that takes too long.
void collect(pid_t child, int out, int err, program_result& result) {
    const auto deadline = std::chrono::steady_clock::now() + longest_run;
    std::array<pollfd, 2> ends{{{out, POLLIN, 0}, {err, POLLIN, 0}}};
    const std::array<std::string*, 2> texts{&result.out, &result.err};
    while (ends[0].fd >= 0 || ends[1].fd >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            kill(child, SIGKILL);
            break;
        }
        if (poll(ends.data(), ends.size(), static_cast<int>(left.count())) < 0) {
            continue;
        }
        for (std::size_t i = 0; i < ends.size(); ++i) {
            if (ends[i].fd < 0 || ends[i].revents == 0) {
                continue;
            }
            std::array<char, 4096> buffer{};
            const ssize_t count = read(ends[i].fd, buffer.data(), buffer.size());
            if (count > 0) {
                texts[i]->append(buffer.data(), static_cast<std::size_t>(count));
            } else if (count == 0 || errno != EINTR) {
                close(ends[i].fd);
                ends[i].fd = -1;
            }
        }
    }
    for (const auto& end : ends) {
        if (end.fd >= 0) {
            close(end.fd);
        }
    }
}

}  // namespace

argument_list::argument_list(const std::string& program, const std::vector<std::string>& arguments)
    : texts_{program} {
    texts_.insert(texts_.end(), arguments.begin(), arguments.end());
    pointers_.reserve(texts_.size() + 1);
    for (auto& text : texts_) {
        pointers_.push_back(text.data());
    }
    pointers_.push_back(nullptr);
}

pipe_ends make_pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("cannot make a pipe");
    }
    return {ends[0], ends[1]};
}

int exit_code_of(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int wait_for_exit(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    return exit_code_of(status);
}

program_result run_process(const std::string& path, const argument_list& arguments,
                           const std::function<bool()>& prepare) {
    const pipe_ends out = make_pipe();
    const pipe_ends err = make_pipe();
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        dup2(out.write_end, STDOUT_FILENO);
        dup2(err.write_end, STDERR_FILENO);
        if (prepare()) {
            execv(path.c_str(), arguments.data());
        }
        _exit(127);
    }
    close(out.write_end);
    close(err.write_end);
    program_result result;
    collect(child, out.read_end, err.read_end, result);
    result.exit_code = wait_for_exit(child);
    return result;
}

bool drop_privileges() {
    constexpr unsigned nobody = 65534;
    return geteuid() != 0 || become(nobody, nobody);
}

bool become(unsigned user, unsigned group) {
    return setgroups(0, nullptr) == 0 && setgid(group) == 0 && setuid(user) == 0;
}

}  // namespace test
