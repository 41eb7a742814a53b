#include "redfish/resources/task_store.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "redfish/protocol/messages.hpp"

namespace {

using dp_redfish::answer;
using dp_redfish::deferred_task;
using dp_redfish::identity;
using dp_redfish::roles;
using dp_redfish::task_store;
using testing::ElementsAre;
using namespace std::chrono_literals;

class task_store_test : public testing::Test {
  protected:
    task_store_test() {
        task_store::options options;
        options.most = 2;
        options.now = [this] { return now; };
        options.report = [this](const char* message, const deferred_task& task) {
            reported.push_back(message + (' ' + std::to_string(task.id)));
        };
        tasks = std::make_unique<task_store>(std::move(options));
    }

    // Accepts an operation; its number, from 1 on, is the task's.
    dp_redfish::deferred_operations::accepted_operation accept() {
        dp_redfish::http_request request;
        request.method = "POST";
        request.path = "/x";
        return tasks->accept({"eve", roles::operator_role, {}}, request);
    }

    // An operation that runs; what takes its answer.
    std::function<void(answer)> begin() {
        auto accepted = accept();
        status = accepted.answer_now.status;
        if (accepted.begin) {
            EXPECT_TRUE(accepted.begin());
        }
        return accepted.finish;
    }

    std::chrono::steady_clock::time_point now{};
    std::vector<std::string> reported;
    unsigned status = 0;
    std::unique_ptr<task_store> tasks;
};

TEST_F(task_store_test, keeps_the_answer_of_an_operation) {
    const auto finish = begin();
    EXPECT_EQ(status, 202U);
    EXPECT_EQ(tasks->find("1")->state, deferred_task::states::running);
    EXPECT_EQ(task_monitor_answer(*tasks->find("1")).headers.at("Location"),
              task_monitor_path(*tasks->find("1")));
    EXPECT_FALSE(task_monitor_answer(*tasks->find("1")).headers.contains("Retry-After"));
    finish({.status = 204, .body = {}});
    EXPECT_EQ(task_monitor_answer(*tasks->find("1")).status, 204U);
    EXPECT_EQ(task_json(*tasks->find("1")).find("TaskState")->text, "Completed");
    EXPECT_THAT(reported, ElementsAre("TaskStarted 1", "TaskCompletedOK 1"));
}

TEST_F(task_store_test, shows_the_messages_of_an_operation_that_failed) {
    begin()(dp_redfish::error_answer(400, {{"PropertyUnknown", {"A"}}, {"EmptyJSON"}}));
    const auto body = task_json(*tasks->find("1"));
    EXPECT_EQ(body.find("TaskState")->text, "Exception");
    EXPECT_EQ(body.find("Messages")->items.size(), 2U);
    EXPECT_EQ(reported.back(), "TaskAborted 1");
}

TEST_F(task_store_test, forgets_tasks_that_were_done_long_ago) {
    const auto running = begin();
    begin()({});
    now += 9min;
    EXPECT_EQ(tasks->list().size(), 2U);
    now += 1min;
    ASSERT_EQ(tasks->list().size(), 1U);
    EXPECT_EQ(tasks->list()[0]->id, 1U);
}

TEST_F(task_store_test, has_a_limit_for_which_done_tasks_give_way) {
    const auto one = begin();
    const auto two = begin();
    EXPECT_EQ(begin(), nullptr);
    EXPECT_EQ(status, 503U);
    two({});
    EXPECT_NE(begin(), nullptr);
    EXPECT_EQ(tasks->find("2"), nullptr);
    EXPECT_NE(tasks->find("1"), nullptr);
}

TEST_F(task_store_test, shows_an_operation_that_waits_as_pending) {
    const auto accepted = accept();
    const auto waiting = task_json(*tasks->find("1"));
    EXPECT_EQ(waiting.find("TaskState")->text, "Pending");
    EXPECT_EQ(waiting.find("PercentComplete")->integer, 0);
    EXPECT_EQ(waiting.find("StartTime"), nullptr);
    EXPECT_THAT(reported, ElementsAre());
    EXPECT_TRUE(accepted.begin());
    const auto running = task_json(*tasks->find("1"));
    EXPECT_EQ(running.find("TaskState")->text, "Running");
    EXPECT_EQ(running.find("PercentComplete"), nullptr);
    EXPECT_NE(running.find("StartTime"), nullptr);
    EXPECT_THAT(reported, ElementsAre("TaskStarted 1"));
}

TEST_F(task_store_test, cancels_an_operation_that_did_not_begin) {
    const auto accepted = accept();
    EXPECT_TRUE(tasks->remove("1"));
    EXPECT_FALSE(accepted.begin());
    accepted.finish({});
    EXPECT_EQ(tasks->find("1"), nullptr);
    EXPECT_THAT(reported, ElementsAre("TaskCancelled 1"));
}

TEST_F(task_store_test, does_not_remove_an_operation_that_runs) {
    const auto finish = begin();
    EXPECT_FALSE(tasks->remove("1"));
    finish({});
    EXPECT_TRUE(tasks->remove("1"));
    EXPECT_FALSE(tasks->remove("1"));
    for (const char* const id : {"", "0", "x", "01x", "-1", "99999999999999999999999"}) {
        EXPECT_EQ(tasks->find(id), nullptr) << id;
    }
    finish({});
    EXPECT_EQ(reported.back(), "TaskRemoved 1");
}

}  // namespace
