#include "tests/support/program.hpp"

#include <unistd.h>

#include <cstdlib>

#include "tests/support/scratch_files.hpp"

namespace test {
namespace {

bool enter_root() {
    return chdir(root().c_str()) == 0;
}

}  // namespace

std::string program_path(const std::string& name) {
    // Only once: other threads may read the environment later.
    static const int done = setenv("LD_LIBRARY_PATH", DP_RELOCATABLE_FOLDER, 1);
    static_cast<void>(done);
    return name.starts_with('/') ? name : std::string(DP_PROGRAM_FOLDER) + "/" + name;
}

program_result run_program(const std::string& name, const std::vector<std::string>& arguments) {
    return run_process(program_path(name), {name, arguments}, enter_root);
}

program_result run_program_unprivileged(const std::string& name,
                                        const std::vector<std::string>& arguments) {
    return run_process(program_path(name), {name, arguments},
                       [] { return enter_root() && drop_privileges(); });
}

program_result run_program_as(unsigned user, unsigned group, const std::string& name,
                              const std::vector<std::string>& arguments) {
    return run_process(program_path(name), {name, arguments},
                       [=] { return enter_root() && become(user, group); });
}

}  // namespace test
