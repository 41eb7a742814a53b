#ifndef DP_TESTS_SYSTEM_TOOLS_TOOL_TEST_HPP
#define DP_TESTS_SYSTEM_TOOLS_TOOL_TEST_HPP

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"

namespace test {

inline const std::string sample_registry =
    std::string(DP_SOURCE_DIR) + "/examples/registry/server.registry.json";
inline const std::string updated_sample_registry =
    std::string(DP_SOURCE_DIR) + "/examples/registry/server-update.registry.json";

/// A registry with one attribute.
inline constexpr const char* small_registry =
    R"({"RegistryEntries": {"Attributes": [
  {"AttributeName": "A", "Type": "String", "DefaultValue": "v", "MenuPath": "./Boot"}]}})";

/// Runs the tools in an empty scratch folder. File names are relative to it.
class tool_test : public testing::Test {
  protected:
    void SetUp() override { clean_root(); }

    [[nodiscard]] static std::string path(const std::string& name) { return root() + "/" + name; }
    [[nodiscard]] static bool exists(const std::string& name) {
        return std::filesystem::exists(path(name));
    }
    static void write(const std::string& name, const std::string& content) {
        write_file(path(name), content);
    }
    [[nodiscard]] static std::string read(const std::string& name) { return read_file(path(name)); }

    /// The names in a folder that begin with a dot, which are leftover temporary files.
    [[nodiscard]] static std::vector<std::string> temporary_files(const std::string& folder) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path(folder))) {
            const std::string name = entry.path().filename();
            if (name.starts_with('.')) {
                names.push_back(name);
            }
        }
        return names;
    }

    /// Whether an unprivileged user can access the scratch folder and start the program.
    static bool unprivileged_user_can_run(const std::string& program) {
        chmod(root().c_str(), 0755);
        return run_program_unprivileged(program, {"--help"}).exit_code == 0;
    }

    /// Compiles a registry to u.efi, s.txt and t.txt.
    static void compile(const std::string& registry) {
        const auto result = run_program(
            "dp-template", {registry, "-o", "u.efi", "--settings", "s.txt", "--text", "t.txt"});
        ASSERT_EQ(result.exit_code, 0) << result.err;
    }
};

}  // namespace test

#endif
