#ifndef DP_TOOLS_DPCTL_OUTPUT_TEXT_STYLE_HPP
#define DP_TOOLS_DPCTL_OUTPUT_TEXT_STYLE_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace dpctl {

/// How a text looks on a terminal with colours.
enum class text_style : std::uint8_t {
    plain,
    heading,  ///< bold
    changed,  ///< yellow: a value that waits for a restart
    faint,    ///< what cannot be changed
};

/// `text`, which is `printable`, with the control sequences of the style if the terminal
/// `has_colours`.
std::string styled(std::string_view text, text_style style, bool has_colours);

/// The rows that `text`, complete lines with the sequences of `styled`, takes on a terminal of
/// `columns` columns.
std::size_t rows_on_screen(std::string_view text, std::size_t columns);

}  // namespace dpctl

#endif
