#include <fstream>
#include <iostream>
#include <string>

#include "service_api/change_record.hpp"
#include "service_api/server_paths.hpp"

// Lists the changes that the settings service made, oldest first.

int main() {
    std::ifstream history(dp_service::server_paths::history.str());
    for (std::string line; std::getline(history, line);) {
        if (const auto change = dp_service::change_record::parse(line)) {
            std::cout << change->target << (change->value ? " = " + *change->value : " deleted")
                      << " by " << change->who << '\n';
        }
    }
}
