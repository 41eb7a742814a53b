// Changes settings through the settings service's request socket:
// change_settings COLLECTION.ATTRIBUTE=VALUE...
//
// Other than with the C API, requests wait for their turn, and the program always learns whether
// its request was executed.
#include <service_api/service_status.hpp>
#include <service_api/settings_client.hpp>

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    using dp_service::settings_client;
    std::vector<settings_client::change> changes;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const std::size_t equals = argument.find('=');
        if (equals == std::string::npos) {
            std::cerr << "usage: change_settings COLLECTION.ATTRIBUTE=VALUE...\n";
            return 2;
        }
        settings_client::change change;
        change.name = argument.substr(0, equals);
        change.value = argument.substr(equals + 1);
        changes.push_back(change);
    }
    settings_client client;
    client.on_waiting = [](std::uint32_t ahead) { std::cerr << ahead << " requests ahead\n"; };
    const settings_client::result result = client.change_settings(changes);
    if (result.state != settings_client::states::answered) {
        std::cerr << result.reason << '\n';
        return 1;
    }
    int exit_code = 0;
    for (const auto& change : changes) {
        if (change.status == 0) {
            std::cout << change.name << '=' << change.stored << '\n';
        } else {
            std::cerr << change.name << ": "
                      << dp_service::service_status::explanation(change.status) << '\n';
            exit_code = 1;
        }
    }
    return exit_code;
}
