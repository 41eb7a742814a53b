#include "host/model/text_element.hpp"

#include <cstddef>

#include "host/process/service_log.hpp"
#include "service_api/service_status.hpp"
#include "support/utf8.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
std::size_t character_count(const std::string& text) {
    return dp_support::utf8::count_characters(text).value_or(text.size());
}

text_element::text_element(const template_info& info)
    : template_element(info), min_length_(info.minc), max_length_(info.maxc) {
    if (!info.reg.empty()) {
        pattern_.emplace(info.reg);
        if (!pattern_->problem().empty()) {
            log_error("the pattern of ", info.cfg, '.', info.id,
                      " is not understood: ", pattern_->problem());
        }
    }
}

std::int32_t text_element::check(const std::string& value) {
    const std::size_t length = character_count(value);
    if (length < min_length_) {
        return dp_service::service_status::too_short;
    }
    if (max_length_ != 0 && length > max_length_) {
        return dp_service::service_status::too_long;
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
        log_error("a value could not be held against its pattern: it takes too much work");
    }
    return verdict == dp_support::value_pattern::verdict::matches;
}

}  // namespace dp_host
