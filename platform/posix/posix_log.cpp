#include "platform/posix/posix_log.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <string_view>

#include "common/io_loops.hpp"
#include "platform/sysipc/application_log.hpp"

namespace dp_platform {
namespace {

namespace log_level = sysipc::event_log::log_level;

enum class sink_kind : std::int32_t { none = 0, standard_error = 1, file = 2, system_log = 3 };

void append_hex(std::string& line, unsigned char byte) {
    constexpr std::string_view digits = "0123456789abcdef";
    line += "\\x";
    line += digits[byte >> 4U];
    line += digits[byte & 0xFU];
}

/// Appends `text` with its control bytes as \\xNN, and also the control characters that UTF-8
/// encodes as 0xC2 0x80 to 0xC2 0x9F.
void append_visible(std::string& line, std::string_view text) {
    bool after_c2 = false;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool second_of_control = after_c2 && byte >= 0x80 && byte < 0xA0;
        after_c2 = byte == 0xC2;
        if (byte < 0x20 || byte == 0x7F || second_of_control) {
            append_hex(line, byte);
        } else {
            line += c;
        }
    }
}

void append_time(std::string& line) {
    timespec now{};
    std::tm parts{};
    if (clock_gettime(CLOCK_REALTIME, &now) != 0 || gmtime_r(&now.tv_sec, &parts) == nullptr) {
        line += '-';
        return;
    }
    std::array<char, 64> text{};
    const auto length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    line.append(text.data(), length);
    const auto milliseconds = static_cast<int>(now.tv_nsec / 1'000'000);
    line += '.';
    line += static_cast<char>('0' + milliseconds / 100);
    line += static_cast<char>('0' + milliseconds / 10 % 10);
    line += static_cast<char>('0' + milliseconds % 10);
    line += 'Z';
}

int syslog_priority(std::string_view level) {
    if (level == "ERR") {
        return LOG_ERR;
    }
    if (level == "LOG") {
        return LOG_INFO;
    }
    return LOG_DEBUG;
}

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): the one object is never destroyed.
class posix_streams final : public sysipc::event_log::streams {
  public:
    posix_streams() = default;
    posix_streams(const posix_streams&) = delete;
    posix_streams& operator=(const posix_streams&) = delete;

    void append(const std::string& level, const std::string& text) override {
        const int saved_errno = errno;
        try {
            if (kind_ == sink_kind::system_log) {
                std::string line;
                append_visible(line, level);
                append_visible(line, text);
                ::syslog(syslog_priority(level), "%s", line.c_str());
            } else {
                dp::write_all(descriptor_, format(level, text));
            }
        } catch (const std::exception&) {
            // Without memory the line is silently dropped.
            errno = saved_errno;
            return;
        }
        errno = saved_errno;
    }

    [[nodiscard]] std::uint32_t mask() const override { return mask_; }
    [[nodiscard]] std::int32_t file() const override { return static_cast<std::int32_t>(kind_); }

    [[nodiscard]] std::uint32_t level() const override {
        if ((mask_ & ~(log_level::error | log_level::log)) != 0) {
            return LOG_DEBUG;
        }
        if ((mask_ & log_level::log) != 0) {
            return LOG_INFO;
        }
        return mask_ != 0 ? LOG_ERR : LOG_DEBUG + 1;
    }

    /// Closes the sink and opens another one. False when that cannot be opened.
    bool open(const std::string& sink, std::uint32_t mask, const std::string& tag) {
        close();
        mask_ = mask;
        tag_.clear();
        append_visible(tag_, tag);
        if (sink == "none") {
            return true;
        }
        if (sink == "stderr") {
            kind_ = sink_kind::standard_error;
            descriptor_ = STDERR_FILENO;
            return true;
        }
        if (sink == "syslog") {
            kind_ = sink_kind::system_log;
            ::openlog(tag_.c_str(), LOG_PID, LOG_DAEMON);
            return true;
        }
        constexpr std::string_view file_prefix = "file:";
        if (sink.starts_with(file_prefix)) {
            return open_file(sink.substr(file_prefix.size()));
        }
        std::fprintf(stderr,
                     "libdp_platform: DP_LOG is \"%s\", but must be none, stderr, file:PATH or "
                     "syslog; there is no log\n",
                     sink.c_str());
        return false;
    }

    [[nodiscard]] bool is_open() const { return kind_ != sink_kind::none; }

  private:
    bool open_file(const std::string& path) {
        // Never block the process: neither when opening a pipe nor when it is full.
        int descriptor = ::open(
            path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0640);
        if (descriptor >= 0 && descriptor <= STDERR_FILENO) {
            // Keep the descriptors of the standard streams free.
            const int low = descriptor;
            descriptor = ::fcntl(low, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
            ::close(low);
        }
        if (descriptor < 0) {
            const int reason = errno;
            std::fprintf(stderr,
                         "libdp_platform: cannot open the log file \"%s\": %s; there is no log\n",
                         path.c_str(), std::strerror(reason));
            return false;
        }
        kind_ = sink_kind::file;
        descriptor_ = descriptor;
        return true;
    }

    void close() {
        if (kind_ == sink_kind::file) {
            ::close(descriptor_);
        } else if (kind_ == sink_kind::system_log) {
            ::closelog();
        }
        kind_ = sink_kind::none;
        descriptor_ = -1;
    }

    [[nodiscard]] std::string format(const std::string& level, const std::string& text) const {
        std::string line;
        line.reserve(64 + tag_.size() + level.size() + text.size());
        append_time(line);
        line += ' ';
        line += tag_;
        line += '[';
        line += std::to_string(::getpid());
        line += "] ";
        append_visible(line, level);
        append_visible(line, text);
        line += '\n';
        return line;
    }

    sink_kind kind_ = sink_kind::none;
    int descriptor_ = -1;
    std::uint32_t mask_ = 0;
    std::string tag_;
};

std::string environment(const char* name, const std::string& otherwise) {
    const char* value = ::secure_getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

std::uint32_t mask_from_environment(std::uint32_t otherwise) {
    const std::string text = environment("DP_LOG_MASK", "");
    if (text.empty()) {
        return otherwise;
    }
    std::string_view digits = text;
    int base = 10;
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
        digits.remove_prefix(2);
        base = 16;
    }
    std::uint32_t mask = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, mask, base);
    if (error != std::errc{} || stop != end) {
        std::fprintf(stderr,
                     "libdp_platform: DP_LOG_MASK is \"%s\", but must be a 32-bit number; 0x%08x "
                     "is used\n",
                     text.c_str(), otherwise);
        return otherwise;
    }
    return mask;
}

}  // namespace

bool configure_log(const log_defaults& defaults) {
    // Never destroyed, because destructors of other libraries may log.
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): it is the process's log.
    static auto& streams = *new posix_streams;
    sysipc::application_log::app_streams = nullptr;
    const std::string name =
        defaults.tag.empty() ? ::program_invocation_short_name : defaults.tag.c_str();
    const bool done =
        streams.open(environment("DP_LOG", defaults.sink), mask_from_environment(defaults.mask),
                     environment("DP_LOG_TAG", name));
    if (streams.is_open()) {
        sysipc::application_log::app_streams = &streams;
    }
    return done;
}

}  // namespace dp_platform
