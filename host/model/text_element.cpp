#include "host/model/text_element.hpp"

#include <cstddef>

#include "host/process/service_log.hpp"
#include "service_api/service_status.hpp"
#include "service_api/value_limits.hpp"
#include "support/utf8.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {

text_element::text_element(const template_info& info)
    : template_element(info, info.dft), min_length_(info.minc), max_length_(info.maxc) {
    if (!info.reg.empty()) {
        pattern_.emplace(info.reg);
        if (!pattern_->problem().empty()) {
            log_error("the pattern of ", info.cfg, '.', info.id,
                      " is not valid: ", pattern_->problem());
        }
    }
}

std::int32_t text_element::check(const std::string& value) {
    // Texts that are not UTF-8 are measured in bytes.
    const std::size_t length = dp_support::utf8::count_characters(value).value_or(value.size());
    const std::int32_t status =
        dp_service::value_limits::check_length(length, min_length_, max_length_);
    if (status != dp::command_status::success) {
        return status;
    }
    return matches(value) ? dp::command_status::success
                          : dp_service::service_status::pattern_mismatch;
}

bool text_element::matches(const std::string& value) const {
    if (!pattern_) {
        return true;
    }
    const auto verdict = pattern_->judge(value);
    if (verdict == dp_support::value_pattern::verdict::undecided) {
        log_error("a value needs too much work to match it with its pattern");
    }
    return verdict == dp_support::value_pattern::verdict::matches;
}

}  // namespace dp_host
