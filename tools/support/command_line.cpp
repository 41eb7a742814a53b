#include "support/command_line.hpp"

#include <ostream>

namespace dp_tools {

std::optional<int> parse_command_line(CLI::App& app, int argc, const char* const* argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exit_code::done : exit_code::wrong_usage;
    }
    return std::nullopt;
}

bool flushed(std::ostream& out) {
    out.flush();
    return out.good();
}

}  // namespace dp_tools
