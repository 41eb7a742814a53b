#include "tools/dpctl/status/transaction_state.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/status/status_reason.hpp"

namespace dpctl {
namespace {

using dp_support::json_value;

// Whether a status record belongs to a later transaction than the previous ones.
bool starts_another(const status_record& record, const transaction_state& state) {
    return state.is_known && (record.transaction != state.name ||
                              (state.done && record.what == status_record::kind::working));
}

// The message after a failed command contains its name, and its output value in double quotes.
bool add_output(const std::string& message, std::vector<failed_command>& failed) {
    if (failed.empty() || failed.back().output) {
        return false;
    }
    std::string_view text = message;
    if (!text.starts_with(failed.back().name + " \"") || !text.ends_with('"')) {
        return false;
    }
    text.remove_prefix(failed.back().name.size() + 2);
    if (text.empty()) {
        return false;
    }
    text.remove_suffix(1);
    failed.back().output = text;
    return true;
}

void add(const status_record& record, transaction_state& state) {
    state.is_known = true;
    state.name = record.transaction;
    switch (record.what) {
        case status_record::kind::message:
            if (!add_output(record.text, state.failed)) {
                state.messages.push_back(record.text);
            }
            break;
        case status_record::kind::working:
            state.step = record.number;
            break;
        case status_record::kind::error:
            state.failed.push_back({record.text, record.number, std::nullopt});
            break;
        case status_record::kind::done:
            state.done = record;
            break;
        case status_record::kind::outfile:
            state.outfile = record.text;
            break;
    }
}

}  // namespace

std::int64_t transaction_state::missing_failures() const {
    return done ? std::max<std::int64_t>(
                      0, std::int64_t{done->errors} - static_cast<std::int64_t>(failed.size()))
                : 0;
}

transaction_state summarize(const std::vector<status_record>& records) {
    transaction_state state;
    std::size_t earlier = 0;
    for (const auto& record : records) {
        if (record.is_first()) {
            earlier += state.is_known ? 1 : 0;
            state = {};
            continue;
        }
        if (starts_another(record, state)) {
            ++earlier;
            state = {};
        }
        add(record, state);
    }
    state.earlier = earlier;
    state.is_pruned = !records.empty() && !records.front().is_first();
    return state;
}

std::string explain_failure(const failed_command& command) {
    const std::string reason = explain_status(command.status);
    return command.output ? reason + "; its output value is " + in_quotes(*command.output) : reason;
}

std::string describe_progress(const transaction_state& state) {
    if (state.done) {
        return "finished, " + describe_totals(*state.done);
    }
    return state.step ? "running, step " + std::to_string(*state.step) : "running";
}

json_value to_json(const transaction_state& state) {
    auto result = json_value::object({
        {"transaction", state.is_known ? json_value(state.name) : json_value()},
        {"over", state.done.has_value()},
        {"step", state.step},
        {"succeeded_commands", nullptr},
        {"failed_commands", nullptr},
        {"outfile", state.outfile},
        {"earlier_transactions", state.earlier},
        {"pruned", state.is_pruned},
    });
    if (state.done) {
        result.set("succeeded_commands", state.done->succeeded);
        result.set("failed_commands", state.done->errors);
    }
    auto& failed = result.set("failed", json_value::array());
    for (const auto& command : state.failed) {
        failed.push_back(json_value::object({{"name", command.name},
                                             {"status", command.status},
                                             {"reason", explain_status(command.status)},
                                             {"output", command.output}}));
    }
    result.set("messages", state.messages);
    return result;
}

}  // namespace dpctl
