#ifndef DP_REDFISH_RESOURCES_TASK_STORE_HPP
#define DP_REDFISH_RESOURCES_TASK_STORE_HPP

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "redfish/access/identity.hpp"
#include "redfish/protocol/call.hpp"
#include "redfish/protocol/deferred_operations.hpp"
#include "support/json.hpp"

namespace dp_redfish {

/// An operation that goes on after its request was answered, or went on. Never changes.
struct deferred_task {
    std::uint64_t id = 0;
    identity owner;
    std::string name;          ///< "PATCH /redfish/v1/Systems/system/Bios/Settings"
    std::int64_t started = 0;  ///< seconds since 1970
    std::int64_t ended = 0;    ///< the same
    enum class states : std::uint8_t { pending, running, done };
    states state = states::pending;
    answer result{};  ///< the operation's own answer, when it is done
};

using task_pointer = std::shared_ptr<const deferred_task>;

/// The tasks of the service. Those that are done are kept for a while. Can be used from any thread.
class task_store final : public deferred_operations {
  public:
    struct options {
        std::size_t most = 64;  ///< tasks, of which those that are done give way to new ones
        std::chrono::minutes kept{10};  ///< for how long those that are done are kept
        std::function<std::chrono::steady_clock::time_point()> now = std::chrono::steady_clock::now;
        /// Called with a message of the registry TaskEvent: "TaskStarted". Empty: nobody.
        std::function<void(const char* message, const deferred_task&)> report{};
    };

    task_store() : task_store(options{}) {}
    explicit task_store(options chosen) : options_(std::move(chosen)) {}

    accepted_operation accept(const identity& caller, const http_request& request) override;

    /// All tasks, the oldest first.
    std::vector<task_pointer> list();
    /// Null when there is none with this id.
    task_pointer find(const std::string& id);
    /// Removes a task. One that did not begin is thereby cancelled. False when it is running, or
    /// when there is none.
    bool remove(const std::string& id);

  private:
    struct entry {
        task_pointer task;
        std::chrono::steady_clock::time_point ended;
    };

    bool begin(std::uint64_t id);
    void finish(std::uint64_t id, answer result);
    void forget_old_ones();
    [[nodiscard]] bool evict_if_full();
    void report(const char* message, const deferred_task& task) const;

    options options_;
    std::mutex mutex_;
    std::uint64_t last_id_ = 0;
    std::map<std::uint64_t, entry> tasks_;
};

/// The path of a task, and of its monitor.
/// @{
std::string task_path(const deferred_task& task);
std::string task_monitor_path(const deferred_task& task);
/// @}

/// The task as a resource.
dp_support::json_value task_json(const deferred_task& task);

/// The answer to who asks for the result of a task: that of the operation, or 202 while it is not
/// done.
answer task_monitor_answer(const deferred_task& task);

}  // namespace dp_redfish

#endif
