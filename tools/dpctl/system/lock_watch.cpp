#include "tools/dpctl/system/lock_watch.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <fstream>
#include <utility>

namespace dpctl {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds probe_pause(10);
constexpr std::chrono::milliseconds watch_pause(50);
constexpr std::chrono::milliseconds until_lock_notice(2000);

dp_support::file_descriptor open_probe(const std::string& path) {
    return dp_support::file_descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
}

std::string process_name(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

std::string writer_of_open_file(int descriptor) {
    struct flock lock {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    if (descriptor < 0 || fcntl(descriptor, F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) {
        return {};
    }
    // 0 or -1: a process of another namespace, or a lock that belongs to no process.
    if (lock.l_pid <= 0) {
        return "another process";
    }
    const std::string name = process_name(lock.l_pid);
    return "process " + std::to_string(lock.l_pid) + (name.empty() ? "" : " (" + name + ')');
}

std::string describe(const std::string& path, const std::string& writer) {
    return path + " is locked by " + writer;
}

void ignore_signal(int /*signal*/) {}

}  // namespace

std::string writer_of(const std::string& path) {
    return writer_of_open_file(open_probe(path).get());
}

std::string wait_for_writers(const std::vector<std::string>& files, steady_clock::time_point end,
                             const std::function<void(const std::string&)>& notify) {
    auto notice = steady_clock::now() + until_lock_notice;
    for (const auto& file : files) {
        for (std::string writer = writer_of(file); !writer.empty(); writer = writer_of(file)) {
            const auto now = steady_clock::now();
            if (now >= end) {
                return describe(file, writer);
            }
            if (now >= notice) {
                notify("waiting: " + describe(file, writer));
                notice = steady_clock::time_point::max();
            }
            std::this_thread::sleep_for(std::min<steady_clock::duration>(probe_pause, end - now));
        }
    }
    return {};
}

lock_watch::lock_watch(const std::vector<std::string>& files, steady_clock::time_point end)
    : watched_(pthread_self()) {
    for (const auto& file : files) {
        files_.push_back({file, {}});
    }
    struct sigaction action {};
    action.sa_handler = ignore_signal;  // without SA_RESTART, so that fcntl fails with EINTR
    sigaction(SIGALRM, &action, &old_action_);
    // Signals for the process are for its other threads.
    sigset_t all;
    sigset_t old;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &old);
    watcher_ = std::thread([this, end] { watch(end); });
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
}

lock_watch::~lock_watch() {
    finish();
    sigaction(SIGALRM, &old_action_, nullptr);
}

std::string lock_watch::finish() {
    {
        const std::lock_guard guard(mutex_);
        end_ = true;
    }
    ended_.notify_one();
    if (watcher_.joinable()) {
        watcher_.join();
    }
    files_.clear();
    return obstacle_;
}

void lock_watch::watch(steady_clock::time_point end) {
    std::unique_lock guard(mutex_);
    for (; !ended_.wait_until(guard, end, [this] { return end_; });
         end = steady_clock::now() + watch_pause) {
        for (auto& file : files_) {
            const std::string writer = writer_of_open_file(probe(file));
            if (!writer.empty() && obstacle_.empty()) {
                obstacle_ = describe(file.path, writer);
            }
        }
        // Again and again: the thread may not have begun to wait, or wait for the next lock by now.
        if (!obstacle_.empty()) {
            pthread_kill(watched_, SIGALRM);
        }
    }
}

// A descriptor of the file that has the name now. Earlier ones stay open: closing one would drop
// the locks that the library may have by now.
int lock_watch::probe(watched_file& file) {
    struct stat named {};
    struct stat opened {};
    if (stat(file.path.c_str(), &named) != 0) {
        return -1;
    }
    const bool is_known = !file.probes.empty() && fstat(file.probes.back().get(), &opened) == 0 &&
                          opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
    if (!is_known) {
        auto descriptor = open_probe(file.path);
        if (!descriptor.is_open()) {
            return -1;
        }
        file.probes.push_back(std::move(descriptor));
    }
    return file.probes.back().get();
}

}  // namespace dpctl
