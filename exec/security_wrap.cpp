#include "exec/security_wrap.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string_view>
#include <utility>

#include "common/io_loops.hpp"
#include "common/log.hpp"
#include "common/open_regular_file.hpp"

namespace dp {
namespace {

constexpr std::size_t longest_word = 127;

// Logs the reason of a refusal with the fixed prefix that callers know.
bool refuse(const char* reason) {
    log_error_line("ERROR: security_wrap::exec: ", reason);
    return false;
}

bool is_number(const std::string& word) {
    return std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Splits a command line in one pass over its characters.
class command_scanner {
  public:
    command_scanner(std::string_view text, std::vector<std::string>& params,
                    std::vector<security_wrap::redirection>& redirections)
        : text_(text), params_(params), redirections_(redirections) {
        word_.reserve(longest_word);
    }

    // True when the whole text is accepted.
    bool scan() {
        // Each step consumes one character, the end of the text included. The limit only stops a
        // scan that makes no progress.
        for (std::size_t steps = 0; position_ <= text_.size(); ++steps) {
            if (steps > text_.size()) {
                return refuse("the loop goes into deal loop, force to break");
            }
            if (!step()) {
                return false;
            }
        }
        return true;
    }

  private:
    // Marks the end of the text, which contains no NUL.
    static constexpr char end = '\0';

    [[nodiscard]] char peek() const { return position_ < text_.size() ? text_[position_] : end; }

    bool step() {
        const char c = peek();
        ++position_;
        switch (c) {
            case end:
                // A word whose quote is not closed is dropped.
                if (!in_quotes_) {
                    end_word();
                }
                return true;
            case '"':
                return quote();
            case '\\':
                return escape();
            default:
                return in_quotes_ ? add(c) : plain(c);
        }
    }

    // A character outside quotes.
    bool plain(char c) {
        switch (c) {
            case ' ':
                end_word();
                return true;
            case '<':
                return refuse("redirect input is not supported");
            case '|':
                return refuse("pipe is not supported");
            case '>':
                return redirect();
            default:
                return add(c);
        }
    }

    bool quote() {
        if (!in_quotes_) {
            in_quotes_ = true;
            return word_.empty() || refuse("quotes appears in the middle of parameter");
        }
        if (word_.empty()) {
            return refuse("no parameter between quotes");
        }
        in_quotes_ = false;
        end_word();
        return true;
    }

    bool escape() {
        if (!in_quotes_) {
            return refuse("escape char appear out of quotes");
        }
        const char c = peek();
        if (c != '"' && c != '\\') {
            return refuse("unknown escape character");
        }
        ++position_;
        return add(c);
    }

    bool redirect() {
        if (target_pending_) {
            return refuse("redirection parse error");
        }
        pending_.source = take_source();
        pending_.operation = security_wrap::truncate;
        if (peek() == '>') {
            pending_.operation = security_wrap::append;
            ++position_;
        }
        target_pending_ = true;
        return true;
    }

    // The stream before '>'. A number directly before it names the stream, which is checked later.
    // With a space between them only "1" and "2" name a stream. Anything else is a parameter.
    std::string take_source() {
        if (!word_.empty()) {
            std::string word = std::exchange(word_, {});
            if (is_number(word)) {
                return word;
            }
            params_.push_back(std::move(word));
        } else if (!params_.empty() && (params_.back() == "1" || params_.back() == "2")) {
            std::string source = std::move(params_.back());
            params_.pop_back();
            return source;
        }
        return "1";
    }

    bool add(char c) {
        if (word_.size() == longest_word) {
            return refuse("parameter is too long");
        }
        word_ += c;
        return true;
    }

    void end_word() {
        if (word_.empty()) {
            return;
        }
        if (target_pending_) {
            pending_.target = std::exchange(word_, {});
            redirections_.push_back(std::move(pending_));
            target_pending_ = false;
        } else {
            params_.push_back(std::exchange(word_, {}));
        }
    }

    std::string_view text_;
    std::vector<std::string>& params_;
    std::vector<security_wrap::redirection>& redirections_;
    std::size_t position_ = 0;
    std::string word_;
    bool in_quotes_ = false;
    bool target_pending_ = false;
    security_wrap::redirection pending_;  // valid while `target_pending_`
};

// Sets the file of a stream; false when the stream already has one.
bool set_file(unsigned int& flag, security_wrap::redirection_flags bit,
              const security_wrap::redirection& r, security_wrap::redirection_file& file) {
    if ((flag & bit) != 0) {
        return false;
    }
    flag |= bit;
    file.name = r.target;
    file.operation = r.operation;
    return true;
}

// Opens a file that the author of the command line chose, so opening must never wait for a pipe's
// reader or a terminal line. -1 when it cannot be opened.
int open_for_writing(const std::string& name, int mode) {
    const int descriptor =
        ::open(name.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | mode,
               S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
    if (descriptor >= 0) {
        // Only opening must not wait; writes may.
        ::fcntl(descriptor, F_SETFL, mode & O_APPEND);
    }
    return descriptor;
}

}  // namespace

int security_wrap::system(const char* command) {
    std::vector<std::string> params;
    std::vector<redirection> redirections;
    unsigned int command_flag = 0;
    if (!parse_commandline(command, params, redirections, command_flag) || params.empty()) {
        return -1;
    }
    for (const std::string& param : params) {
        log_line(log_level::trace_2, "DBG", "INFO: security_wrap::system: parsed paramter -->",
                 param, '\n');
    }
    if (redirections.empty()) {
        return 1;
    }

    redirection_file out;
    redirection_file err;
    const int parsed = parse_redirection(redirections, out, err);
    log_line(log_level::trace_2, "DBG", "INFO: security_wrap::system: parsed redirection flag -->",
             parsed, '\n');
    if (parsed < 0) {
        return -1;
    }

    // The output is always empty and both streams go to the file of standard output: callers rely
    // on the file of standard error being left untouched.
    const auto flag = static_cast<unsigned int>(parsed);
    std::vector<unsigned char> output;
    if ((flag & out_to_file) != 0) {
        redirect_2_file(output, out);
        if ((flag & err_to_out) != 0) {
            redirect_2_file(output, out);
        }
    }
    if ((flag & err_to_file) != 0) {
        redirect_2_file(output, out);
        if ((flag & out_to_err) != 0) {
            redirect_2_file(output, out);
        }
    }
    return 1;
}

int security_wrap::chomp_cmd(const char** command, unsigned int& flag) {
    if (command == nullptr || *command == nullptr) {
        return -1;
    }
    const std::string_view text(*command);
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return -1;
    }
    std::size_t end = text.size();
    bool ampersand_seen = false;
    for (; end > first; --end) {
        const char c = text[end - 1];
        if (c == '&' && !ampersand_seen) {
            ampersand_seen = true;
        } else if (c != ' ') {
            break;
        }
    }
    const std::size_t length = end - first;
    if (length == 0 || length > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return -1;
    }
    flag = 1;
    return static_cast<int>(length);
}

bool security_wrap::parse_commandline(const char* command, std::vector<std::string>& params,
                                      std::vector<redirection>& redirections, unsigned int& flag) {
    params.clear();
    redirections.clear();
    const int length = chomp_cmd(&command, flag);
    if (length < 0) {
        return refuse("chomp command line failed");
    }
    const std::string_view text(command, static_cast<std::size_t>(length));
    return command_scanner(text, params, redirections).scan();
}

int security_wrap::parse_redirection(const std::vector<redirection>& redirections,
                                     redirection_file& out, redirection_file& err) {
    unsigned int flag = 0;
    for (const redirection& r : redirections) {
        if (r.operation != truncate && r.operation != append) {
            refuse("unsupported redirection operation");
            return -1;
        }
        if (r.source == "1") {
            if (r.target == "/dev/null") {
                flag |= out_to_null;
            } else if (r.target == "&2") {
                flag |= out_to_err;
            } else if (!set_file(flag, out_to_file, r, out)) {
                return -1;
            }
        } else if (r.source == "2") {
            if (r.target == "&1") {
                flag |= err_to_out;
            } else if (r.target == "/dev/null") {
                flag |= err_to_null;
            } else if (!set_file(flag, err_to_file, r, err)) {
                return -1;
            }
        } else {
            refuse("unknown redirection input");
            return -1;
        }
    }
    return static_cast<int>(flag);
}

int security_wrap::redirect_2_file(std::vector<unsigned char>& data, redirection_file& file) {
    int mode = 0;
    if (file.operation == truncate) {
        mode = O_TRUNC;
    } else if (file.operation == append) {
        mode = O_APPEND;
    } else {
        return -1;
    }
    const int descriptor = open_for_writing(file.name, mode);
    if (descriptor < 0) {
        return -1;
    }
    write_all(descriptor, {reinterpret_cast<const char*>(data.data()), data.size()});
    ::close(descriptor);
    return 0;
}

}  // namespace dp
