#include "tools/dpctl/output/vetting.hpp"

#include <array>
#include <string_view>
#include <utility>

#include "tools/dpctl/output/text.hpp"
#include "platform/sysipc/application_log.hpp"

namespace dpctl {
namespace {

using dp::security_wrap;

namespace log_level = sysipc::event_log::log_level;

// Stands in for the process's log while it lives: keeps the last error and hands all on.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): never destroyed through its base.
class caught_errors final : public sysipc::event_log::streams {
  public:
    caught_errors() : behind_(std::exchange(sysipc::application_log::app_streams, this)) {}
    ~caught_errors() { sysipc::application_log::app_streams = behind_; }
    caught_errors(const caught_errors&) = delete;
    caught_errors& operator=(const caught_errors&) = delete;

    void append(const std::string& level, const std::string& text) override {
        if (level == "ERR") {
            last_ = text;
        }
        if (behind_ != nullptr && (level != "ERR" || (behind_->mask() & log_level::error) != 0)) {
            behind_->append(level, text);
        }
    }
    [[nodiscard]] std::uint32_t mask() const override {
        return log_level::error | (behind_ != nullptr ? behind_->mask() : 0);
    }
    [[nodiscard]] std::int32_t file() const override {
        return behind_ != nullptr ? behind_->file() : 0;
    }
    [[nodiscard]] std::uint32_t level() const override {
        return behind_ != nullptr ? behind_->level() : 0;
    }

    // The last error without what stands in front of all of them.
    [[nodiscard]] std::string last() const {
        std::string_view text = last_;
        for (const std::string_view front : {" ***ERROR*** ", "ERROR: ", "security_wrap::exec: "}) {
            if (text.starts_with(front)) {
                text.remove_prefix(front.size());
            }
        }
        return std::string(text);
    }

  private:
    sysipc::event_log::streams* behind_;
    std::string last_;
};

struct flag_word {
    std::uint32_t bit;
    const char* text;
};

constexpr std::array<flag_word, 6> flag_words{{
    {security_wrap::out_to_null, "standard output is dropped"},
    {security_wrap::err_to_null, "standard error is dropped"},
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
    const caught_errors errors;
    const char* text = command.c_str();
    unsigned int ignored = 0;
    const int length = security_wrap::chomp_cmd(&text, ignored);
    if (length > 0) {
        result.looked_at = command.substr(0, static_cast<std::size_t>(length));
    }
    if (!security_wrap::parse_commandline(command.c_str(), result.parameters, result.redirections,
                                          ignored)) {
        result.reason = errors.last();
        return result;
    }
    if (result.parameters.empty()) {
        result.reason = "no parameter is left, so there is nothing to run";
        return result;
    }
    security_wrap::redirection_file out;
    security_wrap::redirection_file err;
    const int flag = security_wrap::parse_redirection(result.redirections, out, err);
    if (flag < 0) {
        result.reason = errors.last();
        if (result.reason.empty()) {
            result.reason = "one stream goes to a second file";
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
    // A stream to itself is none: "&1" is a file for standard output.
    if ((source == "1" && target == "&2") || (source == "2" && target == "&1")) {
        return text + stream_name(target.substr(1));
    }
    if (target == "/dev/null") {
        return text + target;
    }
    text += "the file " + in_quotes(target);
    return text + (redirection.operation == security_wrap::append ? ", behind what it holds"
                                                                  : ", which is emptied first");
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
