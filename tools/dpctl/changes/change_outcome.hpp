#ifndef DP_TOOLS_DPCTL_CHANGES_CHANGE_OUTCOME_HPP
#define DP_TOOLS_DPCTL_CHANGES_CHANGE_OUTCOME_HPP

#include <string_view>

#include "bios/dp_api.h"
#include "tools/dpctl/changes/setting_change.hpp"
#include "tools/dpctl/values/session.hpp"

namespace dpctl {

/// The outcome of an attempt to change a setting.
enum class change_outcome {
    already,        ///< the setting already had the value
    changed,        ///< the service made the change, perhaps in its own spelling
    refused,        ///< the service reported a status, or would: the template forbids the value
    no_answer,      ///< the request had started, but no answer came
    not_requested,  ///< no request was sent, or it was dropped before it started
    unconfirmed,    ///< the service made the change, but the settings file has the old value
    planned,        ///< the change would be requested, if this were not only a plan
    remains,        ///< the setting is read-only and keeps its value, which is no failure
};

/// The outcome as programs read it: "already", "changed", "refused", "no_answer",
/// "not_requested", "unconfirmed", "planned", "read_only".
const char* outcome_word(change_outcome outcome);

/// Whether `value`, as read, is the value `requested`: the same text, the same number for a numeric
/// attribute, the same text in any case for an enumeration. Of a cut value, the part that was read
/// is compared.
bool is_value(const reading& value, std::string_view requested, const dp_attribute& attribute);

/// Whether `value`, as read, is the attribute's default, which may be to have no value.
bool is_default_value(const reading& value, const dp_attribute& attribute);

/// Whether `value`, as the library read it from a file, is what the service has stored. The library
/// cuts long values and returns list selections in the terse form.
bool is_stored_value(const reading& value, const reading& stored);

/// The outcome of a change that was answered. `pending` is the value that was read after it from
/// the settings file, where another client may have changed it again.
change_outcome judge_change(const setting_change& change, const reading& pending);

}  // namespace dpctl

#endif
