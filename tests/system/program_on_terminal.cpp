#include "tests/system/program_on_terminal.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "tests/system/scratch_server.hpp"
#include "tests/support/program.hpp"

namespace test {
namespace {

/// In the child: becomes the program, with the terminal as its own; does not return.
void become(const std::string& path, std::vector<char*>& arguments, int line) {
    // Whoever runs the tests may have these ignored.
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        ::signal(signal, SIG_DFL);
    }
    if (setsid() != -1 && ioctl(line, TIOCSCTTY, 0) == 0) {
        for (const int end : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            dup2(line, end);
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
                                         const std::vector<std::string>& arguments)
    : terminal_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK)) {
    if (terminal_ < 0 || grantpt(terminal_) != 0 || unlockpt(terminal_) != 0) {
        throw std::runtime_error("there are no terminals");
    }
    line_ = open(ptsname(terminal_), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (tcgetattr(line_, &before_) != 0) {
        throw std::runtime_error("a terminal can't be opened");
    }
    const std::string path = program_path(name);
    std::vector<std::string> texts{name};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (auto& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
        become(path, pointers, line_);
    }
}

program_on_terminal::~program_on_terminal() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(line_);
    close(terminal_);
}

void program_on_terminal::type(const std::string& keys) const {
    if (write(terminal_, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("the terminal takes no keys");
    }
}

void program_on_terminal::send(int signal) const {
    kill(pid_, signal);
}

void program_on_terminal::hang_up() {
    close(terminal_);
    terminal_ = -1;
}

const std::string& program_on_terminal::output() {
    take_output();
    return output_;
}

bool program_on_terminal::is_as_before() const {
    termios now{};
    return tcgetattr(line_, &now) == 0 && same_settings(now, before_);
}

int program_on_terminal::wait() {
    if (!eventually([this] { return has_ended(); })) {
        return -1;
    }
    take_output();
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : 128 + WTERMSIG(status_);
}

bool program_on_terminal::has_ended() {
    // A program whose output nobody takes would wait for ever.
    take_output();
    if (pid_ > 0 && waitpid(pid_, &status_, WNOHANG) == pid_) {
        pid_ = -1;
    }
    return pid_ < 0;
}

void program_on_terminal::take_output() {
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    while ((count = read(terminal_, buffer.data(), buffer.size())) > 0) {
        output_.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

}  // namespace test
