#include "service_api/service_status.hpp"

#include <algorithm>
#include <array>

#include "transactions/command_status.hpp"

namespace dp_service::service_status {
namespace {

struct status_text {
    std::int32_t status;
    bool is_about_value;  // the text follows the value
    const char* text;
};

constexpr std::array<status_text, 25> texts{{
    {dp::command_status::success, false, "done"},
    {dp::command_status::unresolved, false, "the settings service knows no setting of that name"},
    {dp::command_status::no_owner, false, "no plug-in of the settings service owns this setting"},
    {dp::command_status::value_cut, false,
     "the value is longer than can be read and was truncated"},
    {dp::command_status::not_answered, false, "the plug-in that owns this setting gave no answer"},
    {dp::command_status::value_not_known, false, "the settings service no longer knows its value"},
    {dp::command_status::unknown_operation, false,
     "the settings service does not know the operation"},
    {dp::command_status::value_not_mapped, true,
     "cannot be converted to a value by the settings service"},
    {dp::command_status::delete_not_permitted, false, "it cannot be deleted"},
    {dp::command_status::not_run, false, "the settings service did not run the command"},
    {not_a_choice, true, "is not one of its possible values"},
    {not_a_number, true, "is not a decimal number"},
    {out_of_range, true, "is out of range"},
    {not_a_step, true, "is not on a step"},
    {too_short, true, "is too short"},
    {too_long, true, "is too long"},
    {pattern_mismatch, true, "does not match the pattern"},
    {read_only, false, "it is read-only"},
    {not_persisted, false,
     "the settings service could not write the change to disk, so it was not made"},
    {malformed_line, false, "the settings service could not read the command"},
    {not_supported, false, "the settings service does not support the operation"},
    {bad_instance, false, "the attribute has no such instance"},
    {pending_changed, false, "the pending values changed meanwhile, so nothing was done"},
    {over_limit, false, "the request exceeds a limit of the settings service"},
    {forbidden_by_dependency, false, "the values of other attributes forbid it"},
}};

// Null when the status is not known.
const status_text* find(std::int32_t status) {
    const auto* const found =
        std::find_if(texts.begin(), texts.end(),
                     [=](const status_text& entry) { return entry.status == status; });
    return found == texts.end() ? nullptr : found;
}

}  // namespace

std::string explanation(std::int32_t status, const std::string& value) {
    const status_text* const found = find(status);
    if (found == nullptr) {
        return "";
    }
    return found->is_about_value ? value + ' ' + found->text : found->text;
}

bool is_about_value(std::int32_t status) {
    const status_text* const found = find(status);
    return found != nullptr && found->is_about_value;
}

}  // namespace dp_service::service_status
