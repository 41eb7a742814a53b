#ifndef DP_HOST_EXCHANGE_BATCH_FEED_HPP
#define DP_HOST_EXCHANGE_BATCH_FEED_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <streambuf>
#include <string>
#include <vector>

#include "transactions/basic_transaction_command.hpp"

namespace dp_host {

/// Hands a batch file to the library's reader line by line and notices which lines the reader drops
/// as none of its commands; those would otherwise go unanswered. A line of more than 64 KiB is not
/// even handed over.
class batch_feed : public std::streambuf {
  public:
    static constexpr std::size_t longest_line = std::size_t{64} * 1024;

    /// A line that is no command, as far as its words can be made out.
    struct dropped_line {
        std::size_t position;  ///< how many lines of the file were taken before it
        dp::basic_transaction_command answer;
    };

    /// `source` gives the file's bytes; `taken` tells how many commands the reader has made so far.
    /// Both are used as long as the feed is read.
    batch_feed(std::istream& source, std::function<std::size_t()> taken);

    /// The dropped lines in the order of the file; complete when the reader has reached the end.
    [[nodiscard]] const std::vector<dropped_line>& dropped() const { return dropped_; }

  private:
    int_type underflow() override;
    void drop();

    std::istream& source_;
    std::function<std::size_t()> taken_;
    std::string line_;  // the line that the reader has now, with its line end
    bool is_out_ = false;
    std::size_t taken_before_ = 0;
    std::vector<dropped_line> dropped_;
};

/// What is read of a line of a batch.
enum class line_kind : std::uint8_t {
    command,     ///< for the reader to judge
    no_command,  ///< a comment, empty or blank: the reader skips it
    too_long,    ///< `line` holds its beginning
    end,         ///< there is no further line
};

/// Reads the next line, without its line end, of which it keeps at most `batch_feed::longest_line`
/// bytes.
line_kind next_line(std::istream& source, std::string& line);

/// A failed answer to a line: its correlator, tid, operation and name, as far as the line has them.
dp::basic_transaction_command answer_to_line(const std::string& line, std::int32_t status);

}  // namespace dp_host

#endif
