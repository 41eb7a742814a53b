#include "tests/support/daemon_process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <utility>

#include "tests/support/eventually.hpp"
#include "tests/support/process.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"

namespace test {
namespace {

std::string log_file(const std::string& name) {
    return root() + "/" + name + ".log";
}

}  // namespace

daemon_process::daemon_process(std::string program, std::string name,
                               std::vector<std::string> fixed_options)
    : program_(std::move(program)),
      name_(std::move(name)),
      fixed_options_(std::move(fixed_options)) {}

daemon_process::~daemon_process() {
    if (is_running()) {
        stop(SIGKILL);
    }
}

bool daemon_process::start() {
    launch();
    return wait_until_ready();
}

void daemon_process::launch() {
    launch(true);
}

void daemon_process::launch_without_streams() {
    launch(false);
}

void daemon_process::launch(bool with_streams) {
    if (is_running()) {
        throw std::logic_error(program_ + " is already running");
    }
    std::vector<std::string> words = fixed_options_;
    words.insert(words.end(), options.begin(), options.end());
    const pipe_ends ready = make_pipe();
    const std::string program = program_path(program_);
    const std::string log_name = log_file(name_);
    const argument_list arguments(program_, words);
    pid_ = fork();
    if (pid_ == 0) {
        const int log = open(log_name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        dup2(ready.write_end, STDOUT_FILENO);
        dup2(log, STDERR_FILENO);
        for (int stream = STDIN_FILENO; !with_streams && stream <= STDERR_FILENO; ++stream) {
            close(stream);
        }
        execv(program.c_str(), arguments.data());
        _exit(127);
    }
    close(ready.write_end);
    out_ = ready.read_end;
}

bool daemon_process::wait_until_ready() {
    const std::string begin = program_ + ": ready";
    for (auto line = next_line(); line; line = next_line()) {
        if (line->rfind(begin, 0) == 0) {
            ready_text_ = line->size() > begin.size() ? line->substr(begin.size() + 1) : "";
            return true;
        }
    }
    return false;
}

// The next line of its standard output, without its newline; none when it ends before, or after
// `patience`.
std::optional<std::string> daemon_process::next_line() const {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::string line;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd entry{out_, POLLIN, 0};
        char c = 0;
        if (left.count() <= 0 || poll(&entry, 1, static_cast<int>(left.count())) <= 0 ||
            read(out_, &c, 1) != 1) {
            return std::nullopt;
        }
        if (c == '\n') {
            return line;
        }
        line += c;
    }
}

void daemon_process::send(int signal) const {
    kill(pid_, signal);
}

int daemon_process::wait() {
    int status = 0;
    const bool ended = eventually([&] { return waitpid(pid_, &status, WNOHANG) == pid_; });
    if (!ended) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &status, 0);
    }
    pid_ = 0;
    close(out_);
    out_ = -1;
    return ended ? exit_code_of(status) : -1;
}

int daemon_process::stop(int signal) {
    send(signal);
    return wait();
}

std::string daemon_process::log_of(const std::string& name) {
    return read_file(log_file(name));
}

}  // namespace test
