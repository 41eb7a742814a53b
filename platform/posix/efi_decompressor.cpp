#include "platform/sysipc/efi_decompressor.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <istream>
#include <memory>
#include <new>
#include <streambuf>
#include <string>
#include <utility>

#include "platform/posix/efi_format.hpp"
#include "platform/posix/little_endian.hpp"
#include "platform/sysipc/application_log.hpp"

// Bounds:
//   input   The copy of the image is followed by `input_padding` zero bytes. A refill reads 8 bytes
//           and runs only while the read position is at most `input_slack` bytes past the end of
//           the image; at most two refills follow one check. Reading past the image is detected at
//           the next check or at the end, before any text is returned.
//   output  The buffer extends `output_slack` bytes past the last position where a symbol may
//           start. No symbol writes more than that, not even one copied with wide stores.
//   tables  A code is checked to be complete before its table is filled, so every index of the
//           table's width has an entry.

namespace sysipc {
namespace {

using namespace dp_platform::efi;

constexpr std::size_t input_slack = 8;
constexpr std::size_t input_padding = 32;
constexpr std::size_t copy_width = 16;
constexpr std::size_t output_slack = max_match + copy_width;
constexpr std::size_t first_chunk = 65536;
/// The greatest ratio of output buffer to image before any text is decoded.
constexpr std::size_t trusted_ratio = 16;

enum class outcome { done, not_an_image, truncated, corrupt, too_big, no_memory };

std::uint64_t load_big_endian(const unsigned char* from) {
    std::uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    word = __builtin_bswap64(word);
#endif
    return word;
}

/// The bit stream. The next bits are at the top of a 64-bit word.
class bit_reader {
  public:
    bit_reader(const unsigned char* data, std::size_t size) : next_(data), end_(data + size) {}

    /// Whether a refill is in bounds. If not, the stream has already ended.
    [[nodiscard]] bool can_refill() const { return next_ <= end_ + input_slack; }

    /// Makes at least 56 bits available.
    void refill() {
        word_ |= load_big_endian(next_) >> count_;
        next_ += (63U - count_) >> 3U;
        count_ |= 56U;
    }

    /// The next `width` bits, 1 to 32.
    [[nodiscard]] std::uint32_t peek(unsigned width) const {
        return static_cast<std::uint32_t>(word_ >> (64U - width));
    }

    void skip(unsigned width) {
        word_ <<= width;
        count_ -= width;
    }

    /// The next `width` bits, 1 to 32, which are skipped. Refills on its own; for block headers.
    std::uint32_t take(unsigned width) {
        if (can_refill()) {
            refill();
        } else {
            count_ |= 56U;
            word_ = 0;
        }
        const std::uint32_t bits = peek(width);
        skip(width);
        return bits;
    }

    /// Whether more bits were taken than the image has.
    [[nodiscard]] bool overran() const {
        return next_ > end_ && static_cast<std::size_t>(next_ - end_) * 8 > count_;
    }

  private:
    const unsigned char* next_;
    const unsigned char* end_;
    std::uint64_t word_ = 0;
    unsigned count_ = 0;
};

// A table entry: the code's length in the low 8 bits, the decoded payload above them, and flags.
constexpr std::uint32_t literal_flag = 1U << 31U;
constexpr std::uint32_t subtable_flag = 1U << 30U;
constexpr std::uint32_t no_code_flag = 1U << 29U;
constexpr unsigned payload_shift = 8;

/// Two-level table for codes of up to 16 bits: a first table indexed by `Bits` bits and, for longer
/// codes, second tables indexed by the rest of the 16 bits. With a complete code every second table
/// contains at least two symbols.
template <unsigned MaxSymbols, unsigned Bits>
class code_table {
  public:
    /// Fills the table from code lengths (at most 16). `entry(symbol)` is the payload of a symbol's
    /// entry. False when the lengths are not those of a complete code. A set without any code is
    /// allowed.
    template <std::size_t Symbols, class Entry>
    bool build(const std::array<unsigned char, Symbols>& lengths, Entry entry) {
        static_assert(Symbols <= MaxSymbols);
        std::array<std::uint32_t, max_code_length + 1> next{};
        for (const unsigned char length : lengths) {
            ++next.at(length);
        }
        // Replace the counts by the first code of each length, at the top of 16 bits.
        std::uint32_t code = 0;
        for (unsigned length = 1; length <= max_code_length; ++length) {
            const std::uint32_t count = next.at(length);
            next.at(length) = code;
            code += count << (max_code_length - length);
        }
        std::fill_n(entries_.begin(), first_size, no_code_flag);
        if (code != code_space) {
            return code == 0;
        }
        std::uint32_t free = first_size;
        for (unsigned symbol = 0; symbol < Symbols; ++symbol) {
            const unsigned length = lengths[symbol];
            if (length == 0) {
                continue;
            }
            const std::uint32_t start = next[length];
            next[length] += 1U << (max_code_length - length);
            const std::uint32_t filled = entry(symbol) | length;
            std::uint32_t index = start >> rest_bits;
            std::uint32_t count = 1U << (Bits - std::min(length, Bits));
            if (length > Bits) {
                if ((entries_[index] & subtable_flag) == 0) {
                    entries_[index] = subtable_flag | free << payload_shift | Bits;
                    free += rest_size;
                }
                index = payload(entries_[index]) + (start & (rest_size - 1));
                count = 1U << (max_code_length - length);
            }
            std::fill_n(entries_.begin() + index, count, filled);
        }
        return true;
    }

    /// Fills the table for a set of one symbol, whose code has no bits.
    void build_single(std::uint32_t entry) { std::fill_n(entries_.begin(), first_size, entry); }

    /// The entry of the next code, which is not skipped. Needs 16 bits.
    [[nodiscard]] std::uint32_t look_up(const bit_reader& in) const {
        std::uint32_t entry = entries_[in.peek(Bits)];
        if ((entry & subtable_flag) != 0) [[unlikely]] {
            entry = entries_[payload(entry) + (in.peek(max_code_length) & (rest_size - 1))];
        }
        return entry;
    }

  private:
    static constexpr std::uint32_t code_space = 1U << max_code_length;
    static constexpr unsigned rest_bits = max_code_length - Bits;
    static constexpr std::uint32_t first_size = 1U << Bits;
    static constexpr std::uint32_t rest_size = 1U << rest_bits;

    static std::uint32_t payload(std::uint32_t entry) {
        return (entry & (no_code_flag - 1)) >> payload_shift;
    }

    std::array<std::uint32_t, first_size + MaxSymbols / 2 * rest_size> entries_{};
};

unsigned entry_length(std::uint32_t entry) {
    return entry & 0xFFU;
}

std::uint32_t symbol_entry(unsigned symbol) {
    return symbol < literal_count ? literal_flag | symbol << payload_shift
                                  : (symbol - literal_count + min_match) << payload_shift;
}

// A position's entry contains the number of bits that follow and the distance they are added to.
constexpr unsigned distance_shift = 12;

std::uint32_t position_entry(unsigned symbol) {
    const unsigned bits = symbol < 2 ? 0 : symbol - 1;
    const unsigned distance = symbol < 2 ? symbol + 1 : (1U << bits) + 1;
    return distance << distance_shift | bits << payload_shift;
}

/// Copies a match to the end of the output. May write up to `copy_width` bytes more than `length`.
void copy_match(unsigned char* to, std::size_t distance, std::size_t length) {
    const unsigned char* from = to - distance;
    if (distance >= copy_width) {
        unsigned char* const end = to + length;
        do {
            std::memcpy(to, from, copy_width);
            to += copy_width;
            from += copy_width;
        } while (to < end);
    } else if (distance == 1) {
        std::memset(to, *from, length);
    } else {
        // Source and destination overlap: copying byte by byte repeats the pattern.
        for (std::size_t i = 0; i < length; ++i) {
            to[i] = from[i];
        }
    }
}

class expander {
  public:
    /// `data` is followed by `input_padding` readable bytes.
    expander(const unsigned char* data, std::size_t size, std::size_t original_size)
        : in_(data, size),
          original_size_(original_size),
          out_(std::min(original_size, std::max(first_chunk, size * trusted_ratio)) +
               output_slack) {}

    /// Expands all blocks. False when the image is corrupt.
    bool run() {
        while (produced_ < original_size_) {
            std::size_t left = in_.take(block_size_bits);
            if (left == 0) {
                left = max_block_symbols;
            }
            if (!read_codes() || in_.overran()) {
                return false;
            }
            while (left != 0) {
                // The text must not end before the symbols of its last block.
                if (produced_ >= original_size_) {
                    return false;
                }
                grow_output();
                if (!read_symbols(left)) {
                    return false;
                }
            }
        }
        return produced_ == original_size_ && !in_.overran();
    }

    /// The text, after `run` was true.
    std::vector<unsigned char> take_output() {
        out_.resize(original_size_);
        return std::move(out_);
    }

  private:
    using symbol_table = code_table<symbol_count, 11>;
    /// For the code lengths and for the positions.
    using small_table = code_table<length_code_count, 8>;
    static_assert(position_count <= length_code_count);

    /// Doubles a full output buffer, up to the size stated in the header, so that memory grows with
    /// the decoded text.
    void grow_output() {
        const std::size_t capacity = out_.size() - output_slack;
        if (produced_ >= capacity) {
            out_.resize(std::min(original_size_, capacity * 2) + output_slack);
        }
    }

    /// Reads the code lengths of the three sets.
    bool read_codes() {
        return read_plain_lengths<length_code_count>(
                   length_code_field_bits, length_code_gap, lengths_,
                   [](unsigned symbol) { return symbol << payload_shift; }) &&
               read_symbol_lengths() &&
               read_plain_lengths<position_count>(position_field_bits, position_count + 1,
                                                  positions_, position_entry);
    }

    /// Reads a set whose lengths are not coded: 3 bits each, and from 7 on one more bit for each
    /// further one.
    template <unsigned Symbols, class Entry>
    bool read_plain_lengths(unsigned field_bits, unsigned gap, small_table& table, Entry entry) {
        const unsigned count = in_.take(field_bits);
        if (count == 0) {
            const unsigned only = in_.take(field_bits);
            if (only >= Symbols) {
                return false;
            }
            table.build_single(entry(only));
            return true;
        }
        if (count > Symbols) {
            return false;
        }
        std::array<unsigned char, Symbols> lengths{};
        for (unsigned i = 0; i < count;) {
            unsigned length = in_.take(3);
            if (length == 7) {
                while (in_.take(1) == 1) {
                    if (++length > max_code_length) {
                        return false;
                    }
                }
            }
            lengths[i++] = static_cast<unsigned char>(length);
            if (i == gap) {
                i += in_.take(length_code_gap_bits);
            }
        }
        return table.build(lengths, entry);
    }

    bool read_symbol_lengths() {
        const unsigned count = in_.take(symbol_field_bits);
        if (count == 0) {
            const unsigned only = in_.take(symbol_field_bits);
            if (only >= symbol_count) {
                return false;
            }
            symbols_.build_single(symbol_entry(only));
            return true;
        }
        if (count > symbol_count) {
            return false;
        }
        std::array<unsigned char, symbol_count> lengths{};
        for (unsigned i = 0; i < count;) {
            if (!in_.can_refill()) {
                return false;
            }
            in_.refill();
            const std::uint32_t entry = lengths_.look_up(in_);
            if ((entry & no_code_flag) != 0) {
                return false;
            }
            in_.skip(entry_length(entry));
            const unsigned code = entry >> payload_shift;
            if (code == 0) {
                ++i;
            } else if (code == 1) {
                i += in_.take(short_run_bits) + short_run_base;
            } else if (code == 2) {
                i += in_.take(long_run_bits) + long_run_base;
            } else {
                lengths[i++] = static_cast<unsigned char>(code - 2);
            }
            if (i > symbol_count) {
                return false;
            }
        }
        return symbols_.build(lengths, symbol_entry);
    }

    /// Decodes symbols until the end of the block or until the output buffer is full.
    bool read_symbols(std::size_t& left_in_block) {
        // Local copies, which the compiler keeps in registers while bytes are stored.
        bit_reader in = in_;
        std::size_t left = left_in_block;
        unsigned char* const begin = out_.data();
        unsigned char* to = begin + produced_;
        unsigned char* const stop = begin + (out_.size() - output_slack);
        bool good = true;
        while (left != 0 && to < stop) {
            if (!in.can_refill()) [[unlikely]] {
                good = false;
                break;
            }
            in.refill();
            std::uint32_t entry = symbols_.look_up(in);
            in.skip(entry_length(entry));
            --left;
            if ((entry & literal_flag) != 0) {
                *to++ = static_cast<unsigned char>(entry >> payload_shift);
                continue;
            }
            if ((entry & no_code_flag) != 0) [[unlikely]] {
                good = false;
                break;
            }
            const std::size_t length = entry >> payload_shift;
            entry = positions_.look_up(in);
            if ((entry & no_code_flag) != 0) [[unlikely]] {
                good = false;
                break;
            }
            in.skip(entry_length(entry));
            const unsigned bits = entry >> payload_shift & 0xFU;
            // Peek at one more bit, so that a width of 0 needs no special case.
            const std::size_t distance = (entry >> distance_shift) + (in.peek(bits + 1) >> 1U);
            in.skip(bits);
            if (distance > static_cast<std::size_t>(to - begin)) [[unlikely]] {
                good = false;
                break;
            }
            copy_match(to, distance, length);
            to += length;
        }
        in_ = in;
        left_in_block = left;
        produced_ = static_cast<std::size_t>(to - begin);
        return good;
    }

    bit_reader in_;
    std::size_t original_size_;
    std::size_t produced_ = 0;
    std::vector<unsigned char> out_;
    symbol_table symbols_;
    small_table lengths_;
    small_table positions_;
};

/// Reads up to `size` bytes; a failing read is the end of the data.
std::size_t read_bytes(std::streambuf& from, unsigned char* to, std::size_t size) {
    try {
        const auto count =
            from.sgetn(reinterpret_cast<char*>(to), static_cast<std::streamsize>(size));
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    } catch (const std::exception&) {
        return 0;
    }
}

/// Reads `size` bytes and appends `input_padding` zero bytes. The buffer grows with the bytes that
/// arrive, not with the size that the header states. False when the data ends early.
bool read_image(std::streambuf& from, std::size_t size, std::vector<unsigned char>& image) {
    std::size_t have = 0;
    while (have < size) {
        const std::size_t chunk = std::min(size - have, std::max(have, first_chunk));
        image.resize(have + chunk + input_padding);
        const std::size_t count = read_bytes(from, image.data() + have, chunk);
        have += count;
        if (count != chunk) {
            return false;
        }
    }
    image.resize(size + input_padding);
    std::fill(image.end() - input_padding, image.end(), static_cast<unsigned char>(0));
    return true;
}

/// Expands the image that `from` contains. An image has an 8-byte header whose compressed size is
/// below the limit. A text never does, because the top byte of the size would be a control byte.
/// The image must be complete; bytes after its compressed size (padding, another image) are
/// ignored. The blocks must produce exactly the original size and must not use more bits than the
/// compressed size; they may use fewer.
outcome expand(std::streambuf& from, std::vector<unsigned char>& text) {
    std::array<unsigned char, header_size> header{};
    if (read_bytes(from, header.data(), header.size()) != header.size()) {
        return outcome::not_an_image;
    }
    const std::uint32_t compressed_size = dp_platform::load_32(header.data());
    const std::uint32_t original_size = dp_platform::load_32(header.data() + 4);
    if (compressed_size >= compressed_limit) {
        return outcome::not_an_image;
    }
    if (original_size == 0) {
        return outcome::done;
    }
    if (original_size > original_limit) {
        return outcome::too_big;
    }
    std::vector<unsigned char> image;
    if (!read_image(from, compressed_size, image)) {
        return outcome::truncated;
    }
    // On the heap: the tables are too big for a small thread's stack.
    const auto work = std::make_unique<expander>(image.data(), compressed_size, original_size);
    if (!work->run()) {
        return outcome::corrupt;
    }
    text = work->take_output();
    return outcome::done;
}

void report(outcome result) {
    const char* reason = nullptr;
    switch (result) {
        case outcome::done:
        case outcome::not_an_image:
            return;
        case outcome::truncated:
            reason = "image is truncated";
            break;
        case outcome::corrupt:
            reason = "image is corrupt";
            break;
        case outcome::too_big:
            reason = "image states an original size beyond the limit";
            break;
        case outcome::no_memory:
            reason = "not enough memory for the image";
            break;
    }
    auto* log = application_log::app_streams;
    if (log == nullptr || (log->mask() & event_log::log_level::error) == 0) {
        return;
    }
    try {
        log->append("ERR", std::string(" ***ERROR*** efi_decompressor: ") + reason);
    } catch (const std::bad_alloc&) {
        // No memory for the message either.
        return;
    }
}

}  // namespace

std::vector<unsigned char> efi_decompressor::decompress(std::istream& in) {
    std::vector<unsigned char> text;
    std::streambuf* const from = in.rdbuf();
    if (from == nullptr || !in.good()) {
        return text;
    }
    outcome result = outcome::no_memory;
    try {
        result = expand(*from, text);
    } catch (const std::bad_alloc&) {
        text.clear();
    }
    report(result);
    return text;
}

}  // namespace sysipc
