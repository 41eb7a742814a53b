#include "tools/dp-server/compiled_registry.hpp"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "service_api/attribute_registry.hpp"
#include "tools/dp-server/server_files.hpp"

namespace dp_tools {
namespace {

using dp_support::failure;
using dp_support::result;
using dp_support::system_failure;

std::string compiler_path() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::string beside = (self.parent_path() / "dp-template").string();
    return !error && access(beside.c_str(), X_OK) == 0 ? beside : "dp-template";
}

result<> run(std::vector<std::string> words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    const int error =
        posix_spawnp(&child, arguments.front(), nullptr, nullptr, arguments.data(), environ);
    if (error != 0) {
        return system_failure("run", words.front(), error);
    }
    int status = 0;
    while (waitpid(child, &status, 0) == -1) {
        if (errno != EINTR) {
            return system_failure("wait for", words.front(), errno);
        }
    }
    // It has said why.
    return status == 0 ? result<>() : failure{"dp-template could not compile the registry"};
}

}  // namespace

compiled_registry::~compiled_registry() {
    if (!folder_.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
}

result<> compiled_registry::compile(const std::string& registry, bool skip_unfit) {
    std::error_code error;
    std::string folder =
        (std::filesystem::temp_directory_path(error) / "dp-server.XXXXXX").string();
    if (error || mkdtemp(folder.data()) == nullptr) {
        return system_failure("create the folder", folder, error ? error.value() : errno);
    }
    folder_ = folder;
    std::vector<std::string> words{compiler_path(), "-o", template_file(), "--settings",
                                   settings_file()};
    if (skip_unfit) {
        words.emplace_back("--skip-unfit");
    }
    words.emplace_back("--");
    words.push_back(registry);
    return run(words);
}

result<std::string> build_id_of_registry(const std::string& content) {
    const auto registry = dp_service::parse_attribute_registry(content);
    if (!registry) {
        return registry.error();
    }
    if (registry->version.empty() || !build_id_problem(registry->version).empty()) {
        return failure{"the registry has no version that can be the build id; give --build-id"};
    }
    return registry->version;
}

}  // namespace dp_tools
