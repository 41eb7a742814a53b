#ifndef DP_REDFISH_RESOURCES_ACCESS_ANSWERS_HPP
#define DP_REDFISH_RESOURCES_ACCESS_ANSWERS_HPP

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "redfish/access/account_store.hpp"
#include "redfish/access/password_access_control.hpp"
#include "redfish/protocol/call.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/standard_answers.hpp"

namespace dp_redfish {

/// 503 with Retry-After.
answer try_again_answer();
/// 400 for a PATCH that changes nothing: because of `problems`, or because it asks for nothing.
answer nothing_changed_answer(std::vector<message> problems);

/// The answer to a change that was not made; `problem` is not none.
answer change_refused_answer(account_problem problem, const std::string& name);
/// Why the last administrator is not changed, for a person.
extern const char* const last_administrator_reason;

/// Runs `work` on the thread that changes accounts and answers with its result; 503 when too much
/// waits there.
void answer_from_access_thread(password_access_control& access,
                               const std::shared_ptr<call>& request, std::function<answer()> work);

}  // namespace dp_redfish

#endif
