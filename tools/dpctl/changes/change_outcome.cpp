#include "tools/dpctl/changes/change_outcome.hpp"

#include "batch/batch_list_info.hpp"
#include "service_api/attribute_description.hpp"
#include "support/ascii_case.hpp"
#include "support/decimal.hpp"
#include "transactions/command_status.hpp"

namespace dpctl {
namespace {

// A decimal number without leading zeros; empty when `text` is not a number.
std::string_view without_leading_zeros(std::string_view text) {
    if (!dp_support::decimal::is_digits(text)) {
        return {};
    }
    const std::size_t first = text.find_first_not_of('0');
    return first == std::string_view::npos ? text.substr(text.size() - 1) : text.substr(first);
}

}  // namespace

const char* outcome_word(change_outcome outcome) {
    switch (outcome) {
        case change_outcome::already:
            return "already";
        case change_outcome::changed:
            return "changed";
        case change_outcome::refused:
            return "refused";
        case change_outcome::no_answer:
            return "no_answer";
        case change_outcome::not_requested:
            return "not_requested";
        case change_outcome::planned:
            return "planned";
        case change_outcome::remains:
            return "read_only";
        case change_outcome::unconfirmed:
            break;
    }
    return "unconfirmed";
}

bool is_value(const reading& value, std::string_view requested, const dp_attribute& attribute) {
    if (!value.known) {
        return false;
    }
    if (value.cut) {
        return requested.size() >= DP_VALUE_SIZE && requested.starts_with(value.text);
    }
    if (value.text == requested) {
        return true;
    }
    if (dp_service::is_numeric(attribute)) {
        const std::string_view number = without_leading_zeros(value.text);
        return !number.empty() && number == without_leading_zeros(requested);
    }
    return dp_service::is_enumeration(attribute) &&
           dp_support::equal_ignoring_case(value.text, requested);
}

bool is_default_value(const reading& value, const dp_attribute& attribute) {
    return dp_service::is_removed_by_default(attribute) ? !value.known
                                                        : is_value(value, attribute.dft, attribute);
}

bool is_stored_value(const reading& value, const reading& stored) {
    if (!value.known || !stored.known) {
        return value.known == stored.known;
    }
    const std::string text = dp::batch_list_info::is_full_form(stored.text)
                                 ? dp::batch_list_info().tersify(stored.text)
                                 : stored.text;
    return value.cut ? text.size() >= DP_VALUE_SIZE && text.starts_with(value.text)
                     : text == value.text;
}

change_outcome judge_change(const setting_change& change, const reading& pending) {
    if (change.status != dp::command_status::success) {
        return change_outcome::refused;
    }
    if (change.replaced == change.stored) {
        return change_outcome::already;
    }
    const bool is_unchanged =
        !is_stored_value(pending, change.stored) && is_stored_value(pending, change.replaced);
    return is_unchanged ? change_outcome::unconfirmed : change_outcome::changed;
}

}  // namespace dpctl
