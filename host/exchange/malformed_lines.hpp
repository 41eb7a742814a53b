#ifndef DP_HOST_EXCHANGE_MALFORMED_LINES_HPP
#define DP_HOST_EXCHANGE_MALFORMED_LINES_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "batch/dropped_line_listener.hpp"
#include "transactions/basic_transaction_command.hpp"
#include "transactions/transaction_command.hpp"

namespace dp_host {

/// A longer line of a batch, in bytes, is malformed.
inline constexpr std::uint32_t longest_batch_line = 64 * 1024;

/// A failed answer to a line: its correlator, tid, operation and name, as far as the line has them.
dp::basic_transaction_command answer_to_line(std::string_view line, std::int32_t status);

/// The lines of a batch that are no commands, and the answers to them. The reader drops these
/// lines.
class malformed_lines final : public dp::dropped_line_listener {
  public:
    struct malformed_line {
        std::size_t position;  ///< number of commands before it
        dp::basic_transaction_command answer;
    };

    /// `commands` are those that the reader has made so far; not owned.
    explicit malformed_lines(const std::vector<dp::transaction_command>& commands)
        : commands_(commands) {}

    void on_dropped_line(std::string_view line) override;

    /// In the order of the file.
    [[nodiscard]] const std::vector<malformed_line>& all() const { return all_; }

  private:
    const std::vector<dp::transaction_command>& commands_;
    std::vector<malformed_line> all_;
};

}  // namespace dp_host

#endif
