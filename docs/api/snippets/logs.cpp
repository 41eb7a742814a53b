#include <logs/process_log.hpp>

#include <fstream>
#include <iostream>

#include "snippets.hpp"

void snippets::logs(const std::string& folder) {
    const std::string file = folder + "/status";
    //! [example]
    dp::process_log log(file, false);
    log.log_working("update", 1);
    log.log_error("update", "Inventory.Tag", 53);
    log.log_done("update", 1, 2, 1);  // two commands succeeded, one failed
    std::cout << std::ifstream(file).rdbuf();
    //! [example]
}
