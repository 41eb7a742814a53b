#include "redfish/resources/access_answers.hpp"

#include <utility>

#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"

namespace dp_redfish {

const char* const last_administrator_reason =
    "It is the last enabled account with the role Administrator.";

answer try_again_answer() {
    return unavailable_answer({}, "1");
}

answer nothing_changed_answer(std::vector<message> problems) {
    if (problems.empty()) {
        problems.push_back({"NoOperation"});
    }
    return error_answer(http_status::bad_request, problems);
}

answer change_refused_answer(account_problem problem, const std::string& name) {
    switch (problem) {
        case account_problem::no_such_account:
            return not_found_answer("ManagerAccount", name);
        case account_problem::name_taken:
            return error_answer(
                http_status::conflict,
                {{"ResourceAlreadyExists", {"ManagerAccount", "UserName", name}, "/UserName"}});
        case account_problem::too_many_accounts:
            return error_answer(http_status::bad_request, {{"CreateLimitReachedForResource"}});
        case account_problem::precondition_failed:
            return error_answer(http_status::precondition_failed, {{"PreconditionFailed"}});
        case account_problem::no_space:
            return error_answer(http_status::insufficient_storage, {{"InsufficientStorage"}});
        case account_problem::last_administrator:
            return error_answer(http_status::conflict,
                                {{"ResourceCannotBeDeleted", {}, {}, last_administrator_reason}});
        case account_problem::none:
        case account_problem::failed:
            break;
    }
    return error_answer(http_status::internal_error, {{"InternalError"}});
}

void answer_from_access_thread(password_access_control& access,
                               const std::shared_ptr<call>& request, std::function<answer()> work) {
    const bool is_added = access.post([request, work = std::move(work)](worker_thread::modes mode) {
        request->respond(mode == worker_thread::modes::run ? work() : try_again_answer());
    });
    if (!is_added) {
        request->respond(try_again_answer());
    }
}

}  // namespace dp_redfish
