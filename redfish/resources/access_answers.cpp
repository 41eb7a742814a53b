#include "redfish/resources/access_answers.hpp"

#include <utility>

#include "redfish/protocol/messages.hpp"

namespace dp_redfish {

const char* const last_administrator_reason =
    "It is the last enabled account with the role Administrator.";
answer try_again_answer() {
    answer busy = error_answer(503, {{"ServiceTemporarilyUnavailable", {"1"}}});
    busy.headers["Retry-After"] = "1";
    return busy;
}

answer not_found_answer(const std::string& type, const std::string& name) {
    return error_answer(404, {{"ResourceNotFound", {type, name}}});
}

answer not_allowed_answer() {
    return error_answer(403, {{"InsufficientPrivilege"}});
}

answer no_content_answer() {
    answer done;
    done.status = 204;
    return done;
}

answer change_refused_answer(account_problem problem, const std::string& name) {
    switch (problem) {
        case account_problem::no_such_account:
            return not_found_answer("ManagerAccount", name);
        case account_problem::name_taken:
            return error_answer(
                409,
                {{"ResourceAlreadyExists", {"ManagerAccount", "UserName", name}, "/UserName"}});
        case account_problem::too_many_accounts:
            return error_answer(400, {{"CreateLimitReachedForResource"}});
        case account_problem::precondition_failed:
            return error_answer(412, {{"PreconditionFailed"}});
        case account_problem::no_space:
            return error_answer(507, {{"InsufficientStorage"}});
        case account_problem::last_administrator:
            return error_answer(409,
                                {{"ResourceCannotBeDeleted", {}, {}, last_administrator_reason}});
        case account_problem::none:
        case account_problem::failed:
            break;
    }
    return error_answer(500, {{"InternalError"}});
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
