#include "host/exchange/batch_feed.hpp"

#include <istream>
#include <limits>
#include <sstream>
#include <utility>

#include "bios/template_info.hpp"
#include "service_api/service_status.hpp"

namespace dp_host {

line_kind next_line(std::istream& source, std::string& line) {
    line.clear();
    std::streambuf& bytes = *source.rdbuf();
    bool too_long = false;
    int c = bytes.sbumpc();
    if (c == std::char_traits<char>::eof()) {
        return line_kind::end;
    }
    for (; c != '\n' && c != std::char_traits<char>::eof(); c = bytes.sbumpc()) {
        if (line.size() < batch_feed::longest_line) {
            line += std::char_traits<char>::to_char_type(c);
        } else {
            too_long = true;
        }
    }
    if (line.empty() || line.front() == '#' || line.find_first_not_of(' ') == std::string::npos) {
        return line_kind::no_command;
    }
    return too_long ? line_kind::too_long : line_kind::command;
}

dp::basic_transaction_command answer_to_line(const std::string& line, std::int32_t status) {
    std::istringstream words(line);
    std::string word;
    dp::basic_transaction_command answer;
    answer.status = status;
    words >> word >> word;
    answer.correlator = words ? template_info::a2i(word, false) : 0;
    words >> answer.tid >> word;
    if (words) {
        answer.operation = dp::map_operation(word);
    }
    if (words && word == "command") {
        words >> word;
    }
    words >> answer.name;
    // A result line always has a name; this is the one of a command whose setting is unknown.
    if (answer.name.empty() || answer.name.front() == '"') {
        answer.name = "ERR.INVALID_SETTING";
    }
    return answer;
}

batch_feed::batch_feed(std::istream& source, std::function<std::size_t()> taken)
    : source_(source), taken_(std::move(taken)) {}

batch_feed::int_type batch_feed::underflow() {
    // The reader asks for a line only when it is done with the one before.
    if (is_out_ && taken_() == taken_before_) {
        drop();
    }
    is_out_ = false;
    for (;;) {
        switch (next_line(source_, line_)) {
            case line_kind::end:
                return traits_type::eof();
            case line_kind::no_command:
                break;
            case line_kind::too_long:
                drop();
                break;
            case line_kind::command:
                is_out_ = true;
                taken_before_ = taken_();
                line_ += '\n';
                setg(line_.data(), line_.data(), line_.data() + line_.size());
                return traits_type::to_int_type(line_.front());
        }
    }
}

void batch_feed::drop() {
    dropped_.push_back({taken_(), answer_to_line(line_, service_status::malformed_line)});
}

}  // namespace dp_host
