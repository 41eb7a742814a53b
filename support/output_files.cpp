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

#include "support/file_handle.hpp"

namespace dp_tools {
namespace {

std::string folder_of(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string name_of(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

/// The mode that a plain creation would give.
mode_t creation_mode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

bool write_all(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const ssize_t count = write(descriptor, content.data(), content.size());
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// Best effort: the files themselves are safe on the disk already.
void sync_folder(const std::string& folder) {
    const file_handle handle(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle.is_open()) {
        static_cast<void>(fsync(handle.get()));
    }
}

/// `path` without links; empty, with errno set, when there is no such thing.
std::string real_path(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    return real ? real.get() : "";
}

}  // namespace

output_files::~output_files() {
    for (const auto& file : files_) {
        if (!file.temporary.empty()) {
            unlink(file.temporary.c_str());
        }
    }
}

bool output_files::fail(const std::string& path, const std::string& reason) {
    error_ = path + ": " + reason;
    return false;
}

bool output_files::fail_with_errno(const std::string& path) {
    return fail(path, std::strerror(errno));
}

void output_files::protect(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        protected_.emplace_back(status.st_dev, status.st_ino);
    }
}

bool output_files::stage(const std::string& path, std::string_view content) {
    const std::string name = name_of(path);
    if (name.empty() || name == "." || name == "..") {
        return fail(path, "is not a file name");
    }
    const std::string folder = real_path(folder_of(path));
    struct stat status {};
    if (folder.empty() || stat(folder.c_str(), &status) != 0) {
        return fail_with_errno(path);
    }
    const bool open_to_all = (status.st_mode & S_IWOTH) != 0;
    std::string place = (folder == "/" ? "" : folder) + "/" + name;
    if (lstat(place.c_str(), &status) != 0) {
        return errno == ENOENT ? stage_file(path, place, content) : fail_with_errno(path);
    }
    if (S_ISLNK(status.st_mode) && !open_to_all) {
        if (stat(place.c_str(), &status) != 0) {
            return fail_with_errno(path);
        }
        // The name of an unnamed pipe behind a link leads nowhere, but the link does.
        if (S_ISREG(status.st_mode)) {
            place = real_path(place);
        }
    }
    if (S_ISCHR(status.st_mode) || S_ISFIFO(status.st_mode)) {
        streams_.emplace_back(place, content);
        return true;
    }
    if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
        return fail(path, "exists and is not a file to write to");
    }
    if (std::find(protected_.begin(), protected_.end(), std::pair(status.st_dev, status.st_ino)) !=
        protected_.end()) {
        return fail(path, "is also the input");
    }
    return stage_file(path, place, content);
}

bool output_files::stage_file(const std::string& path, const std::string& place,
                              std::string_view content) {
    if (std::any_of(files_.begin(), files_.end(),
                    [&](const staged_file& other) { return other.path == place; })) {
        return fail(path, "is given for two files");
    }
    struct stat status {};
    const bool keeps_mode = lstat(place.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    const mode_t mode = keeps_mode ? status.st_mode & 0777 : creation_mode();
    std::string temporary = folder_of(place) + "/.dp_XXXXXX";
    file_handle handle(mkostemp(temporary.data(), O_CLOEXEC));
    if (!handle.is_open()) {
        return fail_with_errno(path);
    }
    files_.push_back({place, temporary, "", false});
    if (!write_all(handle.get(), content) || fchmod(handle.get(), mode) != 0 ||
        fsync(handle.get()) != 0 || !handle.close()) {
        return fail_with_errno(path);
    }
    return true;
}

bool output_files::write_streams() {
    for (const auto& [path, content] : streams_) {
        file_handle handle(open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
        if (!handle.is_open() || !write_all(handle.get(), content) || !handle.close()) {
            return fail_with_errno(path);
        }
    }
    streams_.clear();
    return true;
}

void output_files::roll_back(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (files_[i].is_new) {
            unlink(files_[i].path.c_str());
        } else if (!files_[i].backup.empty()) {
            static_cast<void>(std::rename(files_[i].backup.c_str(), files_[i].path.c_str()));
            files_[i].backup.clear();
        }
    }
}

bool output_files::commit() {
    if (!write_streams()) {
        return false;
    }
    for (std::size_t i = 0; i < files_.size(); ++i) {
        auto& file = files_[i];
        // The last file needs no way back: nothing can fail behind it.
        if (i + 1 < files_.size()) {
            std::string backup = file.temporary + "_old";
            if (link(file.path.c_str(), backup.c_str()) == 0) {
                file.backup = std::move(backup);
            } else {
                file.is_new = errno == ENOENT;
            }
        }
        if (std::rename(file.temporary.c_str(), file.path.c_str()) != 0) {
            const bool result = fail_with_errno(file.path);
            if (!file.backup.empty()) {
                unlink(file.backup.c_str());
                file.backup.clear();
            }
            roll_back(i);
            return result;
        }
        file.temporary.clear();
    }
    for (auto& file : files_) {
        if (!file.backup.empty()) {
            unlink(file.backup.c_str());
            file.backup.clear();
        }
        sync_folder(folder_of(file.path));
    }
    files_.clear();
    return true;
}

std::string replace_file(const std::string& path, std::string_view content) {
    output_files files;
    return files.stage(path, content) && files.commit() ? "" : files.error();
}

}  // namespace dp_tools
