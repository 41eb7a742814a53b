#include "tests/system/tools/dpctl/fake_service.hpp"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_loader.hpp"
#include "common/quoting.hpp"
#include "tests/system/tools/dpctl/sample_server_files.hpp"

namespace test {
namespace {

std::vector<batch_command> parse_batch(const std::string& text) {
    std::vector<dp::batch_file_entry> entries;
    dp::batch_file_loader loader(&entries);
    std::istringstream in(text);
    loader.read_file(in, nullptr);
    std::vector<batch_command> commands;
    for (const auto& entry : entries) {
        commands.push_back({entry.detail, entry.operation, entry.name.get_name(), entry.value_in});
    }
    return commands;
}

}  // namespace

std::string answer_line(const batch_command& command, unsigned status,
                        const std::string& value_out) {
    return std::to_string(status) + ' ' + command.correlator + " <t> " + command.operation + ' ' +
           command.name + " \"" + dp::add_backslash(command.value) + "\" \"" +
           dp::add_backslash(value_out) + "\" \n";
}

std::string carry_out(const std::vector<batch_command>& commands,
                      const std::map<std::string, unsigned>& statuses) {
    std::map<std::string, std::string> values = pending_values();
    std::string answer;
    for (const auto& command : commands) {
        const auto status = statuses.find(command.name);
        if (command.operation == "get") {
            answer += answer_line(command, 0, values[command.name]);
        } else if (status != statuses.end()) {
            answer += answer_line(command, status->second);
        } else {
            values[command.name] = command.value;
            answer += answer_line(command, 0, command.value);
        }
    }
    store_pending(values);
    return answer;
}

std::string accept_all(const std::vector<batch_command>& commands) {
    return carry_out(commands, {});
}

fake_service::fake_service(answer_function answer)
    : answer_(std::move(answer)), service_([this](service_end& client) { serve(client); }) {}

void fake_service::serve(service_end& client) {
    dp_service::request_protocol::request_header header;
    std::string text;
    if (!client.take_request(header, text)) {
        return;
    }
    // Like a service whose pending values have another version since they were read.
    if (!header.planned_on.empty() && is_changed_meanwhile) {
        client.send("refused 60 0\n");
        return;
    }
    const auto commands = parse_batch(text);
    auto& batch = batches_.emplace_back();
    std::copy_if(commands.begin(), commands.end(), std::back_inserter(batch),
                 [](const batch_command& command) { return command.operation != "get"; });
    client.answer(0, answer_(commands));
}

}  // namespace test
