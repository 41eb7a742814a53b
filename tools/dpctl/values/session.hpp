#ifndef DP_TOOLS_DPCTL_VALUES_SESSION_HPP
#define DP_TOOLS_DPCTL_VALUES_SESSION_HPP

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tools/dpctl/names/attribute_source.hpp"

namespace dpctl {

/// The files to read; an empty name is the library's default.
struct file_names {
    std::string template_file;
    std::string settings;
    std::string current;
};

/// The two files of values.
enum class values_of {
    pending = 0,  ///< set last: the settings file
    current = 1,  ///< in effect since the server's last start: the current-values file
};

/// The value of a setting in one file.
struct reading {
    bool known = false;  ///< the file has a value for the setting
    bool cut = false;    ///< `text` is only the beginning of the value
    std::string text;

    bool operator==(const reading&) const = default;
};

/// A change to request from the settings service, and its answer.
struct change_request {
    std::string name;
    std::string value;
    std::uint32_t status = 0;  ///< `session::unanswered` until the service reports a failure
};

/// The library's BIOS attribute service, initialized for the lifetime of the object. There is one
/// session in a process, used by one thread. The expansion of a template that is not the server's
/// own is removed at the end of the session, so that no other program takes it for the server's.
///
/// Throws std::runtime_error when nothing can be read, for example when memory runs out or when a
/// given name is that of a pipe or folder. A missing file just contains nothing.
class session final : public attribute_source {
  public:
    static constexpr std::uint32_t unanswered = 255;

    explicit session(file_names files);
    ~session() override;

    std::vector<std::string> collections() override;
    std::span<const dp_attribute> attributes(const std::string& collection) override;
    std::span<const char* const> setting_names(const std::string& collection) override;

    /// The value of each of `names`, from a single read of the file.
    std::vector<reading> read(std::span<const std::string> names, values_of which);

    /// Sends `requests` to the service as one batch and waits up to about 60 seconds. The result is
    /// that of `dp_set_bios_attribute_value`. A request for which no failure was reported keeps the
    /// status `unanswered`, whether it was carried out or not.
    int set(std::span<change_request> requests);

    /// The results are those of the C API.
    int reset(const std::string& collection);
    int need_reinit(const std::string& collection);

    /// The files in use, with defaults filled in.
    [[nodiscard]] const file_names& files() const { return files_; }

    /// The file of an expansion that is newer than the given template and could not be removed,
    /// normally empty. The library uses this expansion, whichever template it belongs to.
    [[nodiscard]] const std::string& stale_expansion() const { return stale_expansion_; }

  private:
    file_names files_;
    bool is_template_foreign_ = false;
    std::string stale_expansion_;
};

}  // namespace dpctl

#endif
