// Arbitrary bytes as a request to the simulated server: every request has one answer, and only a
// restart changes the current values.

#include <chrono>
#include <filesystem>
#include <sstream>
#include <string>

#include "common/fixed_paths.hpp"
#include "host/exchange/server_exchange.hpp"
#include "host/settings_service.hpp"
#include "service_api/server_answer.hpp"
#include "service_api/server_paths.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/scratch_root.hpp"
#include "tests/support/sample_template.hpp"

namespace {

std::string template_text() {
    std::ostringstream text;
    for (const auto& info : test::sample_template()) {
        text << info;
    }
    return text.str();
}

// Started once: what a request leaves must not matter to the next one.
dp_host::settings_service& started_service() {
    static dp_host::settings_service service;
    static const bool is_started = [] {
        const std::string bios = dp::fixed_paths::uefi_template.str();
        fuzzing::write_scratch(bios, "not needed");
        // Older than its text, so nothing has to expand it.
        std::filesystem::last_write_time(
            bios, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
        fuzzing::write_scratch(dp::fixed_paths::uefi_info.str(), template_text());
        const auto started = service.start();
        if (!started) {
            std::fprintf(stderr, "%s\n", started.reason().c_str());
        }
        return started.ok();
    }();
    fuzzing::require(is_started, "the service starts");
    return service;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto& service = started_service();
    dp_host::server_exchange exchange(service);
    const std::string request(data, data + size);
    const std::string current = fuzzing::read_scratch(dp::fixed_paths::uefi_current.str());
    fuzzing::write_scratch(dp_service::server_paths::server_request.str(), request);
    const auto found = exchange.poll(true);
    fuzzing::require(found == dp_host::poll_result::taken, "a request is taken");
    const std::string line = fuzzing::read_scratch(dp_service::server_paths::server_answer.str());
    const auto answer = dp_service::server_answer::parse(line.substr(0, line.find('\n')));
    fuzzing::require(answer.has_value() && line.find('\n') + 1 == line.size(),
                     "the answer is one line");
    fuzzing::require(answer->status != 0 || request.starts_with("restart"),
                     "only a restart succeeds");
    fuzzing::require(answer->status == 0 ||
                         fuzzing::read_scratch(dp::fixed_paths::uefi_current.str()) == current,
                     "a refused request changes nothing");
    return 0;
}
