#include "batch/line_source.hpp"

#include <cstring>
#include <istream>
#include <limits>
#include <utility>

#include "batch/plain_line.hpp"

namespace dp {

line_source::line_source(std::istream& in)
    : in_(in), window_(std::make_unique<char[]>(first_size + plain_line::padding)) {
    window_[end_] = '\n';
}

bool line_source::next(std::string_view& line, std::size_t limit, bool& is_whole) {
    std::size_t scanned = 0;
    for (;;) {
        const char* const first = window_.get() + begin_;
        const std::size_t size = end_ - begin_;
        const void* const end = std::memchr(first + scanned, '\n', size - scanned);
        if (end != nullptr) {
            line = {first, static_cast<std::size_t>(static_cast<const char*>(end) - first)};
            take(line.size() + 1);
            break;
        }
        if (size > limit) {
            line = {first, size};
            take(size);
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
        line = {window_.get() + begin_, size};
        take(size);
        break;
    }
    is_whole = line.size() <= limit;
    line = line.substr(0, limit);
    return true;
}

// Takes what the stream has at hand, behind what was not given yet. False at the stream's end.
bool line_source::refill() {
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
        std::memcpy(larger.get(), window_.get() + begin_, size);
        window_ = std::move(larger);
        size_ *= 2;
    } else if (begin_ != 0) {
        // Once a line: one that comes in many pieces stays where it is.
        std::memmove(window_.get(), window_.get() + begin_, size);
    }
    begin_ = 0;
    end_ = size;
    char* const free = window_.get() + end_;
    auto taken = in_.readsome(free, static_cast<std::streamsize>(size_ - end_));
    if (taken == 0) {
        // A buffer that gives single bytes has none at hand.
        *free = static_cast<char>(in_.get());
        taken = 1;
    }
    end_ += static_cast<std::size_t>(taken);
    window_[end_] = '\n';
    return true;
}

}  // namespace dp
