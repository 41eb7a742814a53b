#ifndef DP_TESTS_SUPPORT_RECORDED_STREAM_HPP
#define DP_TESTS_SUPPORT_RECORDED_STREAM_HPP

#include <algorithm>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "redfish/http/http_message.hpp"
#include "support/json.hpp"

namespace test {

/// A stream that keeps what is written, as a client receives it.
class recorded_stream final : public dp_redfish::body_stream {
  public:
    bool write(std::string piece) override {
        const std::lock_guard lock(mutex_);
        text_ += piece;
        return !is_ended_;
    }
    void end() override {
        const std::lock_guard lock(mutex_);
        is_ended_ = true;
    }
    void on_close(std::function<void()> closed) override { closed_ = std::move(closed); }

    /// As when the client closes its connection.
    void close() {
        if (const auto closed = std::exchange(closed_, nullptr)) {
            closed();
        }
    }

    [[nodiscard]] std::string text() const {
        const std::lock_guard lock(mutex_);
        return text_;
    }

    /// The Events that were received.
    [[nodiscard]] std::vector<dp_support::json_value> payloads() const {
        std::vector<dp_support::json_value> all;
        for (const auto& data : fields("data: ")) {
            all.push_back(dp_support::parse_json(data).root);
        }
        return all;
    }

    /// The ids that were received.
    [[nodiscard]] std::vector<std::string> ids() const { return fields("id: "); }

    /// Each event as its message's name and its arguments: "PendingValueChanged Mode UEFI Legacy".
    [[nodiscard]] std::vector<std::string> events() const {
        std::vector<std::string> all;
        for (const auto& payload : payloads()) {
            for (const auto& event : payload.find("Events")->items) {
                const std::string& id = event.find("MessageId")->text;
                std::string line = id.substr(id.rfind('.') + 1);
                for (const auto& argument : event.find("MessageArgs")->items) {
                    line += ' ' + argument.text;
                }
                all.push_back(std::move(line));
            }
        }
        return all;
    }

  private:
    [[nodiscard]] std::vector<std::string> fields(const std::string& name) const {
        std::vector<std::string> values;
        const std::string all = text();
        for (std::size_t begin = 0; begin < all.size();) {
            const std::size_t end = std::min(all.find('\n', begin), all.size());
            if (all.compare(begin, name.size(), name) == 0) {
                values.push_back(all.substr(begin + name.size(), end - begin - name.size()));
            }
            begin = end + 1;
        }
        return values;
    }

    mutable std::mutex mutex_;
    std::string text_;
    bool is_ended_ = false;
    std::function<void()> closed_;
};

}  // namespace test

#endif
