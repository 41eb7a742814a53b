#include "tools/dp-server/kept_values.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/batch_file_reader.hpp"
#include "common/fixed_paths.hpp"
#include "common/quoting.hpp"
#include "service_api/server_paths.hpp"
#include "service_api/service_lock.hpp"
#include "service_api/values_backups.hpp"
#include "service_api/values_seal.hpp"
#include "support/checked_streams.hpp"
#include "support/output_files.hpp"
#include "tools/dp-server/server_files.hpp"

namespace dp_tools {
namespace {

namespace values_backups = dp_service::values_backups;
namespace values_seal = dp_service::values_seal;
using dp_support::failure;
using dp_support::result;
using dp_support::system_failure;

// Collects the set commands with a complete name, as lines of a file of values.
class set_lines final : public dp::batch_file_intf {
  public:
    void process_entry(dp::batch_file_entry& entry, dp::registrar* /*reg*/) override {
        if ((entry.operation != "set" && entry.operation != "setv") ||
            entry.name.configuration.empty() || entry.name.setting.empty()) {
            return;
        }
        dp::batch_file_entry line;
        line.status = "0";
        line.detail = "0";
        line.tid = "uefi";
        line.operation = "set";
        line.name = entry.name;
        line.value_in = dp::add_backslash(entry.value_in);
        text << line << '\n';
        ++count;
    }

    dp_support::checked_ostringstream text;
    std::size_t count = 0;
};

struct values_of_file {
    std::string lines;
    std::size_t count = 0;
    std::string problem;
};

result<values_of_file> read_kept(const std::string& path) {
    dp::batch_file_reader reader;
    dp_support::checked_ostringstream plain;
    if (!values_seal::is_within_limit(path) || !reader.decompress(path, plain)) {
        return failure{path + ": cannot be read"};
    }
    std::string text = plain.str();
    const auto examined = values_seal::examine(text);
    if (examined.found == values_seal::completeness::damaged) {
        // An incomplete last line has a value that may be cut.
        text.resize(text.rfind('\n') + 1);
    }
    set_lines lines;
    reader.processor = &lines;
    dp_support::checked_istringstream in(text);
    reader.read_file(in, nullptr);
    return values_of_file{lines.text.str(), lines.count, examined.problem};
}

std::string name_of(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::array<std::string, 2> values_paths() {
    return {dp::fixed_paths::uefi_settings.str(), dp::fixed_paths::uefi_current.str()};
}

std::vector<std::string> kept_paths(const std::string& path) {
    std::vector<std::string> paths{values_backups::backup_of(path)};
    for (unsigned number = 1; number <= values_backups::most_damaged; ++number) {
        paths.push_back(values_backups::damaged_of(path, number));
    }
    return paths;
}

// The replaced file becomes the backup, or a damaged file. A missing one is nothing to keep.
result<> keep_replaced(const std::string& path) {
    if (!exists(path)) {
        return {};
    }
    const auto replaced = read_kept(path);
    const bool is_complete = replaced && replaced->problem.empty();
    const bool is_kept =
        is_complete ? values_backups::keep_backup(path) : values_backups::keep_damaged(path, path);
    return is_kept ? result<>() : system_failure("keep", path, errno);
}

std::string sealed(const values_of_file& values) {
    std::string text = std::string(values_seal::begin_line) + '\n' + values.lines;
    text += values_seal::end_line(text, values.count) + '\n';
    return text;
}

}  // namespace

std::vector<kept_file> kept_files() {
    std::vector<kept_file> files;
    for (const auto& path : values_paths()) {
        for (const auto& kept : kept_paths(path)) {
            if (!exists(kept)) {
                continue;
            }
            const auto values = read_kept(kept);
            files.push_back({name_of(kept), values ? values->problem : "it cannot be read",
                             values ? values->count : 0});
        }
    }
    return files;
}

result<std::size_t> restore_values(const std::string& name, bool is_partial_allowed) {
    for (const auto& path : values_paths()) {
        for (const auto& kept : kept_paths(path)) {
            if (name_of(kept) != name) {
                continue;
            }
            if (const auto checked = check_folder(dp_service::server_paths::data_folder.str());
                !checked) {
                return checked.error();
            }
            dp_service::service_lock lock;
            if (const auto locked = lock_out_services(lock); !locked) {
                return locked.error();
            }
            const auto values = read_kept(kept);
            if (!values) {
                return values.error();
            }
            if (values->count == 0) {
                return failure{kept + ": contains no values"};
            }
            if (!values->problem.empty() && !is_partial_allowed) {
                return failure{
                    kept + " is damaged: " + values->problem +
                    "; --partial restores what is left: " + std::to_string(values->count)};
            }
            const auto restored = keep_replaced(path).and_then(
                [&] { return dp_support::replace_file(path, sealed(*values)); });
            if (!restored) {
                return restored.error();
            }
            return values->count;
        }
    }
    return failure{name + ": is not the name of a backup or a damaged file"};
}

}  // namespace dp_tools
