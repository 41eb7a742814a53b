#include "tests/support/program.hpp"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "tests/support/scratch_files.hpp"

namespace test {
namespace {

constexpr std::chrono::seconds longest_run{180};
constexpr unsigned nobody = 65534;

struct pipe_ends {
    int read_end = -1;
    int write_end = -1;
};

pipe_ends make_pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("cannot make a pipe");
    }
    return {ends[0], ends[1]};
}

/// In the child: becomes the program; does not return.
void become(const std::string& path, std::vector<char*>& arguments, int out, int err,
            bool unprivileged) {
    const int empty_input = open("/dev/null", O_RDONLY);
    dup2(empty_input, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    const bool in_place = chdir(root().c_str()) == 0;
    const bool dropped = !unprivileged || geteuid() != 0 ||
                         (setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0);
    if (in_place && dropped) {
        execv(path.c_str(), arguments.data());
    }
    _exit(127);
}

/// Reads both pipes until they are closed; kills the child when it takes too long.
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

program_result run(const std::string& name, const std::vector<std::string>& arguments,
                   bool unprivileged) {
    const std::string path = program_path(name);
    std::vector<std::string> texts{name};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (auto& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);

    const pipe_ends out = make_pipe();
    const pipe_ends err = make_pipe();
    const pid_t child = fork();
    if (child == 0) {
        become(path, pointers, out.write_end, err.write_end, unprivileged);
    }
    close(out.write_end);
    close(err.write_end);
    program_result result;
    collect(child, out.read_end, err.read_end, result);
    int status = 0;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    result.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

}  // namespace

std::string program_path(const std::string& name) {
    // Once: other threads may be reading the environment later on.
    static const int done = setenv("LD_LIBRARY_PATH", DP_RELOCATABLE_FOLDER, 1);
    static_cast<void>(done);
    return name.starts_with('/') ? name : std::string(DP_PROGRAM_FOLDER) + "/" + name;
}

program_result run_program(const std::string& name, const std::vector<std::string>& arguments) {
    return run(name, arguments, false);
}

program_result run_program_unprivileged(const std::string& name,
                                        const std::vector<std::string>& arguments) {
    return run(name, arguments, true);
}

}  // namespace test
