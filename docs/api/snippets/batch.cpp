#include <batch/batch_file_loader.hpp>

#include <iostream>
#include <sstream>

#include "snippets.hpp"

void snippets::batch(const std::string& /*folder*/) {
    //! [example]
    std::istringstream file("0 1 t set Inventory.Tag \"rack 7\" \"\"\n");
    std::vector<dp::batch_file_entry> entries;
    dp::batch_file_loader loader(&entries);
    loader.read_file(file, nullptr);
    std::cout << entries[0].name.get_name() << '=' << entries[0].value_in << '\n';
    //! [example]
}
