#include "tests/support/redfish_process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>

#include "support/ascii_case.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/process.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"

namespace test {
namespace {

std::string redfish_log_file() {
    return root() + "/redfish.log";
}

// The process's first line, without its newline; empty when it ends without one.
std::string first_line(int descriptor) {
    std::string line;
    for (;;) {
        pollfd entry{descriptor, POLLIN, 0};
        char c = 0;
        constexpr auto wait = std::chrono::milliseconds(patience).count();
        if (poll(&entry, 1, static_cast<int>(wait)) <= 0 || read(descriptor, &c, 1) != 1) {
            return "";
        }
        if (c == '\n') {
            return line;
        }
        line += c;
    }
}

}  // namespace

std::string curl_answer::field(const std::string& name) const {
    const std::string lower = dp_support::lower_case(head);
    const std::string begin = "\r\n" + dp_support::lower_case(name) + ": ";
    const std::size_t place = lower.find(begin);
    if (place == std::string::npos) {
        return "";
    }
    const std::size_t value = place + begin.size();
    return head.substr(value, head.find("\r\n", value) - value);
}

redfish_process::~redfish_process() {
    if (pid_ > 0) {
        stop(SIGKILL);
    }
}

bool redfish_process::start() {
    if (pid_ > 0) {
        throw std::logic_error("dp_redfishd is already running");
    }
    std::vector<std::string> words = {"--port", "0", "--state-folder", state(""), "--allow-root"};
    words.insert(words.end(), options.begin(), options.end());
    const pipe_ends ready = make_pipe();
    const std::string program = program_path("dp_redfishd");
    const std::string log_name = redfish_log_file();
    const argument_list arguments("dp_redfishd", words);
    pid_ = fork();
    if (pid_ == 0) {
        const int log = open(log_name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        dup2(ready.write_end, STDOUT_FILENO);
        dup2(log, STDERR_FILENO);
        execv(program.c_str(), arguments.data());
        _exit(127);
    }
    close(ready.write_end);
    out_ = ready.read_end;
    static const std::string begin = "dp_redfishd: ready ";
    const std::string line = first_line(out_);
    if (line.rfind(begin, 0) != 0) {
        return false;
    }
    url_ = line.substr(begin.size());
    return true;
}

void redfish_process::send(int signal) const {
    kill(pid_, signal);
}

int redfish_process::wait() {
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

int redfish_process::stop(int signal) {
    send(signal);
    return wait();
}

std::string redfish_process::log() {
    return read_file(redfish_log_file());
}

std::string redfish_process::state(const std::string& name) {
    return root() + "/redfish" + (name.empty() ? "" : "/" + name);
}

std::string redfish_process::first_password() {
    const std::string text = read_file(state("accounts.json.first-password"));
    return text.substr(0, text.find('\n'));
}

curl_answer redfish_process::curl(const std::string& path,
                                  const std::vector<std::string>& arguments) const {
    const std::string head_file = root() + "/curl.head";
    write_file(head_file, "");
    std::vector<std::string> words = {"--silent",      "--show-error", "--max-time",
                                      "120",           "--cacert",     state("certificate.pem"),
                                      "--dump-header", head_file,      "--write-out",
                                      "\n%{http_code}"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    words.push_back(url_ + path);
    const auto ran = run_process("/usr/bin/curl", argument_list("curl", words), [] {
        // The relocatable library and a proxy are not for curl.
        for (const char* const name : {"LD_LIBRARY_PATH", "http_proxy", "https_proxy"}) {
            unsetenv(name);
        }
        return true;
    });
    curl_answer answer;
    answer.problem = ran.err;
    const std::size_t end = ran.out.rfind('\n');
    if (end != std::string::npos) {
        answer.status = static_cast<unsigned>(std::atoi(ran.out.c_str() + end + 1));
        answer.body = ran.out.substr(0, end);
    }
    // After "100 Continue" there is another.
    std::string heads = read_file(head_file);
    const std::size_t last = heads.rfind("HTTP/1.1 ");
    answer.head = last == std::string::npos ? heads : heads.substr(last);
    return answer;
}

curl_answer redfish_process::ask(const std::string& method, const std::string& path,
                                 const std::string& body,
                                 const std::vector<std::string>& arguments) const {
    std::vector<std::string> words = {"--user", "admin:" + first_password()};
    if (method == "HEAD") {
        words.emplace_back("--head");
    } else {
        words.insert(words.end(), {"--request", method});
    }
    if (!body.empty()) {
        words.insert(words.end(),
                     {"--header", "Content-Type: application/json", "--data-binary", body});
    }
    words.insert(words.end(), arguments.begin(), arguments.end());
    return curl(path, words);
}

}  // namespace test
