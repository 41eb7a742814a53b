#include "transactions/terse_line.hpp"

#include <ostream>

namespace dp {

std::ostream& operator<<(std::ostream& os, const terse_line& line) {
    std::string text = std::to_string(line.status);
    text += ' ';
    text += std::to_string(line.correlator);
    text += ' ';
    text += line.tid;
    text += ' ';
    text += map_operation(line.operation);
    text += ' ';
    text += line.target;
    text += " \"";
    text += line.value_in;
    text += "\" \"";
    text += line.value_out;
    text += "\" ";
    os.width(0);
    return os.write(text.data(), static_cast<std::streamsize>(text.size()));
}

}  // namespace dp
