#include "tools/dpctl/system/confirmation.hpp"

#include <unistd.h>

#include <cstddef>
#include <iostream>
#include <string>

#include "common/io_loops.hpp"
#include "support/ascii_case.hpp"
#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {

bool can_ask() {
    return isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
}

bool confirm(std::string_view question) {
    constexpr std::size_t longest_answer = 100;
    std::cout.flush();
    std::cerr << printable(question) << " [y/N] " << std::flush;
    std::string answer;
    char c = 0;
    while (c != '\n' && answer.size() < longest_answer) {
        if (dp::read_some(STDIN_FILENO, &c, 1) != 1) {
            std::cerr << '\n';
            return false;
        }
        if (c != '\n' && c != '\r') {
            answer += c;
        }
    }
    answer = dp_support::lower_case(answer);
    return answer == "y" || answer == "yes";
}

}  // namespace dpctl
