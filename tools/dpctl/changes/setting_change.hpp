#ifndef DP_TOOLS_DPCTL_CHANGES_SETTING_CHANGE_HPP
#define DP_TOOLS_DPCTL_CHANGES_SETTING_CHANGE_HPP

#include <cstdint>
#include <string>

#include "tools/dpctl/values/session.hpp"
#include "transactions/command_status.hpp"
#include "transactions/operations.hpp"

namespace dpctl {

/// A change to request from the settings service, and its answer.
struct setting_change {
    std::string name;                       ///< COLLECTION.ATTRIBUTE[.INSTANCE]
    std::string value;                      ///< the value to set
    dp::operations operation = dp::op_set;  ///< or `op_delete`

    std::int32_t status = dp::command_status::not_run;  ///< 0 when it was made
    reading replaced;                                   ///< the pending value before the change
    reading stored;      ///< the pending value after the change, when it was made
    std::string reason;  ///< why the service refused it, in its words; may be empty
};

}  // namespace dpctl

#endif
