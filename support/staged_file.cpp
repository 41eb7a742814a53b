#include "support/staged_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "support/folder_of.hpp"
#include "support/remove_or_set_aside.hpp"

namespace dp_support {
namespace {

// Of temporary files with unique names; the last six characters differ.
constexpr std::string_view unique_name = ".dp_XXXXXX";

bool is_unique_name(const std::string& name) {
    constexpr std::size_t fixed = unique_name.size() - 6;
    return name.size() == unique_name.size() &&
           name.compare(0, fixed, unique_name.substr(0, fixed)) == 0;
}

}  // namespace

staged_file::staged_file(std::string path, durability how)
    : path_(std::move(path)), staged_path_(path_ + ".new"), durability_(how) {
    remove_or_set_aside(staged_path_);
    file_ = file_descriptor(open(staged_path_.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                 S_IRUSR | S_IWUSR | S_IRGRP));
    if (!file_.is_open()) {
        fail("create", staged_path_, errno);
        staged_path_.clear();
    }
    out_.emplace(file_.get());
}

staged_file::staged_file(std::string path, durability how, mode_t mode)
    : path_(std::move(path)), staged_path_(folder_of(path_) + '/'), durability_(how) {
    staged_path_ += unique_name;
    file_ = file_descriptor(mkostemp(staged_path_.data(), O_CLOEXEC));
    if (!file_.is_open()) {
        fail("create", staged_path_, errno);
        staged_path_.clear();
    } else if (fchmod(file_.get(), mode) != 0) {
        fail("create", staged_path_, errno);
    }
    out_.emplace(file_.get());
}

staged_file::~staged_file() {
    if (!in_place_ && !staged_path_.empty()) {
        std::remove(staged_path_.c_str());
    }
}

std::ostream& staged_file::out() {
    return *out_;
}

const result<>& staged_file::fail(const char* action, const std::string& path, int error) {
    outcome_ = system_failure(action, path, error);
    return outcome_;
}

result<> staged_file::complete() {
    if (!outcome_) {
        return outcome_;
    }
    out_->flush();
    if (!*out_) {
        return fail("write", staged_path_, out_->error() != 0 ? out_->error() : EIO);
    }
    if (durability_ == durable && fsync(file_.get()) != 0) {
        return fail("write", staged_path_, errno);
    }
    return {};
}

result<> staged_file::replace() {
    if (!outcome_) {
        return outcome_;
    }
    // Readers compare file times: the file must not look older than what was made from its old
    // content a moment ago.
    if (futimens(file_.get(), nullptr) != 0 || !file_.close()) {
        return fail("write", staged_path_, errno);
    }
    // Before the file is replaced, since memory may run out.
    const std::string folder = folder_of(path_);
    if (std::rename(staged_path_.c_str(), path_.c_str()) != 0) {
        return fail("replace", path_, errno);
    }
    in_place_ = true;
    if (durability_ == durable) {
        const file_descriptor handle(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!handle.is_open() || fsync(handle.get()) != 0) {
            return fail("sync", folder, errno);
        }
    }
    return {};
}

void remove_staged_files(const std::string& folder) {
    std::error_code error;
    std::filesystem::directory_iterator each(folder, error);
    for (; !error && each != std::filesystem::directory_iterator(); each.increment(error)) {
        struct stat found {};
        const std::string path = each->path().string();
        if (is_unique_name(each->path().filename().string()) && lstat(path.c_str(), &found) == 0 &&
            S_ISREG(found.st_mode) && (found.st_uid == geteuid() || found.st_uid == 0)) {
            std::remove(path.c_str());
        }
    }
}

result<> write_private_file(const std::string& path, std::string_view content) {
    staged_file file(path, staged_file::durable, S_IRUSR | S_IWUSR);
    file.out() << content;
    return file.complete().and_then([&] { return file.replace(); });
}

}  // namespace dp_support
