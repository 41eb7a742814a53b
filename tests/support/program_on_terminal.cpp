#include "tests/support/program_on_terminal.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "tests/support/eventually.hpp"
#include "tests/support/process.hpp"
#include "tests/support/program.hpp"

namespace test {
namespace {

/// In the child: executes the program on `terminal`, its controlling terminal; does not return.
[[noreturn]] void execute(const std::string& path, const argument_list& arguments, int terminal) {
    // The process that runs the tests may ignore these.
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        ::signal(signal, SIG_DFL);
    }
    if (setsid() != -1 && ioctl(terminal, TIOCSCTTY, 0) == 0) {
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            dup2(terminal, stream);
        }
        execv(path.c_str(), arguments.data());
    }
    _exit(127);
}

bool same_settings(const termios& a, const termios& b) {
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
           a.c_lflag == b.c_lflag && std::equal(std::begin(a.c_cc), std::end(a.c_cc), b.c_cc);
}

}  // namespace

program_on_terminal::program_on_terminal(const std::string& name,
                                         const std::vector<std::string>& arguments,
                                         unsigned short columns, unsigned short rows)
    : user_end_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK)) {
    if (user_end_ < 0 || grantpt(user_end_) != 0 || unlockpt(user_end_) != 0) {
        throw std::runtime_error("cannot make a terminal");
    }
    program_end_ = open(ptsname(user_end_), O_RDWR | O_NOCTTY | O_CLOEXEC);
    const winsize size{rows, columns, 0, 0};
    if (tcgetattr(program_end_, &initial_) != 0 || ioctl(program_end_, TIOCSWINSZ, &size) != 0) {
        throw std::runtime_error("cannot open a terminal");
    }
    const std::string path = program_path(name);
    const argument_list list(name, arguments);
    pid_ = fork();
    if (pid_ == 0) {
        execute(path, list, program_end_);
    }
}

program_on_terminal::~program_on_terminal() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(program_end_);
    close(user_end_);
}

void program_on_terminal::type(const std::string& keys) const {
    if (write(user_end_, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("cannot write to the terminal");
    }
}

void program_on_terminal::send(int signal) const {
    kill(pid_, signal);
}

void program_on_terminal::hang_up() {
    close(user_end_);
    user_end_ = -1;
}

const std::string& program_on_terminal::output() {
    read_output();
    return output_;
}

bool program_on_terminal::has_initial_settings() const {
    termios now{};
    return tcgetattr(program_end_, &now) == 0 && same_settings(now, initial_);
}

int program_on_terminal::wait() {
    if (!eventually([this] { return has_ended(); })) {
        return -1;
    }
    read_output();
    return exit_code_of(status_);
}

bool program_on_terminal::has_ended() {
    // A program whose output nobody reads would block.
    read_output();
    if (pid_ > 0 && waitpid(pid_, &status_, WNOHANG) == pid_) {
        pid_ = -1;
    }
    return pid_ < 0;
}

void program_on_terminal::read_output() {
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    while ((count = read(user_end_, buffer.data(), buffer.size())) > 0) {
        output_.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

}  // namespace test
