#include "support/command_line.hpp"

#include <cstdio>
#include <exception>
#include <iostream>

#include "support/standard_descriptors.hpp"

namespace dp_tools {
namespace {

/// Ends the parsing: prints what was asked for, or what was wrong.
int leave(const CLI::App& app, const CLI::ParseError& error) {
    return app.exit(error) == 0 ? done_if_written(app.get_name()) : exit_code::wrong_usage;
}

}  // namespace

std::optional<int> parse_command_line(CLI::App& app, int argc, const char* const* argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::RequiredError& error) {
        // Who misspelt a word is helped more by that word than by what is missing in its place.
        const auto unknown = app.remaining(true);
        if (!unknown.empty()) {
            return leave(app, CLI::ExtrasError(app.get_name(), {unknown.front()}));
        }
        return leave(app, error);
    } catch (const CLI::ParseError& error) {
        return leave(app, error);
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

int done_if_written(const std::string& program) {
    if (flushed(std::cout)) {
        return exit_code::done;
    }
    std::cerr << program << ": a part of the output could not be written\n";
    return exit_code::failed;
}

}  // namespace dp_tools
