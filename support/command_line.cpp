#include "support/command_line.hpp"

#include "support/program_main.hpp"

namespace dp_support {
namespace {

/// Prints the help that was requested, or what was wrong.
int exit_with(const CLI::App& app, const CLI::ParseError& error) {
    return app.exit(error) == 0 ? done_if_written(app.get_name()) : exit_code::wrong_usage;
}

}  // namespace

std::optional<int> parse_command_line(CLI::App& app, int argc, const char* const* argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::RequiredError& error) {
        // A misspelled word explains more than the required one that is missing because of it.
        const auto unknown = app.remaining(true);
        if (!unknown.empty()) {
            return exit_with(app, CLI::ExtrasError(app.get_name(), {unknown.front()}));
        }
        return exit_with(app, error);
    } catch (const CLI::ParseError& error) {
        return exit_with(app, error);
    }
    return std::nullopt;
}

}  // namespace dp_support
