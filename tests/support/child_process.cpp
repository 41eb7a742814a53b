#include "tests/support/child_process.hpp"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>

#include "tests/support/process.hpp"

namespace test {
namespace {

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

void child_process::parent_channel::send(char what) const {
    send_byte(out_, what);
}

char child_process::parent_channel::receive() const {
    return receive_byte(in_);
}

child_process::child_process(const std::function<int(const parent_channel&)>& body) {
    const pipe_ends to_child = make_pipe();
    const pipe_ends to_parent = make_pipe();
    pid_ = fork();
    if (pid_ == -1) {
        throw std::runtime_error("cannot fork");
    }
    if (pid_ == 0) {
        close(to_child.write_end);
        close(to_parent.read_end);
        int result = 99;
        try {
            result = body(parent_channel(to_child.read_end, to_parent.write_end));
        } catch (...) {
        }
        _exit(result);
    }
    close(to_child.read_end);
    close(to_parent.write_end);
    in_ = to_parent.read_end;
    out_ = to_child.write_end;
}

child_process::~child_process() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        wait();
    }
    close(in_);
    close(out_);
}

void child_process::send(char what) const {
    send_byte(out_, what);
}

char child_process::receive(int timeout_ms) const {
    pollfd ready{in_, POLLIN, 0};
    int count = -1;
    do {
        count = poll(&ready, 1, timeout_ms);
    } while (count == -1 && errno == EINTR);
    return count == 1 ? receive_byte(in_) : '\0';
}

int child_process::wait() {
    const int exit_code = wait_for_exit(pid_);
    pid_ = -1;
    return exit_code;
}

}  // namespace test
