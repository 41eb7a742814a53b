#include "tests/unit/platform/support.hpp"

#include <cstdlib>
#include <stdexcept>

namespace test {

scratch_folder::scratch_folder() {
    std::string name = std::filesystem::temp_directory_path() / "dp-platform-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot make a scratch folder");
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

program_result run(const std::vector<std::string>& command,
                   const std::map<std::string, std::string>& variables) {
    std::vector<std::string> words;
    for (const char* name : {"DP_LOG", "DP_LOG_MASK", "DP_LOG_TAG"}) {
        words.insert(words.end(), {"-u", name});
    }
    for (const auto& [name, value] : variables) {
        words.emplace_back(name).append("=").append(value);
    }
    words.insert(words.end(), command.begin(), command.end());
    return run_process("/usr/bin/env", {"env", words}, [] { return true; });
}

}  // namespace test
