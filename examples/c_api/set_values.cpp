// Changes BIOS attributes through the C API: set_values COLLECTION.ATTRIBUTE=VALUE...
//
// All users of the C API share one batch file and one result file, so each change is made under the
// exchange lock. Without it, two programs that change values at the same time may read each other's
// results.
#include <bios/dp_api.h>
#include <common/quoting.hpp>
#include <service_api/exchange_lock.hpp>
#include <transactions/operations.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

// The status of a request for which the service reported no failure.
constexpr std::uint32_t unanswered = 255;

struct change {
    std::string name;
    std::string value;  // escaped
};

bool make_changes(const std::vector<change>& changes) {
    std::vector<dp_transaction> requests(changes.size());
    for (std::size_t i = 0; i < changes.size(); ++i) {
        requests[i].operation = dp::op_set;
        requests[i].name = changes[i].name.c_str();
        requests[i].new_value = changes[i].value.c_str();
        requests[i].status = unanswered;
    }
    const auto count = static_cast<unsigned>(requests.size());
    int result = 0;
    {
        dp_service::exchange_lock lock;
        lock.acquire();
        result = dp_set_bios_attribute_value(requests.data(), count);
    }
    if (result == -1) {
        std::fprintf(stderr, "the settings service did not answer\n");
        return false;
    }
    bool is_complete = true;
    for (const dp_transaction& request : requests) {
        if (request.status != unanswered) {
            std::fprintf(stderr, "%s: status %u\n", request.name, request.status);
            is_complete = false;
        }
    }
    // The answer does not confirm each change, but the settings file does. The C API reads it again
    // after every batch.
    for (dp_transaction& request : requests) {
        request.operation = dp::op_get;
    }
    dp_get_bios_attribute_value(requests.data(), count, 0);
    for (const dp_transaction& request : requests) {
        std::printf("%s=%s\n", request.name, request.value);
    }
    return is_complete;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<change> changes;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const std::size_t equals = argument.find('=');
        if (equals == std::string::npos) {
            std::fprintf(stderr, "usage: set_values COLLECTION.ATTRIBUTE=VALUE...\n");
            return 2;
        }
        // The C API writes a value as it is between quotes; the service undoes escapes.
        changes.push_back(
            {argument.substr(0, equals), dp::add_backslash(argument.substr(equals + 1))});
    }
    dp_api_initialize();
    const bool is_done = changes.empty() || make_changes(changes);
    dp_api_uninitialize();
    return is_done ? 0 : 1;
}
