#ifndef DP_TOOLS_DPCTL_CHANGES_SESSION_HPP
#define DP_TOOLS_DPCTL_CHANGES_SESSION_HPP

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tools/dpctl/names/attribute_source.hpp"

namespace dpctl {

/// The files to work on; an empty name leaves the library's default.
struct file_names {
    std::string template_file;
    std::string settings;
    std::string current;
};

/// The two files that hold values.
enum class values_of {
    pending = 0,  ///< as last set: the settings file
    current = 1,  ///< in force since the server's last start: the current-values file
};

/// What one file says of one setting.
struct reading {
    bool known = false;  ///< the file has a value for it
    bool cut = false;    ///< the value is longer than what could be read of it
    std::string text;

    bool operator==(const reading&) const = default;
};

/// One change to ask the settings service for, and its answer.
struct change_request {
    std::string name;
    std::string value;
    std::uint32_t status = 0;  ///< `unanswered` until the service reports a failure
};

/// The BIOS attribute service of the library, initialised for the lifetime of the object. What a
/// template that is not the server's own is expanded to is removed with it, so that nobody takes it
/// for the server's. There is one in a process, used by one thread. What can't be read at all, as
/// when memory runs out or one of the given names is a pipe's or a folder's, throws a
/// std::runtime_error; missing files only hold nothing.
class session final : public attribute_source {
  public:
    static constexpr std::uint32_t unanswered = 255;

    explicit session(file_names files);
    ~session() override;

    std::vector<std::string> collections() override;
    std::span<const dp_attribute> attributes(const std::string& collection) override;
    std::span<const char* const> setting_names(const std::string& collection) override;

    /// The values of `names`, index by index, out of one reading of the file.
    std::vector<reading> read(std::span<const std::string> names, values_of which);

    /// Has the service carry out `requests` as one batch; up to about 60 seconds. The result is
    /// that of `dp_set_bios_attribute_value`; each request for which no failure was reported keeps
    /// the status `unanswered`, whether it was done or not.
    int set(std::span<change_request> requests);

    /// The results are those of the C API.
    int reset(const std::string& collection);
    int need_reinit(const std::string& collection);

    /// The files in use, defaults filled in.
    [[nodiscard]] const file_names& files() const { return files_; }

    /// The expanded text that is newer than a template that is not the server's own and could not
    /// be removed: the library takes it as it is, whichever template it is of. Empty as a rule.
    [[nodiscard]] const std::string& doubtful_text() const { return doubtful_text_; }

  private:
    file_names files_;
    bool is_template_foreign_ = false;
    std::string doubtful_text_;
};

}  // namespace dpctl

#endif
