#ifndef DP_TOOLS_DPCTL_CHANGES_CHANGE_OUTCOME_HPP
#define DP_TOOLS_DPCTL_CHANGES_CHANGE_OUTCOME_HPP

#include <cstdint>
#include <string_view>

#include "bios/dp_api.h"
#include "tools/dpctl/values/session.hpp"

namespace dpctl {

/// The outcome of an attempt to change a setting.
enum class change_outcome {
    already,    ///< the setting already had the value; no request was sent
    changed,    ///< the settings file has the value now, perhaps in the service's own spelling
    refused,    ///< the service reported a status, or would: the template does not allow the value
    no_answer,  ///< the service did not answer at all
    not_requested,  ///< no request was sent, because of another setting
    unconfirmed,    ///< no failure was reported, but the settings file still has the old value
};

/// The outcome as programs read it: "already", "changed", "refused", "no_answer",
/// "not_requested", "unconfirmed".
const char* outcome_word(change_outcome outcome);

/// Whether `value`, as read, is the value `requested`: the same text, the same number for a numeric
/// attribute, the same text in any case for an enumeration. Of a cut value, the part that was read
/// is compared.
bool is_value(const reading& value, std::string_view requested, const dp_attribute& attribute);

/// The outcome of a request. The result of the batch is not sufficient: a request without an answer
/// keeps its status, like one that succeeded. Therefore the settings file decides.
/// @param batch_result  of the C API: -1 no answer at all
/// @param status        of the request; `session::unanswered` if no failure was reported
change_outcome judge_change(int batch_result, std::uint32_t status, const reading& before,
                            const reading& after, std::string_view requested,
                            const dp_attribute& attribute);

}  // namespace dpctl

#endif
