#ifndef DP_TESTS_SUPPORT_APPLYING_SERVICE_HPP
#define DP_TESTS_SUPPORT_APPLYING_SERVICE_HPP

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>

#include "service_api/request_protocol.hpp"
#include "service_api/service_status.hpp"
#include "service_api/values_seal.hpp"
#include "tests/support/fake_request_service.hpp"
#include "tests/support/shown_server.hpp"

namespace test {

/// A settings service on the request socket that makes every change, in the files of a
/// `shown_server`, without checking values.
class applying_service {
  public:
    /// `pending` is what the file of pending values has.
    explicit applying_service(shown_server::values pending)
        : values_(std::move(pending)), socket_([this](service_end& peer) { talk(peer); }) {}

    /// Set before requests are sent.
    /// @{
    std::map<std::string, int> refusals;        ///< statuses of settings that are refused
    std::function<void()> before_next_request;  ///< called once, before the request is examined
    bool dies = false;                          ///< makes the change, but does not answer
    /// @}

    [[nodiscard]] int batches() const { return batches_; }
    [[nodiscard]] int restarts() const { return restarts_; }
    /// The person for whom the last request was made.
    [[nodiscard]] std::string last_on_behalf_of() const {
        const std::lock_guard lock(mutex_);
        return last_on_behalf_of_;
    }

    /// Changes a value as another client does.
    void set(const std::string& name, const std::string& value) {
        values_[name] = value;
        shown_server::set_pending(values_);
    }

  private:
    void talk(service_end& peer) {
        namespace kinds = dp_service::request_protocol::request_kind;
        dp_service::request_protocol::request_header header;
        std::string text;
        if (!peer.take_request(header, text)) {
            return;
        }
        {
            const std::lock_guard lock(mutex_);
            last_on_behalf_of_ = header.on_behalf_of;
        }
        if (auto call = std::exchange(before_next_request, nullptr)) {
            call();
        }
        const auto version = dp_service::values_seal::version_of(shown_server::pending_path());
        if (!header.planned_on.empty() && header.planned_on != version) {
            peer.send("refused " + std::to_string(dp_service::service_status::pending_changed) +
                      " 0\n");
        } else if (header.kind == kinds::restart) {
            ++restarts_;
            shown_server::set_current(values_);
            peer.answer(0, "");
        } else {
            ++batches_;
            const std::string lines = run(text);
            if (!dies) {
                peer.answer(0, lines);
            }
        }
    }

    std::string run(const std::string& text) {
        std::istringstream in(text);
        std::string answer;
        for (std::string line; std::getline(in, line);) {
            std::istringstream words(line);
            std::string zero;
            std::string number;
            std::string transaction;
            std::string operation;
            std::string name;
            words >> zero >> number >> transaction >> operation >> name;
            const std::string value = first_quoted(line);
            const auto refusal = refusals.find(name);
            const int status = refusal == refusals.end() ? 0 : refusal->second;
            if (status == 0 && operation == "delete") {
                values_.erase(name);
            } else if (status == 0) {
                values_[name] = value;
            }
            answer += std::to_string(status);
            answer += ' ' + number + ' ' + transaction + ' ' + operation + ' ' + name;
            answer += " \"\" \"\" \n";
        }
        shown_server::set_pending(values_);
        return answer;
    }

    static std::string first_quoted(const std::string& line) {
        std::string value;
        for (std::size_t i = line.find('"') + 1; i < line.size() && line[i] != '"'; ++i) {
            i += line[i] == '\\' ? 1U : 0U;
            value += line[i];
        }
        return value;
    }

    shown_server::values values_;
    mutable std::mutex mutex_;
    std::string last_on_behalf_of_;
    std::atomic<int> batches_ = 0;
    std::atomic<int> restarts_ = 0;
    fake_request_service socket_;  // last: its thread uses the others
};

}  // namespace test

#endif
