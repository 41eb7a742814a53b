#include "tests/support/scratch_files.hpp"

#include <sys/stat.h>
#include <utime.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "tests/support/eventually.hpp"

namespace test {

std::string root() {
    const char* value = std::getenv("DP_ROOT");
    if (value == nullptr || *value == '\0') {
        throw std::logic_error("DP_ROOT is not set: the test does not run in a scratch process");
    }
    return value;
}

void remove_folder(const std::string& path) {
    // A file that is created after the folder was read keeps it from being removed.
    std::error_code error;
    const bool removed = eventually([&] {
        std::filesystem::remove_all(path, error);
        return !error;
    });
    if (!removed) {
        throw std::runtime_error("cannot remove " + path + ": " + error.message());
    }
}

void clean_root() {
    const std::filesystem::path base = root();
    for (const auto& item : std::filesystem::directory_iterator(base)) {
        std::filesystem::remove_all(item);
    }
    for (const char* folder : {"bin", "tmp/dp", "tmp/DS", "var/dp"}) {
        std::filesystem::create_directories(base / folder);
    }
}

std::string read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

void write_file(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + path);
    }
}

bool wait_for_text(const std::string& path, const std::string& text) {
    return eventually([&] { return read_file(path).find(text) != std::string::npos; });
}

void set_mtime(const std::string& path, std::time_t seconds) {
    const utimbuf times{seconds, seconds};
    if (utime(path.c_str(), &times) != 0) {
        throw std::runtime_error("cannot set the time of " + path);
    }
}

void write_script(const std::string& path, const std::string& body) {
    write_file(path, "#!/bin/sh\n" + body + "\n");
    if (chmod(path.c_str(), 0755) != 0) {
        throw std::runtime_error("cannot make executable " + path);
    }
}

}  // namespace test
