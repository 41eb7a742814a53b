// usage: many_readers ROUNDS READERS
//
// One process replaces a file of values ROUNDS times, as dp_settingsd does, while READERS other
// processes read it through the C API. All values of a file are equal, so a reader that gets two
// different ones read a mixed file, and one that gets an older value than before went back in time.

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bios/dp_api.h"
#include "common/fixed_paths.hpp"
#include "host/process/replace_under_lock.hpp"
#include "support/staged_file.hpp"
#include "tests/support/scratch_process.hpp"

namespace {

// Long enough that a file takes many reads and writes.
constexpr unsigned settings = 400;

std::string name_of(unsigned setting) {
    return "Many.Setting" + std::to_string(setting);
}

bool write_round(const std::string& path, unsigned round) {
    dp_support::staged_file file(path, dp_support::staged_file::volatile_file);
    for (unsigned i = 0; i < settings; ++i) {
        file.out() << "0 0 uefi set " << name_of(i) << " \"" << round << "\" \"\"\n";
    }
    const auto done = file.complete().and_then([&] { return dp_host::replace_under_lock(file); });
    if (!done) {
        std::fprintf(stderr, "round %u: %s\n", round, done.reason().c_str());
    }
    return done.ok();
}

// Reads until the last round; the number of readings, or 0 when one was wrong.
unsigned long read_until(unsigned last) {
    std::vector<std::string> names;
    std::vector<dp_transaction> requests(settings);
    for (unsigned i = 0; i < settings; ++i) {
        names.push_back(name_of(i));
    }
    unsigned long readings = 0;
    unsigned long newest = 0;
    while (newest < last) {
        if (dp_api_initialize() != 0) {
            return 0;
        }
        for (unsigned i = 0; i < settings; ++i) {
            requests[i] = {};
            requests[i].operation = 1;
            requests[i].name = names[i].c_str();
        }
        const int failed = dp_get_bios_attribute_value(requests.data(), settings, 0);
        dp_api_uninitialize();
        const std::string first = requests[0].value;
        for (const auto& request : requests) {
            if (failed != 0 || first != request.value) {
                std::fprintf(stderr, "mixed: %d values missing, \"%s\" and \"%s\"\n", failed,
                             first.c_str(), request.value);
                return 0;
            }
        }
        const unsigned long round = std::strtoul(first.c_str(), nullptr, 10);
        if (round < newest) {
            std::fprintf(stderr, "round %lu after round %lu\n", round, newest);
            return 0;
        }
        newest = round;
        ++readings;
    }
    return readings;
}

int run(unsigned rounds, unsigned readers) {
    const std::string path = dp::fixed_paths::uefi_settings.str();
    if (!write_round(path, 0)) {
        return 1;
    }
    std::vector<pid_t> children;
    for (unsigned i = 0; i < readers; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            const unsigned long readings = read_until(rounds);
            std::printf("reader %u: %lu readings\n", i, readings);
            std::fflush(stdout);
            _exit(readings == 0 ? 1 : 0);
        }
        children.push_back(child);
    }
    bool is_good = true;
    for (unsigned round = 1; round <= rounds && is_good; ++round) {
        is_good = write_round(path, round);
    }
    // After a failure the readers would wait for the last round for ever.
    is_good = is_good || (write_round(path, rounds), false);
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        is_good = is_good && status == 0;
    }
    std::printf("%u rounds, %u readers: %s\n", rounds, readers,
                is_good ? "no mixed file" : "FAILED");
    return is_good ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: many_readers ROUNDS READERS\n");
        return 2;
    }
    const auto number = [&](int i) {
        return static_cast<unsigned>(std::strtoul(argv[i], nullptr, 10));
    };
    const std::filesystem::path memory = "/dev/shm";
    const bool has_memory = access(memory.c_str(), W_OK) == 0;
    return test::run_in_scratch_process(
        argv, has_memory ? memory : std::filesystem::temp_directory_path(),
        [&] { return run(number(1), number(2)); });
}
