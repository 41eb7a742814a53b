#include "support/terminal.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "support/decimal.hpp"

namespace dp_support {
namespace {

std::string_view text_of_variable(const char* name) {
    const char* const text = std::getenv(name);
    return text == nullptr ? std::string_view() : std::string_view(text);
}

std::size_t size_or_default(unsigned short reported, const char* variable, std::size_t otherwise) {
    if (reported != 0) {
        return reported;
    }
    const auto number = decimal::parse<std::uint16_t>(text_of_variable(variable));
    return number && *number != 0 ? *number : otherwise;
}

bool are_colours_wanted() {
    const std::string_view type = text_of_variable("TERM");
    return text_of_variable("NO_COLOR").empty() && !type.empty() && type != "dumb";
}

}  // namespace

terminal terminal_of(int descriptor) {
    constexpr std::size_t usual_columns = 80;
    constexpr std::size_t usual_rows = 24;
    if (isatty(descriptor) != 1) {
        return {};
    }
    winsize size{};
    static_cast<void>(ioctl(descriptor, TIOCGWINSZ, &size));
    return {size_or_default(size.ws_col, "COLUMNS", usual_columns),
            size_or_default(size.ws_row, "LINES", usual_rows), are_colours_wanted()};
}

}  // namespace dp_support
