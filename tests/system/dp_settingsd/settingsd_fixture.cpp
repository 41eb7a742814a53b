#include "tests/system/dp_settingsd/settingsd_fixture.hpp"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <sstream>
#include <thread>

#include "batch/batch_file_settings_rdr.hpp"

namespace test {

void settingsd_fixture::expect_refusal(const std::string& line) {
    EXPECT_FALSE(server.start());
    EXPECT_EQ(server.wait(), 1);
    std::istringstream log(service_process::log());
    std::string other_lines;
    for (std::string next; std::getline(log, next);) {
        other_lines += next.find("] LOG ") == std::string::npos ? next + "\n" : "";
    }
    EXPECT_EQ(other_lines, "dp_settingsd: " + line + "\n");
}

std::size_t line_count(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

std::vector<std::string> pending_values() {
    std::vector<std::string> names;
    std::vector<std::string> values;
    dp::batch_file_settings_rdr reader(&names, &values);
    std::stringstream plain;
    EXPECT_TRUE(reader.decompress(service_process::pending(), plain));
    reader.read_file(plain, nullptr);
    return values;
}

void kill_during_batch(service_process& server, const std::string& text,
                       std::chrono::microseconds delay) {
    std::atomic<bool> is_waiting = false;
    std::thread killer([&] {
        is_waiting = true;
        std::this_thread::sleep_for(delay);
        server.send(SIGKILL);
    });
    while (!is_waiting) {
        std::this_thread::yield();
    }
    service_process::write_batch(text);
    killer.join();
    EXPECT_EQ(server.wait(), 128 + SIGKILL);
}

std::chrono::microseconds kill_schedule::next() {
    using ticks = std::chrono::microseconds::rep;
    return std::chrono::microseconds(static_cast<ticks>(random_()) % (longest_.count() + 1));
}

void kill_schedule::adapt(bool was_answered) {
    constexpr std::chrono::microseconds little(100);
    constexpr std::chrono::microseconds most = std::chrono::seconds(20);
    longest_ = was_answered ? longest_ / 2 : std::min(longest_ * 3 + little, most);
}

}  // namespace test
