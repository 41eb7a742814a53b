#include <common/file_locks.hpp>
#include <common/file_utilities.hpp>
#include <common/quoting.hpp>

#include <iostream>

#include "snippets.hpp"

void snippets::common(const std::string& folder) {
    const std::string file = folder + "/note";
    //! [example]
    const writelock lock(file);  // other processes that lock it wait
    if (file_newer_than(file, file + ".copy")) {
        copyfile(file, file + ".copy");
    }
    std::cout << dp::add_quotes(dp::add_backslash("rack \"7\"")) << '\n';
    //! [example]
}
