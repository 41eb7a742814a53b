#ifndef DP_REDFISH_RESOURCES_ACCESS_ANSWERS_HPP
#define DP_REDFISH_RESOURCES_ACCESS_ANSWERS_HPP

#include <functional>
#include <memory>
#include <string>

#include "redfish/access/account_store.hpp"
#include "redfish/access/password_access_control.hpp"
#include "redfish/protocol/call.hpp"

namespace dp_redfish {

/// 503 with Retry-After.
answer try_again_answer();
/// 404 for a resource that a collection does not have.
answer not_found_answer(const std::string& type, const std::string& name);
/// 403.
answer not_allowed_answer();
/// 204.
answer no_content_answer();

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
