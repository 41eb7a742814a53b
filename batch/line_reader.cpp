#include "batch/line_reader.hpp"

#include <cstring>
#include <istream>
#include <limits>
#include <utility>

#include "batch/plain_line.hpp"

namespace dp {

line_reader::line_reader(std::istream& in)
    : in_(in), buffer_(std::make_unique<char[]>(initial_size + plain_line::padding)) {
    buffer_[end_] = '\n';
}

bool line_reader::next(std::string_view& line, std::size_t limit, bool& is_whole) {
    std::size_t scanned = 0;
    for (;;) {
        const char* const first = buffer_.get() + begin_;
        const std::size_t size = end_ - begin_;
        const void* const end = std::memchr(first + scanned, '\n', size - scanned);
        if (end != nullptr) {
            line = {first, static_cast<std::size_t>(static_cast<const char*>(end) - first)};
            consume(line.size() + 1);
            break;
        }
        if (size > limit) {
            line = {first, size};
            consume(size);
            in_.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
            break;
        }
        scanned = size;
        if (refill()) {
            continue;
        }
        if (size == 0) {
            return false;
        }
        line = {buffer_.get() + begin_, size};
        consume(size);
        break;
    }
    is_whole = line.size() <= limit;
    line = line.substr(0, limit);
    return true;
}

// Appends the bytes that are available from the stream. Returns false at its end.
bool line_reader::refill() {
    if (!in_.good()) {
        return false;
    }
    const std::size_t size = end_ - begin_;
    if (in_.peek() == std::istream::traits_type::eof()) {
        if (size == 0) {
            in_.setstate(std::ios::failbit);
        }
        return false;
    }
    if (size == size_) {
        auto larger = std::make_unique<char[]>(size_ * 2 + plain_line::padding);
        std::memcpy(larger.get(), buffer_.get() + begin_, size);
        buffer_ = std::move(larger);
        size_ *= 2;
    } else if (begin_ != 0) {
        // Moves a line only once, even if it arrives in many pieces.
        std::memmove(buffer_.get(), buffer_.get() + begin_, size);
    }
    begin_ = 0;
    end_ = size;
    char* const free = buffer_.get() + end_;
    auto taken = in_.readsome(free, static_cast<std::streamsize>(size_ - end_));
    if (taken == 0) {
        // An unbuffered stream never has bytes available: read a single byte.
        *free = static_cast<char>(in_.get());
        taken = 1;
    }
    end_ += static_cast<std::size_t>(taken);
    buffer_[end_] = '\n';
    return true;
}

}  // namespace dp
