#include "support/output_files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "common/io_loops.hpp"
#include "support/file_descriptor.hpp"
#include "support/folder_of.hpp"

namespace dp_support {
namespace {

failure refusal(const std::string& path, const std::string& reason) {
    return {path + ": " + reason};
}

failure failed(const std::string& path, int error) {
    return {path + ": " + std::strerror(error), error};
}

std::string name_of(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

/// The mode of a file that open(2) would create.
mode_t creation_mode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

/// `path` without symlinks; empty, with errno set, when it does not exist.
std::string real_path(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    return real ? real.get() : "";
}

/// Where a file to remove is until all other files are replaced.
std::string aside_name(const std::string& path) {
    return folder_of(path) + "/." + name_of(path) + "_removed";
}

void remove_backup(const std::string& path) {
    if (!path.empty()) {
        unlink(path.c_str());
    }
}

}  // namespace

void output_files::protect(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        protected_.emplace_back(status.st_dev, status.st_ino);
    }
}

result<> output_files::stage(const std::string& path, std::string_view content) {
    const std::string name = name_of(path);
    if (name.empty() || name == "." || name == "..") {
        return refusal(path, "is not a file name");
    }
    const std::string folder = real_path(folder_of(path));
    struct stat status {};
    if (folder.empty() || stat(folder.c_str(), &status) != 0) {
        return failed(path, errno);
    }
    const bool is_open_to_all = (status.st_mode & S_IWOTH) != 0;
    std::string target = (folder == "/" ? "" : folder) + "/" + name;
    if (lstat(target.c_str(), &status) != 0) {
        if (errno != ENOENT) {
            return failed(path, errno);
        }
        return stage_file(path, target, content);
    }
    if (S_ISLNK(status.st_mode) && !is_open_to_all) {
        if (stat(target.c_str(), &status) != 0) {
            return failed(path, errno);
        }
        // The real path of an unnamed pipe cannot be opened, but the symlink to it can.
        if (S_ISREG(status.st_mode)) {
            target = real_path(target);
        }
    }
    if (S_ISCHR(status.st_mode) || S_ISFIFO(status.st_mode)) {
        streams_.emplace_back(target, content);
        return {};
    }
    if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
        return refusal(path, "exists and is not a file to write to");
    }
    if (std::find(protected_.begin(), protected_.end(), std::pair(status.st_dev, status.st_ino)) !=
        protected_.end()) {
        return refusal(path, "is also the input");
    }
    return stage_file(path, target, content);
}

result<> output_files::stage_file(const std::string& path, const std::string& target,
                                  std::string_view content) {
    if (std::any_of(files_.begin(), files_.end(),
                    [&](const output& other) { return other.file.path() == target; })) {
        return refusal(path, "is given for two files");
    }
    struct stat status {};
    const bool keeps_mode = lstat(target.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    auto& added = files_.emplace_back(target, keeps_mode ? status.st_mode & 0777 : creation_mode());
    added.file.out() << content;
    if (const auto written = added.file.complete(); !written) {
        files_.pop_back();
        return failed(path, written.code());
    }
    return {};
}

result<> output_files::write_streams() {
    for (const auto& [path, content] : streams_) {
        file_descriptor stream(open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
        if (!stream.is_open() || !dp::write_all(stream.get(), content) || !stream.close()) {
            return failed(path, errno);
        }
    }
    streams_.clear();
    return {};
}

void output_files::roll_back(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        auto& replaced = files_[i];
        if (replaced.is_new) {
            unlink(replaced.file.path().c_str());
        } else if (!replaced.backup.empty()) {
            static_cast<void>(std::rename(replaced.backup.c_str(), replaced.file.path().c_str()));
            replaced.backup.clear();
        }
    }
}

result<> output_files::stage_removal(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return errno == ENOENT ? result<>() : failed(path, errno);
    }
    if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
        return refusal(path, "exists and is not a file to remove");
    }
    removals_.push_back(path);
    return {};
}

// Renames the files to remove, so that they can be restored.
result<> output_files::set_aside() {
    for (; set_aside_ < removals_.size(); ++set_aside_) {
        const std::string& path = removals_[set_aside_];
        if (std::rename(path.c_str(), aside_name(path).c_str()) != 0 && errno != ENOENT) {
            return failed(path, errno);
        }
    }
    return {};
}

result<> output_files::commit() {
    auto committed = write_streams().and_then([this] { return set_aside(); }).and_then([this] {
        return replace_files();
    });
    for (; set_aside_ > 0; --set_aside_) {
        const std::string& path = removals_[set_aside_ - 1];
        const std::string aside = aside_name(path);
        if (committed) {
            unlink(aside.c_str());
        } else {
            static_cast<void>(std::rename(aside.c_str(), path.c_str()));
        }
    }
    return committed;
}

result<> output_files::replace_files() {
    for (std::size_t i = 0; i < files_.size(); ++i) {
        auto& [file, backup, is_new] = files_[i];
        // The last file needs no backup: nothing can fail after it.
        if (i + 1 < files_.size()) {
            const std::string name = file.staged_path() + "_old";
            if (link(file.path().c_str(), name.c_str()) == 0) {
                backup = name;
            } else {
                is_new = errno == ENOENT;
            }
        }
        const auto replaced = file.replace();
        // A folder that cannot be synchronised does not matter: the contents are on the disk.
        if (!file.is_in_place()) {
            remove_backup(backup);
            roll_back(i);
            return failed(file.path(), replaced.code());
        }
    }
    for (const auto& replaced : files_) {
        remove_backup(replaced.backup);
    }
    files_.clear();
    return {};
}

result<> replace_file(const std::string& path, std::string_view content) {
    output_files files;
    return files.stage(path, content).and_then([&] { return files.commit(); });
}

}  // namespace dp_support
