#include "host/exchange/malformed_lines.hpp"

#include "bios/template_info.hpp"
#include "service_api/service_status.hpp"
#include "support/checked_streams.hpp"

namespace dp_host {

dp::basic_transaction_command answer_to_line(std::string_view line, std::int32_t status) {
    dp_support::checked_istringstream words{std::string(line)};
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
    // A result line always has a name; commands whose setting is unknown have this one.
    if (answer.name.empty() || answer.name.front() == '"') {
        answer.name = "ERR.INVALID_SETTING";
    }
    return answer;
}

void malformed_lines::on_dropped_line(std::string_view line) {
    all_.push_back(
        {commands_.size(), answer_to_line(line, dp_service::service_status::malformed_line)});
}

}  // namespace dp_host
