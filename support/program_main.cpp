#include "support/program_main.hpp"

#include <cstdio>
#include <exception>
#include <iostream>

#include "support/standard_descriptors.hpp"

namespace dp_support {

int guarded_main(const char* program, int (*body)(int, char**), int argc, char** argv) noexcept {
    if (!occupy_standard_descriptors()) {
        static_cast<void>(
            std::fprintf(stderr, "%s: the standard descriptors cannot be opened\n", program));
        return exit_code::failed;
    }
    try {
        return body(argc, argv);
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "%s: %s\n", program, error.what()));
    } catch (...) {
        static_cast<void>(std::fprintf(stderr, "%s: unexpected failure\n", program));
    }
    return exit_code::failed;
}

bool flushed(std::ostream& out) {
    out.flush();
    return out.good();
}

int done_if_written(const std::string& program) {
    if (flushed(std::cout)) {
        return exit_code::done;
    }
    std::cerr << program << ": a part of the output could not be written\n";
    return exit_code::failed;
}

}  // namespace dp_support
