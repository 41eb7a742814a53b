#include "platform/posix/efi_compressor.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/posix/efi_format.hpp"
#include "platform/posix/little_endian.hpp"

namespace dp_platform {
namespace {

using namespace efi;

/// Limits on the earlier positions that are compared for one position, the second when the match so
/// far is already good. They bound the time for any text.
constexpr unsigned max_probes = 256;
constexpr unsigned good_probes = 64;
constexpr unsigned good_match = 16;
/// A match of the least length at a greater distance takes more bits than its bytes.
constexpr unsigned far_distance = 4096;
/// Symbols of one block: enough to outweigh its code lengths, few enough to adapt to the text.
constexpr std::size_t block_symbols = 32768;
static_assert(block_symbols < max_block_symbols);
constexpr std::size_t empty_block_size = 7;

class bit_writer {
  public:
    explicit bit_writer(std::string& out) : out_(out) {}

    /// Appends the low `width` bits (0 to 32) of `value`, whose other bits are 0.
    void put(std::uint32_t value, unsigned width) {
        word_ = word_ << width | value;
        count_ += width;
        while (count_ >= 8) {
            count_ -= 8;
            out_ += static_cast<char>(word_ >> count_ & 0xFFU);
        }
    }

    /// Fills the last byte with zeros.
    void finish() {
        if (count_ != 0) {
            put(0, 8 - count_);
        }
    }

  private:
    std::string& out_;
    std::uint64_t word_ = 0;
    unsigned count_ = 0;
};

/// Computes the lengths of an optimal prefix code for `frequencies`, at most `max_code_length`; 0
/// for a frequency of 0. The code of a single symbol has no bits. Returns the number of used
/// symbols.
template <std::size_t Symbols>
unsigned code_lengths(const std::array<std::uint32_t, Symbols>& frequencies,
                      std::array<unsigned char, Symbols>& lengths) {
    struct node {
        std::uint32_t weight;
        std::uint32_t parent;
    };
    std::array<std::uint16_t, Symbols> order{};
    std::size_t used = 0;
    for (std::size_t symbol = 0; symbol < Symbols; ++symbol) {
        if (frequencies[symbol] != 0) {
            order[used++] = static_cast<std::uint16_t>(symbol);
        }
    }
    lengths.fill(0);
    if (used < 2) {
        return static_cast<unsigned>(used);
    }
    std::sort(order.begin(), order.begin() + used, [&](std::uint16_t a, std::uint16_t b) {
        return frequencies[a] != frequencies[b] ? frequencies[a] < frequencies[b] : a < b;
    });

    // The leaves in order of weight, then the inner nodes, which are created in order of weight
    // too: the lightest node is always the next leaf or the next inner node.
    std::array<node, 2 * Symbols> nodes{};
    for (std::size_t i = 0; i < used; ++i) {
        nodes[i] = {frequencies[order[i]], 0};
    }
    std::size_t leaf = 0;
    std::size_t inner = used;
    const std::size_t root = 2 * used - 2;
    for (std::size_t made = used; made <= root; ++made) {
        std::uint32_t weight = 0;
        for (int child = 0; child < 2; ++child) {
            const bool take_leaf =
                leaf < used && (inner >= made || nodes[leaf].weight <= nodes[inner].weight);
            node& lightest = nodes[take_leaf ? leaf++ : inner++];
            weight += lightest.weight;
            lightest.parent = static_cast<std::uint32_t>(made);
        }
        nodes[made] = {weight, 0};
    }

    // From here on a node's weight is its depth. Greater depths count as the limit.
    std::array<unsigned, max_code_length + 1> count{};
    nodes[root].weight = 0;
    for (std::size_t i = root; i-- > 0;) {
        nodes[i].weight = nodes[nodes[i].parent].weight + 1;
        if (i < used) {
            ++count.at(std::min<std::size_t>(nodes[i].weight, max_code_length));
        }
    }
    // The limit overfills the code. Each step lengthens a shorter code by one bit and makes one of
    // the longest codes its sibling, which frees one unit.
    std::uint32_t filled = 0;
    for (unsigned length = 1; length <= max_code_length; ++length) {
        filled += count.at(length) << (max_code_length - length);
    }
    for (; filled > 1U << max_code_length; --filled) {
        unsigned length = max_code_length - 1;
        while (count.at(length) == 0) {
            --length;
        }
        --count.at(length);
        count.at(length + 1) += 2;
        --count.at(max_code_length);
    }
    std::size_t next = 0;
    for (unsigned length = max_code_length; length > 0; --length) {
        for (unsigned i = 0; i < count.at(length); ++i) {
            lengths[order[next++]] = static_cast<unsigned char>(length);
        }
    }
    return static_cast<unsigned>(used);
}

/// The canonical codes of `lengths`.
template <std::size_t Symbols>
std::array<std::uint16_t, Symbols> canonical_codes(
    const std::array<unsigned char, Symbols>& lengths) {
    std::array<std::uint32_t, max_code_length + 1> next{};
    for (const unsigned char length : lengths) {
        ++next.at(length);
    }
    std::uint32_t code = 0;
    for (unsigned length = 1; length <= max_code_length; ++length) {
        const std::uint32_t count = next.at(length);
        next.at(length) = code;
        code = (code + count) << 1U;
    }
    std::array<std::uint16_t, Symbols> codes{};
    for (std::size_t symbol = 0; symbol < Symbols; ++symbol) {
        if (lengths[symbol] != 0) {
            codes[symbol] = static_cast<std::uint16_t>(next.at(lengths[symbol])++);
        }
    }
    return codes;
}

/// One set of codes of a block: computed from frequencies, then written and used.
template <std::size_t Symbols>
struct code_set {
    std::array<std::uint32_t, Symbols> frequencies{};
    std::array<unsigned char, Symbols> lengths{};
    std::array<std::uint16_t, Symbols> codes{};
    unsigned used = 0;

    void compute() {
        used = code_lengths(frequencies, lengths);
        codes = canonical_codes(lengths);
    }

    void put(bit_writer& out, std::size_t symbol) const { out.put(codes[symbol], lengths[symbol]); }

    /// The only symbol of a set of one; 0 in an empty set.
    [[nodiscard]] std::uint32_t only() const {
        const auto it = std::find_if(frequencies.begin(), frequencies.end(),
                                     [](std::uint32_t frequency) { return frequency != 0; });
        return it == frequencies.end() ? 0 : static_cast<std::uint32_t>(it - frequencies.begin());
    }

    /// The number of lengths that are written: all but the trailing zeros.
    [[nodiscard]] unsigned written() const {
        auto count = static_cast<unsigned>(Symbols);
        while (count != 0 && lengths[count - 1] == 0) {
            --count;
        }
        return count;
    }
};

unsigned position_code(unsigned position) {
    return static_cast<unsigned>(std::bit_width(position));
}

/// A byte, or a match: its length as a symbol and distance - 1.
struct token {
    std::uint16_t symbol;
    std::uint16_t position;
};

/// Collects tokens and writes them block by block.
class block_writer {
  public:
    explicit block_writer(bit_writer& out) : out_(out) { tokens_.reserve(block_symbols); }

    void literal(unsigned char byte) { add({byte, 0}); }

    void match(unsigned length, unsigned distance) {
        add({static_cast<std::uint16_t>(length - min_match + literal_count),
             static_cast<std::uint16_t>(distance - 1)});
    }

    void flush() {
        if (tokens_.empty()) {
            return;
        }
        symbols_ = {};
        positions_ = {};
        for (const token& item : tokens_) {
            ++symbols_.frequencies[item.symbol];
            if (item.symbol >= literal_count) {
                ++positions_.frequencies[position_code(item.position)];
            }
        }
        symbols_.compute();
        positions_.compute();
        out_.put(static_cast<std::uint32_t>(tokens_.size()), block_size_bits);
        write_symbol_lengths();
        write_plain_lengths(positions_, position_field_bits, position_count + 1);
        for (const token& item : tokens_) {
            symbols_.put(out_, item.symbol);
            if (item.symbol >= literal_count) {
                const unsigned code = position_code(item.position);
                positions_.put(out_, code);
                if (code > 1) {
                    const unsigned bits = code - 1;
                    out_.put(item.position & ((1U << bits) - 1), bits);
                }
            }
        }
        tokens_.clear();
    }

  private:
    void add(token item) {
        tokens_.push_back(item);
        if (tokens_.size() == block_symbols) {
            flush();
        }
    }

    template <std::size_t Symbols>
    void write_plain_lengths(const code_set<Symbols>& set, unsigned field_bits, unsigned gap) {
        if (set.used < 2) {
            out_.put(0, field_bits);
            out_.put(set.only(), field_bits);
            return;
        }
        const unsigned count = set.written();
        out_.put(count, field_bits);
        for (unsigned i = 0; i < count;) {
            const unsigned length = set.lengths[i++];
            if (length < 7) {
                out_.put(length, 3);
            } else {
                // (length - 4) ones and a zero.
                out_.put((1U << (length - 3)) - 2, length - 3);
            }
            if (i == gap) {
                const unsigned first = i;
                while (i < first + (1U << length_code_gap_bits) - 1 && set.lengths[i] == 0) {
                    ++i;
                }
                out_.put(i - first, length_code_gap_bits);
            }
        }
    }

    /// Calls `use(code, extra, extra_width)` for each code that encodes the symbols' lengths.
    template <class Use>
    void for_each_length_code(Use use) const {
        const unsigned count = symbols_.written();
        for (unsigned i = 0; i < count;) {
            if (symbols_.lengths[i] != 0) {
                use(symbols_.lengths[i++] + 2U, 0U, 0U);
                continue;
            }
            unsigned run = 0;
            while (symbols_.lengths[i] == 0) {
                ++run;
                ++i;
            }
            if (run == long_run_base - 1) {
                use(0U, 0U, 0U);
                --run;
            }
            if (run >= long_run_base) {
                use(2U, run - long_run_base, long_run_bits);
            } else if (run >= short_run_base) {
                use(1U, run - short_run_base, short_run_bits);
            } else {
                for (; run != 0; --run) {
                    use(0U, 0U, 0U);
                }
            }
        }
    }

    void write_symbol_lengths() {
        code_set<length_code_count> lengths;
        if (symbols_.used < 2) {
            write_plain_lengths(lengths, length_code_field_bits, length_code_gap);
            out_.put(0, symbol_field_bits);
            out_.put(symbols_.only(), symbol_field_bits);
            return;
        }
        for_each_length_code(
            [&](unsigned code, unsigned, unsigned) { ++lengths.frequencies[code]; });
        lengths.compute();
        write_plain_lengths(lengths, length_code_field_bits, length_code_gap);
        out_.put(symbols_.written(), symbol_field_bits);
        for_each_length_code([&](unsigned code, unsigned extra, unsigned width) {
            lengths.put(out_, code);
            out_.put(extra, width);
        });
    }

    bit_writer& out_;
    std::vector<token> tokens_;
    code_set<symbol_count> symbols_;
    code_set<position_count> positions_;
};

/// Finds earlier occurrences of the next bytes with chains of positions that have the same hash.
class match_finder {
  public:
    explicit match_finder(std::string_view text)
        : text_(text), head_(head_size), link_(window_size) {}

    struct result {
        unsigned length = 0;
        unsigned distance = 0;
    };

    /// The best match that is longer than `beat`; length 0 when there is none. All positions before
    /// `position` must have been inserted, and `position` must not.
    [[nodiscard]] result find(std::size_t position, unsigned beat) const {
        result best{beat, 0};
        const std::size_t left = text_.size() - position;
        if (left < min_match) {
            return {};
        }
        const auto limit = static_cast<unsigned>(std::min<std::size_t>(left, max_match));
        if (beat >= limit) {
            return {};
        }
        const char* const here = text_.data() + position;
        unsigned probes = beat >= good_match ? good_probes : max_probes;
        for (std::uint32_t next = head_[hash(here)]; next != 0 && probes != 0; --probes) {
            const std::size_t earlier = next - 1;
            const std::size_t distance = position - earlier;
            if (distance > window_size) {
                break;
            }
            const char* const there = text_.data() + earlier;
            if (there[best.length] == here[best.length]) {
                const unsigned length = common_length(here, there, limit);
                if (length > best.length && (length > min_match || distance <= far_distance)) {
                    best = {length, static_cast<unsigned>(distance)};
                    if (length == limit) {
                        break;
                    }
                }
            }
            next = link_[earlier % window_size];
        }
        return best.distance != 0 && best.length >= min_match ? best : result{};
    }

    void insert(std::size_t position) {
        if (text_.size() - position < min_match) {
            return;
        }
        std::uint32_t& head = head_[hash(text_.data() + position)];
        link_[position % window_size] = head;
        head = static_cast<std::uint32_t>(position + 1);
    }

  private:
    static constexpr unsigned hash_bits = 15;
    static constexpr std::size_t head_size = std::size_t{1} << hash_bits;

    static std::size_t hash(const char* at) {
        const auto byte = [at](int i) {
            return static_cast<std::uint32_t>(static_cast<unsigned char>(at[i]));
        };
        const std::uint32_t three = byte(0) | byte(1) << 8U | byte(2) << 16U;
        return three * 0x9E37'79B1U >> (32U - hash_bits);
    }

    static unsigned common_length(const char* a, const char* b, unsigned limit) {
        unsigned length = 0;
        while (length + sizeof(std::uint64_t) <= limit &&
               std::memcmp(a + length, b + length, sizeof(std::uint64_t)) == 0) {
            length += sizeof(std::uint64_t);
        }
        while (length < limit && a[length] == b[length]) {
            ++length;
        }
        return length;
    }

    std::string_view text_;
    std::vector<std::uint32_t> head_;  ///< hash -> latest position + 1
    std::vector<std::uint32_t> link_;  ///< position -> previous position in the chain + 1
};

void put_number(std::string& image, std::size_t at, std::size_t number) {
    store_32(reinterpret_cast<unsigned char*>(image.data()) + at,
             static_cast<std::uint32_t>(number));
}

}  // namespace

std::string efi_compress(std::string_view plain) {
    if (plain.size() > original_limit) {
        return {};
    }
    std::string image(header_size, '\0');
    bit_writer bits(image);
    block_writer blocks(bits);
    match_finder finder(plain);
    // Lazy matching: a match is used only when the next position has no longer match.
    match_finder::result pending;
    std::size_t position = 0;
    while (position < plain.size()) {
        const match_finder::result found =
            pending.length != 0 ? pending : finder.find(position, min_match - 1);
        finder.insert(position);
        pending = {};
        if (found.length != 0 && found.length < max_match) {
            const std::size_t next = position + 1;
            pending = finder.find(next, found.length);
        }
        if (found.length == 0 || pending.length != 0) {
            blocks.literal(static_cast<unsigned char>(plain[position]));
            ++position;
            continue;
        }
        blocks.match(found.length, found.distance);
        for (std::size_t end = position + found.length; ++position < end;) {
            finder.insert(position);
        }
    }
    blocks.flush();
    if (plain.empty()) {
        // Some readers expect a bit stream after the header: write a block of zero bits.
        image.append(empty_block_size, '\0');
    }
    bits.finish();
    const std::size_t compressed_size = image.size() - header_size;
    if (compressed_size >= compressed_limit) {
        return {};
    }
    put_number(image, 0, compressed_size);
    put_number(image, 4, plain.size());
    return image;
}

}  // namespace dp_platform
