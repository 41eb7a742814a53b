#include "tests/system/tools/dpctl/fake_service.hpp"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <utility>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_loader.hpp"
#include "common/quoting.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/replace_file.hpp"
#include "tests/system/tools/dpctl/server_files.hpp"

namespace test {
namespace {

std::string batch_path() {
    return root() + "/tmp/dp/batch";
}

std::vector<batch_command> read_batch() {
    std::vector<dp::batch_file_entry> entries;
    dp::batch_file_loader loader(&entries);
    std::ifstream in(batch_path());
    loader.read_file(in, nullptr);
    std::vector<batch_command> commands;
    for (const auto& entry : entries) {
        commands.push_back({entry.detail, entry.operation, entry.name.get_name(), entry.value_in});
    }
    return commands;
}

}  // namespace

std::string answer_line(const batch_command& command, unsigned status) {
    return std::to_string(status) + ' ' + command.correlator + " <cim-0> " + command.operation +
           ' ' + command.name + " \"" + dp::add_backslash(command.value) + "\" \"\" \n";
}

std::string accept_all(const std::vector<batch_command>& commands) {
    std::string answer;
    std::map<std::string, std::string> values;
    for (const auto& command : commands) {
        values[command.name] = command.value;
        answer += answer_line(command, 0);
    }
    store_pending(values);
    return answer;
}

fake_service::fake_service(std::size_t length, answer_function answer)
    : length_(length), answer_(std::move(answer)), thread_([this] { serve(); }) {}

fake_service::~fake_service() {
    stop_ = true;
    thread_.join();
}

void fake_service::serve() {
    while (!stop_) {
        const auto commands = read_batch();
        if (commands.size() == length_) {
            std::filesystem::remove(batch_path());
            batches_.push_back(commands);
            replace_file(root() + "/tmp/dp/batch.out", answer_(commands));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

}  // namespace test
