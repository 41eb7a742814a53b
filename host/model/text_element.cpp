#include "host/model/text_element.hpp"

#include <cstddef>

#include "service_api/service_status.hpp"
#include "host/process/service_log.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

// Bytes of the character that begins with `lead`; 0 when none does.
std::size_t sequence_length(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    if (lead < 0xE0) {
        return 2;
    }
    return lead < 0xF0 ? 3 : 4;
}

// Neither an over-long form nor a surrogate nor above U+10FFFF.
bool is_second_byte(unsigned char lead, unsigned char second) {
    switch (lead) {
        case 0xE0:
            return second >= 0xA0;
        case 0xED:
            return second < 0xA0;
        case 0xF0:
            return second >= 0x90;
        case 0xF4:
            return second < 0x90;
        default:
            return true;
    }
}

}  // namespace

std::size_t character_count(const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < text.size(); ++count) {
        const auto lead = static_cast<unsigned char>(text[at]);
        const std::size_t length = sequence_length(lead);
        if (length == 0 || length > text.size() - at) {
            return text.size();
        }
        for (std::size_t i = 1; i < length; ++i) {
            const auto next = static_cast<unsigned char>(text[at + i]);
            if ((next & 0xC0U) != 0x80 || (i == 1 && !is_second_byte(lead, next))) {
                return text.size();
            }
        }
        at += length;
    }
    return count;
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
        return service_status::too_short;
    }
    if (max_length_ != 0 && length > max_length_) {
        return service_status::too_long;
    }
    return matches(value) ? dp::command_status::success : service_status::pattern_mismatch;
}

bool text_element::matches(const std::string& value) const {
    if (!pattern_) {
        return true;
    }
    const auto verdict = pattern_->judge(value);
    if (verdict == value_pattern::verdict::undecided) {
        log_error("a value could not be held against its pattern: it takes too much work");
    }
    return verdict == value_pattern::verdict::matches;
}

}  // namespace dp_host
