#ifndef DP_BATCH_LINE_READER_HPP
#define DP_BATCH_LINE_READER_HPP

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string_view>

namespace dp {

/// Reads a stream line by line, like `std::getline`, but without copying each line.
///
/// Rules:
/// - a line ends with a newline or at the end of the stream; no line follows a final newline;
/// - never reads ahead: no byte is requested before all earlier lines were returned, so the source
///   of the stream may depend on the outcome of those lines;
/// - after the last line, the stream has the state that `std::getline` leaves.
/// The buffer has a few thousand bytes, or up to twice the size of the longest line.
class line_reader {
  public:
    /// `in` is not owned and must outlive the reader.
    explicit line_reader(std::istream& in);

    /// Reads the next line, without its newline but followed by one in memory, as a `line_scanner`
    /// needs it. The line is valid until the next call. Returns false when there is none.
    bool next(std::string_view& line) {
        bool is_whole = true;
        return next(line, std::string_view::npos, is_whole);
    }

    /// The same, but reads only the first `limit` bytes of a longer line and drops the rest.
    /// `is_whole` becomes false for such a line, which no newline follows; otherwise true.
    bool next(std::string_view& line, std::size_t limit, bool& is_whole);

    /// The buffered, not yet consumed bytes, followed by a newline and the padding that a
    /// `plain_line` needs. The last line may be incomplete. Valid until the next call.
    [[nodiscard]] std::string_view buffered() const {
        return {buffer_.get() + begin_, end_ - begin_};
    }

    /// Consumes the first `size` buffered bytes, which must be whole lines.
    void consume(std::size_t size) { begin_ += size; }

  private:
    static constexpr std::size_t initial_size = 8192;

    bool refill();

    std::istream& in_;
    std::unique_ptr<char[]> buffer_;
    std::size_t size_ = initial_size;  // of the buffer, without its padding
    std::size_t begin_ = 0;            // of the bytes not yet consumed
    std::size_t end_ = 0;              // of the buffered bytes; a newline follows them
};

}  // namespace dp

#endif
