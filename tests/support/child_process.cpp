#include "tests/support/child_process.hpp"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <utility>

namespace test {
namespace {

std::pair<int, int> make_pipe() {
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) {
        throw std::runtime_error("cannot make a pipe");
    }
    return {ends[0], ends[1]};
}

void send_byte(int fd, char what) {
    while (write(fd, &what, 1) == -1 && errno == EINTR) {
    }
}

char receive_byte(int fd) {
    char what = 0;
    ssize_t count = -1;
    do {
        count = read(fd, &what, 1);
    } while (count == -1 && errno == EINTR);
    return count == 1 ? what : '\0';
}

}  // namespace

void child_process::parent_line::tell(char what) const {
    send_byte(out_, what);
}

char child_process::parent_line::hear() const {
    return receive_byte(in_);
}

child_process::child_process(const std::function<int(const parent_line&)>& body) {
    const auto [to_child_in, to_child_out] = make_pipe();
    const auto [to_parent_in, to_parent_out] = make_pipe();
    pid_ = fork();
    if (pid_ == -1) {
        throw std::runtime_error("cannot fork");
    }
    if (pid_ == 0) {
        close(to_child_out);
        close(to_parent_in);
        int result = 99;
        try {
            result = body(parent_line(to_child_in, to_parent_out));
        } catch (...) {
        }
        _exit(result);
    }
    close(to_child_in);
    close(to_parent_out);
    in_ = to_parent_in;
    out_ = to_child_out;
}

child_process::~child_process() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        wait();
    }
    close(in_);
    close(out_);
}

void child_process::tell(char what) const {
    send_byte(out_, what);
}

char child_process::hear(int timeout_ms) const {
    pollfd ready{in_, POLLIN, 0};
    int count = -1;
    do {
        count = poll(&ready, 1, timeout_ms);
    } while (count == -1 && errno == EINTR);
    return count == 1 ? receive_byte(in_) : '\0';
}

int child_process::wait() {
    int status = 0;
    while (waitpid(pid_, &status, 0) == -1 && errno == EINTR) {
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool become_an_ordinary_user() {
    constexpr uid_t nobody = 65534;
    return geteuid() != 0 || setuid(nobody) == 0;
}

}  // namespace test
