#ifndef DP_TOOLS_DPCTL_CHANGES_CHANGE_OUTCOME_HPP
#define DP_TOOLS_DPCTL_CHANGES_CHANGE_OUTCOME_HPP

#include <cstdint>
#include <string_view>

#include "bios/dp_api.h"
#include "tools/dpctl/changes/session.hpp"

namespace dpctl {

/// What became of the wish to give a setting a value.
enum class change_outcome {
    already,      ///< the value stood before; nothing was asked for
    changed,      ///< the settings file has the value now, perhaps in the service's own spelling
    refused,      ///< the service reported a status
    no_answer,    ///< the service answered nothing at all
    unconfirmed,  ///< no failure was reported, but the settings file still has the old value
};

/// The word for programs: "already", "changed", "refused", "no_answer", "unconfirmed".
const char* outcome_word(change_outcome outcome);

/// Whether `value`, as read, is what `requested` asks for: the same text, the same number for a
/// numeric attribute, the same letters for an enumeration. Of a cut value the readable part counts.
bool is_value(const reading& value, std::string_view requested, const dp_attribute& attribute);

/// The outcome of a request. The batch's result alone does not tell: a request without an answer
/// keeps its status as one that was done does, so the settings file decides.
/// @param batch_result  of the C API: -1 no answer at all
/// @param status        the request's; `session::unanswered` when no failure was reported
change_outcome judge_change(int batch_result, std::uint32_t status, const reading& before,
                            const reading& after, std::string_view requested,
                            const dp_attribute& attribute);

}  // namespace dpctl

#endif
