#include "tests/fuzz/fuzzing_root.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/fuzz/fuzzing.hpp"

namespace fuzzing {
namespace {

// A plain array: the folder is made before any object is initialised.
char folder[64];
pid_t owner = 0;

void remove_folder() {
    // Not from a child that the library or the fuzzer started.
    if (getpid() == owner) {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
}

[[gnu::constructor(101)]] void make_folder() {
    const bool in_memory = access("/dev/shm", W_OK) == 0;
    std::snprintf(folder, sizeof folder, "%s/dp-fuzz-XXXXXX", in_memory ? "/dev/shm" : "/tmp");
    if (mkdtemp(folder) == nullptr || setenv("DP_ROOT", folder, 1) != 0) {
        std::abort();
    }
    char path[128];
    for (const char* below :
         {"/bin", "/tmp", "/tmp/dp", "/tmp/DS", "/var", "/var/dp", "/run", "/run/dp"}) {
        std::snprintf(path, sizeof path, "%s%s", folder, below);
        if (mkdir(path, S_IRWXU) != 0) {
            std::abort();
        }
    }
    owner = getpid();
    std::atexit(remove_folder);
}

}  // namespace

const std::string& scratch_root() {
    static const std::string root = folder;
    return root;
}

std::string scratch_path(const std::string& below_root) {
    return scratch_root() + below_root;
}

void write_scratch(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    require(file.good(), "a scratch file can be written");
}

std::string read_scratch(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void empty_folder(const std::string& path) {
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
        if (!entry.is_directory()) {
            std::filesystem::remove(entry.path());
        }
    }
}

}  // namespace fuzzing
