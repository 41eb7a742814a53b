#ifndef DP_TOOLS_DPCTL_VALUES_SESSION_HPP
#define DP_TOOLS_DPCTL_VALUES_SESSION_HPP

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "tools/dpctl/names/attribute_source.hpp"

namespace dpctl {

class report;

/// The files to read; an empty name is the library's default.
struct file_names {
    std::string template_file;
    std::string settings;
    std::string current;
    std::string registry;        ///< empty: that of the server, for the server's template only
    unsigned lock_timeout = 10;  ///< seconds to wait for a process that has a file locked
};

/// The two files of values.
enum class values_of {
    pending = 0,  ///< set last: the settings file
    current = 1,  ///< in effect since the server's last start: the current-values file
};

/// The value of a setting in one file.
struct reading {
    bool known = false;  ///< the file has a value for the setting
    /// `text` is only the beginning of the value: it is longer than the C API's, and the file was
    /// replaced before the rest was read.
    bool cut = false;
    std::string text;

    bool operator==(const reading&) const = default;
};

/// The library's BIOS attribute service, initialized for the lifetime of the object. There is one
/// session in a process, used by one thread. The expansion of a template that is not the server's
/// own is removed at the end of the session, so that no other program takes it for the server's.
///
/// The library reports neither a file that it cannot read nor a template that was not expanded, and
/// its waiting for a lock has no limit. So the session examines the files: it throws
/// std::runtime_error, with the name of the file and the reason, when a file that is needed cannot
/// be read, when a file that was given does not exist, when another process keeps a file locked, or
/// when memory runs out. A default file that does not exist contains nothing.
class session final : public attribute_source {
  public:
    /// `rep` gets notes, as that it waits for a lock. It must outlive the session.
    session(file_names files, report& rep);
    ~session() override;

    std::vector<std::string> collections() override;
    std::span<const dp_attribute> attributes(const std::string& collection) override;
    std::span<const char* const> setting_names(const std::string& collection) override;

    /// The value of each of `names`, from a single read of the file. Values that the C API cuts are
    /// completed from the file.
    std::vector<reading> read(std::span<const std::string> names, values_of which);

    /// The version of the pending values, for a request that is planned on the values that are read
    /// after this call. Empty when the settings file is not that of the settings service.
    [[nodiscard]] std::string pending_version() const;

    /// The result is that of the C API.
    int need_reinit(const std::string& collection);

    /// Initializes the service again, so that it reads the files again. What `attributes` and
    /// `setting_names` returned is no longer valid.
    void reinitialize();

    /// The files in use, with defaults filled in.
    [[nodiscard]] const file_names& files() const { return files_; }

    /// Whether the template exists and is not the server's own.
    [[nodiscard]] bool has_foreign_template() const { return is_template_foreign_; }

    /// The file of an expansion that is newer than the given template and could not be removed,
    /// normally empty. The library uses this expansion, whichever template it belongs to.
    [[nodiscard]] const std::string& stale_expansion() const { return stale_expansion_; }

  private:
    void read_files(const std::vector<std::string>& files, const std::function<void()>& call);
    void expand(const std::string& text_file, const std::function<void()>& call);

    report& rep_;
    file_names files_;
    bool is_template_foreign_ = false;
    std::string stale_expansion_;
    bool noted_absence_ = false;
};

}  // namespace dpctl

#endif
