#include "redfish/resources/task_store.hpp"

#include <algorithm>
#include <ctime>
#include <optional>

#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "support/decimal.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

// What the operation's answer says, for the task.
json_value messages_of(const answer& result) {
    const json_value* const error = result.body.find("error");
    const json_value* const list =
        (error == nullptr ? result.body : *error).find("@Message.ExtendedInfo");
    json_value messages = json_value::array();
    if (list != nullptr && list->kind == json_kind::array) {
        for (const auto& each : list->items) {
            messages.push_back(each);
        }
    } else {
        messages.push_back(message_json({"Success"}));
    }
    return messages;
}

bool has_ended(const deferred_task& task) {
    return task.state == deferred_task::states::done;
}

bool has_failed(const deferred_task& task) {
    return task.result.status >= http_status::bad_request;
}

}  // namespace

task_store::accepted_operation task_store::accept(const identity& caller,
                                                  const http_request& request) {
    auto task = std::make_shared<deferred_task>();
    {
        const std::lock_guard lock(mutex_);
        if (!evict_if_full()) {
            return {unavailable_answer("There are too many tasks."), {}};
        }
        task->id = ++last_id_;
        task->owner = caller;
        task->name = request.method + ' ' + request.path;
        tasks_[task->id] = {task, {}};
    }
    answer accepted = task_monitor_answer(*task);
    accepted.headers["Preference-Applied"] = "respond-async";
    return {std::move(accepted),
            [this, id = task->id](answer result) { finish(id, std::move(result)); },
            [this, id = task->id] { return begin(id); }};
}

// Whether the task was not cancelled before.
bool task_store::begin(std::uint64_t id) {
    auto running = std::make_shared<deferred_task>();
    {
        const std::lock_guard lock(mutex_);
        const auto found = tasks_.find(id);
        if (found == tasks_.end()) {
            return false;
        }
        *running = *found->second.task;
        running->state = deferred_task::states::running;
        running->started = std::time(nullptr);
        found->second.task = running;
    }
    report("TaskStarted", *running);
    return true;
}

void task_store::finish(std::uint64_t id, answer result) {
    auto done = std::make_shared<deferred_task>();
    {
        const std::lock_guard lock(mutex_);
        const auto found = tasks_.find(id);
        if (found == tasks_.end()) {
            return;
        }
        *done = *found->second.task;
        done->ended = std::time(nullptr);
        // An operation that failed before it waited for anything never began.
        if (done->state == deferred_task::states::pending) {
            done->started = done->ended;
        }
        done->state = deferred_task::states::done;
        done->result = std::move(result);
        found->second = {done, options_.now()};
    }
    report(has_failed(*done) ? "TaskAborted" : "TaskCompletedOK", *done);
}

void task_store::report(const char* message, const deferred_task& task) const {
    if (options_.report) {
        options_.report(message, task);
    }
}

// The mutex is locked, here and below.
void task_store::forget_old_ones() {
    const auto now = options_.now();
    std::erase_if(tasks_, [&](const auto& each) {
        return has_ended(*each.second.task) && now - each.second.ended >= options_.kept;
    });
}

// Whether there can be one more task; removes the one that was done first if needed.
bool task_store::evict_if_full() {
    forget_old_ones();
    if (tasks_.size() < options_.most) {
        return true;
    }
    const auto is_first = [](const auto& a, const auto& b) {
        const bool a_is_done = has_ended(*a.second.task);
        const bool b_is_done = has_ended(*b.second.task);
        return a_is_done != b_is_done ? a_is_done : a.second.ended < b.second.ended;
    };
    const auto first = std::min_element(tasks_.begin(), tasks_.end(), is_first);
    if (first == tasks_.end() || !has_ended(*first->second.task)) {
        return false;
    }
    tasks_.erase(first);
    return true;
}

std::vector<task_pointer> task_store::list() {
    const std::lock_guard lock(mutex_);
    forget_old_ones();
    std::vector<task_pointer> all;
    all.reserve(tasks_.size());
    for (const auto& [id, each] : tasks_) {
        all.push_back(each.task);
    }
    return all;
}

task_pointer task_store::find(const std::string& id) {
    const auto number = dp_support::decimal::parse<std::uint64_t>(id);
    const std::lock_guard lock(mutex_);
    forget_old_ones();
    const auto found = number ? tasks_.find(*number) : tasks_.end();
    return found == tasks_.end() ? nullptr : found->second.task;
}

bool task_store::remove(const std::string& id) {
    const auto number = dp_support::decimal::parse<std::uint64_t>(id);
    task_pointer task;
    {
        const std::lock_guard lock(mutex_);
        forget_old_ones();
        const auto found = number ? tasks_.find(*number) : tasks_.end();
        if (found == tasks_.end() || found->second.task->state == deferred_task::states::running) {
            return false;
        }
        task = found->second.task;
        tasks_.erase(found);
    }
    report(has_ended(*task) ? "TaskRemoved" : "TaskCancelled", *task);
    return true;
}

std::string task_path(const deferred_task& task) {
    return std::string(resource_paths::tasks) + '/' + std::to_string(task.id);
}

std::string task_monitor_path(const deferred_task& task) {
    return std::string(resource_paths::task_monitors) + '/' + std::to_string(task.id);
}

json_value task_json(const deferred_task& task) {
    json_value body = start_resource(task_path(task), "Task", std::to_string(task.id), task.name);
    body.set("TaskMonitor", task_monitor_path(task));
    body.set("HidePayload", true);
    if (task.state == deferred_task::states::pending) {
        body.set("TaskState", "Pending");
        body.set("TaskStatus", "OK");
        body.set("PercentComplete", 0);
        body.set("Messages", json_value::array());
        return body;
    }
    body.set("StartTime", time_text(task.started));
    if (task.state == deferred_task::states::running) {
        // How much of it is done is not known.
        body.set("TaskState", "Running");
        body.set("TaskStatus", "OK");
        body.set("Messages", json_value::array());
        return body;
    }
    body.set("EndTime", time_text(task.ended));
    body.set("TaskState", has_failed(task) ? "Exception" : "Completed");
    body.set("TaskStatus", has_failed(task) ? "Critical" : "OK");
    body.set("PercentComplete", 100);
    body.set("Messages", messages_of(task.result));
    return body;
}

answer task_monitor_answer(const deferred_task& task) {
    if (has_ended(task)) {
        return task.result;
    }
    answer accepted{.status = http_status::accepted, .body = task_json(task)};
    // Without Retry-After clients wait a second; sushy 4.3 of Debian 12 fails with the header.
    accepted.headers["Location"] = task_monitor_path(task);
    return accepted;
}

}  // namespace dp_redfish
