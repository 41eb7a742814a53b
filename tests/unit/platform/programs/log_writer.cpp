// Prints the settings of its log on standard output, then appends lines to the log.
//
//   log_writer [--defaults SINK MASK] [--repeat N] [LEVEL TEXT]...

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/posix/posix_log.hpp"
#include "platform/sysipc/application_log.hpp"

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() >= 3 && arguments[0] == "--defaults") {
        dp_platform::log_defaults defaults;
        defaults.sink = arguments[1];
        defaults.mask = static_cast<std::uint32_t>(std::strtoul(arguments[2].c_str(), nullptr, 0));
        std::printf("configured %d\n", dp_platform::configure_log(defaults) ? 1 : 0);
        arguments.erase(arguments.begin(), arguments.begin() + 3);
    }
    unsigned long repeat = 1;
    if (arguments.size() >= 2 && arguments[0] == "--repeat") {
        repeat = std::strtoul(arguments[1].c_str(), nullptr, 10);
        arguments.erase(arguments.begin(), arguments.begin() + 2);
    }
    auto* const log = sysipc::application_log::app_streams;
    if (log == nullptr) {
        std::puts("no log");
        return 0;
    }
    std::printf("mask %08x file %d level %u\n", log->mask(), log->file(), log->level());
    std::fflush(stdout);
    for (; repeat != 0; --repeat) {
        for (std::size_t i = 0; i + 1 < arguments.size(); i += 2) {
            log->append(arguments[i], arguments[i + 1]);
        }
    }
    return 0;
}
