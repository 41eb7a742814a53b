#include "support/command_line.hpp"

#include <cstdio>
#include <exception>
#include <ostream>

#include "contract/standard_descriptors.hpp"

namespace dp_tools {

std::optional<int> parse_command_line(CLI::App& app, int argc, const char* const* argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exit_code::done : exit_code::wrong_usage;
    }
    return std::nullopt;
}

int guarded_main(const char* program, int (*body)(int, char**), int argc, char** argv) noexcept {
    if (!standard_descriptors::occupy()) {
        static_cast<void>(
            std::fprintf(stderr, "%s: the standard descriptors can't be opened\n", program));
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

}  // namespace dp_tools
