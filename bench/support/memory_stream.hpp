#ifndef DP_BENCH_SUPPORT_MEMORY_STREAM_HPP
#define DP_BENCH_SUPPORT_MEMORY_STREAM_HPP

#include <istream>
#include <streambuf>
#include <string>

namespace bench {

/// A stream that reads a text in memory, without a file and without a copy.
class memory_stream : private std::streambuf, public std::istream {
  public:
    /// `text` outlives the stream.
    explicit memory_stream(const std::string& text) : std::istream(this) {
        // The get area is only read.
        char* const begin = const_cast<char*>(text.data());
        setg(begin, begin, begin + text.size());
    }
};

}  // namespace bench

#endif
