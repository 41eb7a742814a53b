#ifndef DP_TESTS_UNIT_PLATFORM_SUPPORT_HPP
#define DP_TESTS_UNIT_PLATFORM_SUPPORT_HPP

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/sysipc/application_log.hpp"

namespace test {

/// Is the process's log while it lives, and keeps the lines.
class kept_log : public sysipc::event_log::streams {
  public:
    explicit kept_log(std::uint32_t mask = 0x90000000);
    virtual ~kept_log();
    kept_log(const kept_log&) = delete;
    kept_log& operator=(const kept_log&) = delete;

    void append(const std::string& level, const std::string& text) override;
    [[nodiscard]] std::uint32_t mask() const override { return mask_; }
    [[nodiscard]] std::int32_t file() const override { return 0; }
    [[nodiscard]] std::uint32_t level() const override { return 0; }

    std::vector<std::string> lines;  ///< level and text

  private:
    std::uint32_t mask_;
    sysipc::event_log::streams* previous_;
};

/// A folder of its own for one test; it goes away with everything in it.
class scratch_folder {
  public:
    scratch_folder();
    ~scratch_folder();
    scratch_folder(const scratch_folder&) = delete;
    scratch_folder& operator=(const scratch_folder&) = delete;

    [[nodiscard]] std::string path(const std::string& name = "") const;

  private:
    std::filesystem::path folder_;
};

std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& content);

/// Gives an environment variable another value while it lives.
class environment_variable {
  public:
    environment_variable(const char* name, const std::string& value);
    ~environment_variable();
    environment_variable(const environment_variable&) = delete;
    environment_variable& operator=(const environment_variable&) = delete;

  private:
    const char* name_;
    std::optional<std::string> before_;
};

/// A process and what it wrote.
struct finished {
    int status;  ///< exit status; 128 + number for a signal
    std::string out;
    std::string err;
};

/// Runs a program with `variables` added to an environment without any DP_ variable, and waits.
finished run(const std::vector<std::string>& command,
             const std::map<std::string, std::string>& variables);

}  // namespace test

#endif
