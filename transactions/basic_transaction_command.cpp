#include "transactions/basic_transaction_command.hpp"

#include <ostream>

#include "transactions/terse_line.hpp"

namespace dp {

void basic_transaction_command::write_terse_output(std::ostream& os) {
    if (tid.empty()) {
        tid = "<none>";
    }
    os << terse_line{status, correlator, tid, operation, name, value_in, value_out};
}

}  // namespace dp
