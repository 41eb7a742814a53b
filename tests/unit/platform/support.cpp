#include "tests/unit/platform/support.hpp"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace test {

kept_log::kept_log(std::uint32_t mask)
    : mask_(mask), previous_(sysipc::application_log::app_streams) {
    sysipc::application_log::app_streams = this;
}

kept_log::~kept_log() {
    sysipc::application_log::app_streams = previous_;
}

void kept_log::append(const std::string& level, const std::string& text) {
    lines.push_back(level + text);
}

scratch_folder::scratch_folder() {
    std::string name = std::filesystem::temp_directory_path() / "dp-platform-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("can't make a scratch folder");
    }
    folder_ = name;
}

scratch_folder::~scratch_folder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string scratch_folder::path(const std::string& name) const {
    return name.empty() ? folder_.string() : (folder_ / name).string();
}

std::string read_file(const std::string& path) {
    const std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

void write_file(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    out.close();
    if (!out) {
        throw std::runtime_error("can't write " + path);
    }
}

environment_variable::environment_variable(const char* name, const std::string& value)
    : name_(name) {
    if (const char* before = std::getenv(name); before != nullptr) {
        before_ = before;
    }
    setenv(name, value.c_str(), 1);
}

environment_variable::~environment_variable() {
    if (before_) {
        setenv(name_, before_->c_str(), 1);
    } else {
        unsetenv(name_);
    }
}

finished run(const std::vector<std::string>& command,
             const std::map<std::string, std::string>& variables) {
    const scratch_folder folder;
    const std::string out = folder.path("out");
    const std::string err = folder.path("err");
    std::vector<std::string> words = {"/usr/bin/env"};
    for (const char* name : {"DP_LOG", "DP_LOG_MASK", "DP_LOG_TAG"}) {
        words.insert(words.end(), {"-u", name});
    }
    for (const auto& [name, value] : variables) {
        words.emplace_back(name).append("=").append(value);
    }
    words.insert(words.end(), command.begin(), command.end());
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (auto& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);

    const pid_t child = fork();
    if (child == 0) {
        const int out_descriptor = open(out.c_str(), O_WRONLY | O_CREAT, 0600);
        const int err_descriptor = open(err.c_str(), O_WRONLY | O_CREAT, 0600);
        dup2(out_descriptor, STDOUT_FILENO);
        dup2(err_descriptor, STDERR_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), read_file(out),
            read_file(err)};
}

}  // namespace test
