#ifndef DP_HOST_EXCHANGE_MALFORMED_LINES_HPP
#define DP_HOST_EXCHANGE_MALFORMED_LINES_HPP

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "batch/dropped_line_listener.hpp"
#include "transactions/basic_transaction_command.hpp"
#include "transactions/transaction_command.hpp"

namespace dp_host {

/// A longer line of a batch, in bytes, is malformed.
inline constexpr std::uint32_t longest_batch_line = 64 * 1024;

/// A failed answer to a line, with as much of correlator, tid, operation and name as the line has.
dp::basic_transaction_command answer_to_line(std::string_view line, std::int32_t status);

/// Collects the lines of a batch that are not commands, which the reader drops, with their answers.
class malformed_lines final : public dp::dropped_line_listener {
  public:
    struct malformed_line {
        std::size_t position;  ///< number of commands before the line
        dp::basic_transaction_command answer;
    };

    /// `commands` are the commands that the reader has made so far. Not owned.
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
