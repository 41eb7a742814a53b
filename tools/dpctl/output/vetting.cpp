#include "tools/dpctl/output/vetting.hpp"

#include <array>
#include <string_view>
#include <utility>

#include "platform/sysipc/application_log.hpp"
#include "platform/sysipc/event_log.hpp"
#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

using dp::security_wrap;

namespace log_level = sysipc::event_log::log_level;

// Replaces the process's log for its lifetime: keeps the last error, and forwards everything.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): never destroyed through its base.
class log_interceptor final : public sysipc::event_log::streams {
  public:
    log_interceptor() : next_(std::exchange(sysipc::application_log::app_streams, this)) {}
    ~log_interceptor() { sysipc::application_log::app_streams = next_; }
    log_interceptor(const log_interceptor&) = delete;
    log_interceptor& operator=(const log_interceptor&) = delete;

    void append(const std::string& level, const std::string& text) override {
        if (level == "ERR") {
            last_ = text;
        }
        if (next_ != nullptr && (level != "ERR" || (next_->mask() & log_level::error) != 0)) {
            next_->append(level, text);
        }
    }
    [[nodiscard]] std::uint32_t mask() const override {
        return log_level::error | (next_ != nullptr ? next_->mask() : 0);
    }
    [[nodiscard]] std::int32_t file() const override {
        return next_ != nullptr ? next_->file() : 0;
    }
    [[nodiscard]] std::uint32_t level() const override {
        return next_ != nullptr ? next_->level() : 0;
    }

    // The last error without the prefixes that every error has.
    [[nodiscard]] std::string last_error() const {
        std::string_view text = last_;
        for (const std::string_view prefix :
             {" ***ERROR*** ", "ERROR: ", "security_wrap::exec: "}) {
            if (text.starts_with(prefix)) {
                text.remove_prefix(prefix.size());
            }
        }
        return std::string(text);
    }

  private:
    sysipc::event_log::streams* next_;
    std::string last_;
};

struct flag_word {
    std::uint32_t bit;
    const char* text;
};

constexpr std::array<flag_word, 6> flag_words{{
    {security_wrap::out_to_null, "standard output is discarded"},
    {security_wrap::err_to_null, "standard error is discarded"},
    {security_wrap::out_to_file, "standard output to a file"},
    {security_wrap::err_to_file, "standard error to a file"},
    {security_wrap::err_to_out, "standard error to standard output"},
    {security_wrap::out_to_err, "standard output to standard error"},
}};

std::string stream_name(const std::string& number) {
    if (number == "1") {
        return "standard output";
    }
    return number == "2" ? "standard error" : "stream " + number;
}

}  // namespace

vetting vet(const std::string& command) {
    vetting result;
    const log_interceptor log;
    const char* text = command.c_str();
    unsigned int ignored = 0;
    const int length = security_wrap::chomp_cmd(&text, ignored);
    if (length > 0) {
        result.examined = command.substr(0, static_cast<std::size_t>(length));
    }
    if (!security_wrap::parse_commandline(command.c_str(), result.parameters, result.redirections,
                                          ignored)) {
        result.reason = log.last_error();
        return result;
    }
    if (result.parameters.empty()) {
        result.reason = "there is no parameter, so there is nothing to run";
        return result;
    }
    security_wrap::redirection_file out;
    security_wrap::redirection_file err;
    const int flag = security_wrap::parse_redirection(result.redirections, out, err);
    if (flag < 0) {
        result.reason = log.last_error();
        if (result.reason.empty()) {
            result.reason = "a stream is redirected to two files";
        }
        return result;
    }
    result.accepted = true;
    result.flag = static_cast<std::uint32_t>(flag);
    return result;
}

std::string describe(const security_wrap::redirection& redirection) {
    const std::string& source = redirection.source;
    const std::string& target = redirection.target;
    std::string text = stream_name(source) + " to ";
    // Standard output cannot be redirected to itself: its target "&1" is a file of that name.
    if ((source == "1" && target == "&2") || (source == "2" && target == "&1")) {
        return text + stream_name(target.substr(1));
    }
    if (target == "/dev/null") {
        return text + target;
    }
    text += "the file " + in_quotes(target);
    return text +
           (redirection.operation == security_wrap::append ? " (appended)" : " (overwritten)");
}

std::string describe_flag(std::uint32_t flag) {
    std::string text;
    for (const auto& [bit, words] : flag_words) {
        if ((flag & bit) != 0) {
            text += (text.empty() ? "" : ", ") + std::string(words);
        }
    }
    return text.empty() ? "no redirection" : text;
}

}  // namespace dpctl
