#include "redfish/protocol/standard_answers.hpp"

#include <string_view>

#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"
#include "support/json.hpp"

namespace dp_redfish {

answer no_content_answer() {
    return {.status = http_status::no_content, .body = {}};
}

answer not_found_answer(const std::string& type, const std::string& name) {
    return error_answer(http_status::not_found, {{"ResourceNotFound", {type, name}}});
}

answer unavailable_answer(const std::string& reason, const std::string& pause) {
    answer result = error_answer(http_status::unavailable,
                                 {{"ServiceTemporarilyUnavailable", {pause}, {}, reason}});
    result.headers["Retry-After"] = pause;
    return result;
}

std::string refusal_text(unsigned status, const std::string& reason) {
    message text{"GeneralError"};
    if (status == http_status::unavailable) {
        text = {"ServiceTemporarilyUnavailable", {"1"}};
    } else if (status >= http_status::internal_error) {
        text = {"InternalError"};
    }
    text.reason = reason;
    return to_text(error_answer(status, {text}).body, dp_support::json_layout::one_line);
}

answer not_allowed_answer(const identity& caller) {
    if (caller.must_change_password) {
        return error_answer(http_status::forbidden,
                            {{"PasswordChangeRequired", {account_path(caller.user)}}});
    }
    return error_answer(http_status::forbidden, {{"InsufficientPrivilege"}});
}

void add_challenge(answer& refused, const http_request& request) {
    const std::string_view mode = request.header("Sec-Fetch-Mode");
    if (mode.empty() || mode == "navigate") {
        refused.headers["WWW-Authenticate"] = R"(Basic realm="Redfish", charset="UTF-8")";
    }
}

}  // namespace dp_redfish
