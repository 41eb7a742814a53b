#ifndef DP_BATCH_LINE_SOURCE_HPP
#define DP_BATCH_LINE_SOURCE_HPP

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string_view>

namespace dp {

/// The lines of a stream, one after another, as `std::getline` gives them, without copying each.
///
/// Rules:
/// - a line ends with a line feed or with the stream; the end of a stream that ends with a line
///   feed is no line;
/// - a byte of the stream is asked for only when every line before it was given and the next one is
///   wanted, so what feeds the stream may depend on what became of the lines;
/// - the stream's state behind the last line is the one that `std::getline` leaves behind.
/// Holds one window of the stream, as large as its longest line or a few thousand bytes.
class line_source {
  public:
    /// `in` stays the caller's and outlives the source.
    explicit line_source(std::istream& in);

    /// The next line without its newline, valid until the next call; fit for a `batch_line`. False
    /// when there is none.
    bool next(std::string_view& line) {
        bool is_whole = true;
        return next(line, std::string_view::npos, is_whole);
    }

    /// The same, but of a line of more than `limit` bytes only the first `limit`; `is_whole` is
    /// then false, otherwise true.
    bool next(std::string_view& line, std::size_t limit, bool& is_whole);

    /// What is at hand of the lines to come, the last of which may lack its end, good until the
    /// next call; fit for a `plain_line`.
    [[nodiscard]] std::string_view at_hand() const {
        return {window_.get() + begin_, end_ - begin_};
    }

    /// Goes on behind the first `size` bytes of what is at hand, which are whole lines.
    void take(std::size_t size) { begin_ += size; }

  private:
    static constexpr std::size_t first_size = 8192;

    bool refill();

    std::istream& in_;
    std::unique_ptr<char[]> window_;
    std::size_t size_ = first_size;  // of the window; behind what it holds stands a line feed
    std::size_t begin_ = 0;          // of what was not given yet
    std::size_t end_ = 0;
};

}  // namespace dp

#endif
