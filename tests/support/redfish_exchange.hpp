#ifndef DP_TESTS_SUPPORT_REDFISH_EXCHANGE_HPP
#define DP_TESTS_SUPPORT_REDFISH_EXCHANGE_HPP

#include <algorithm>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "redfish/access/access_control.hpp"
#include "redfish/http/http_message.hpp"
#include "redfish/protocol/gateway.hpp"
#include "support/json.hpp"
#include "tests/support/eventually.hpp"

namespace test {

/// Decides as the test says.
class fixed_access final : public dp_redfish::access_control {
  public:
    decision next{decision::states::known, {"admin", dp_redfish::roles::administrator, {}}};
    int asked = 0;

    void identify(std::shared_ptr<const dp_redfish::http_request> /*request*/,
                  std::function<void(decision)> done) override {
        ++asked;
        done(next);
    }
};

/// A response with its body as JSON.
struct redfish_response {
    unsigned status = 0;
    dp_redfish::header_fields headers;
    std::string text;
    dp_support::json_value body;

    [[nodiscard]] std::string header(std::string_view name) const {
        const auto found = headers.find(name);
        return found == headers.end() ? std::string() : found->second;
    }

    /// The ids of the messages, without the registry's name.
    [[nodiscard]] std::vector<std::string> messages() const {
        std::vector<std::string> ids;
        const auto* const error = body.find("error");
        const auto* const list = (error == nullptr ? body : *error).find("@Message.ExtendedInfo");
        if (list != nullptr) {
            for (const auto& entry : list->items) {
                const std::string& id = entry.find("MessageId")->text;
                ids.push_back(id.substr(id.rfind('.') + 1));
            }
        }
        return ids;
    }

    /// The JSON pointers of the messages.
    [[nodiscard]] std::vector<std::string> pointers() const {
        std::vector<std::string> all;
        const auto* const error = body.find("error");
        const auto* const list = error == nullptr ? nullptr : error->find("@Message.ExtendedInfo");
        if (list != nullptr) {
            for (const auto& entry : list->items) {
                const auto* const related = entry.find("RelatedProperties");
                all.push_back(related == nullptr ? "" : related->items.front().text);
            }
        }
        return all;
    }
};

/// A request without a body.
inline dp_redfish::http_request request_of(std::string method, const std::string& target) {
    dp_redfish::http_request request;
    request.method = std::move(method);
    const std::size_t mark = target.find('?');
    request.path = target.substr(0, mark);
    if (mark != std::string::npos) {
        for (std::size_t begin = mark + 1; begin <= target.size();) {
            const std::size_t end = std::min(target.find('&', begin), target.size());
            const std::string part = target.substr(begin, end - begin);
            const std::size_t equals = part.find('=');
            request.query.emplace_back(part.substr(0, equals), equals == std::string::npos
                                                                   ? std::string()
                                                                   : part.substr(equals + 1));
            begin = end + 1;
        }
    }
    request.peer = "127.0.0.1";
    return request;
}

/// Sends a request and waits for its answer; status 0 if none comes within `patience`.
inline redfish_response exchange(dp_redfish::http_handler& handler,
                                 dp_redfish::http_request request) {
    const auto answered = std::make_shared<std::promise<dp_redfish::http_response>>();
    auto future = answered->get_future();
    handler.handle(std::make_shared<const dp_redfish::http_request>(std::move(request)),
                   [answered](dp_redfish::http_response response) {
                       answered->set_value(std::move(response));
                   });
    redfish_response result;
    if (future.wait_for(patience) != std::future_status::ready) {
        return result;
    }
    const auto response = future.get();
    result.status = response.status;
    result.headers = response.headers;
    result.text = response.body == nullptr ? "" : *response.body;
    result.body = dp_support::parse_json(result.text).root;
    return result;
}

inline redfish_response get(dp_redfish::http_handler& handler, const std::string& target) {
    return exchange(handler, request_of("GET", target));
}

/// Sends a JSON body, with If-Match if `etag` is not empty.
inline redfish_response send(dp_redfish::http_handler& handler, std::string method,
                             const std::string& target, std::string body,
                             const std::string& etag = {}) {
    auto request = request_of(std::move(method), target);
    request.headers["Content-Type"] = "application/json";
    if (!etag.empty()) {
        request.headers["If-Match"] = etag;
    }
    request.body = std::move(body);
    return exchange(handler, std::move(request));
}

}  // namespace test

#endif
