#include "bios/template_info.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <memory>
#include <ostream>
#include <string_view>

#include "common/byte_scan.hpp"
#include "common/numbers.hpp"
#include "common/reserve_estimate.hpp"

// Template records are scanned in one pass over the file's bytes, in place. The rules are those of
// a delimited stream extraction, with which the tests compare it:
//   - a record ends with A7 or with the file; one line feed directly after A7 belongs to it;
//   - a key ends with the next ":", whatever bytes it contains; without one the rest of the record
//     is ignored;
//   - a value ends with the next 95 or with the record; a key whose ":" ends the record is dropped.
// Any byte may be zero.

namespace {

std::uint32_t decimal(std::string_view text) {
    return dp::parse_unsigned(text, dp::number_base::decimal).value;
}

std::uint32_t hexadecimal(std::string_view text) {
    return dp::parse_unsigned(text, dp::number_base::hexadecimal).value;
}

/// A key and its colon, at most 8 bytes, so that one comparison of words tests whether an item
/// begins with them.
class item_key {
  public:
    explicit constexpr item_key(std::string_view key) {
        std::array<char, sizeof(word)> bytes{};
        std::array<char, sizeof(word)> mask{};
        for (std::size_t i = 0; i <= key.size(); ++i) {
            bytes.at(i) = i < key.size() ? key[i] : ':';
            mask.at(i) = '\xFF';
        }
        bytes_ = std::bit_cast<word>(bytes);
        mask_ = std::bit_cast<word>(mask);
        size_ = key.size() + 1;
    }

    /// The first bytes of an item.
    using word = std::uint64_t;
    static word first_bytes(const char* item) {
        word bytes = 0;
        std::memcpy(&bytes, item, sizeof bytes);
        return bytes;
    }

    [[nodiscard]] bool begins(word item) const { return ((item ^ bytes_) & mask_) == 0; }
    [[nodiscard]] std::size_t size() const { return size_; }

    void append_to(std::string& line) const {
        const auto bytes = std::bit_cast<std::array<char, sizeof(word)>>(bytes_);
        line.append(bytes.data(), size_);
    }

  private:
    word bytes_ = 0;
    word mask_ = 0;  // the used bits of `bytes_`
    std::size_t size_ = 0;
};

void assign_text(std::string& text, std::string_view value) {
    if (value.size() <= text.capacity()) {
        text.clear();
        text.append(value);
    } else {
        // A new string has exactly the memory it needs; a growing one doubles its memory.
        text = std::string(value);
    }
}

template <class Integer>
void append_number(std::string& line, Integer value, int base) {
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, base);
    line.append(digits.data(), end.ptr);
}

/// Which records a kind of item is written to.
enum class write_condition { always, with_rec_flag, for_numeric, for_string, for_enumeration };

/// A kind of item: its key, the field that has its value, and when it is written.
struct item_kind {
    constexpr item_kind(std::string_view name, std::string template_info::*field,
                        write_condition condition = write_condition::always)
        : key(name), text(field), when(condition) {}
    constexpr item_kind(std::string_view name, std::uint32_t template_info::*field,
                        write_condition condition = write_condition::always,
                        std::uint32_t (*conversion)(std::string_view) = decimal)
        : key(name), number(field), read(conversion), when(condition) {}
    /// Read as an unsigned number, which also converts "-1" to -1.
    constexpr item_kind(std::string_view name, std::int32_t template_info::*field)
        : key(name), signed_number(field) {}

    void store(template_info& info, std::string_view value) const {
        if (text != nullptr) {
            assign_text(info.*text, value);
        } else if (number != nullptr) {
            info.*number = read(value);
        } else {
            info.*signed_number = static_cast<std::int32_t>(decimal(value));
        }
    }

    void append_to(std::string& line, const template_info& info) const {
        key.append_to(line);
        if (text != nullptr) {
            line.append(info.*text);
        } else if (number != nullptr) {
            append_number(line, info.*number, read == hexadecimal ? 16 : 10);
        } else {
            append_number(line, info.*signed_number, 10);
        }
        line.push_back(template_info::item_end);
    }

    item_key key;
    std::string template_info::*text = nullptr;
    std::uint32_t template_info::*number = nullptr;
    std::uint32_t (*read)(std::string_view) = nullptr;
    std::int32_t template_info::*signed_number = nullptr;
    write_condition when = write_condition::always;
};

/// In the order in which they are written.
constexpr std::array item_kinds{
    item_kind{"id", &template_info::id},
    item_kind{"cfg", &template_info::cfg},
    item_kind{"cfgname", &template_info::cfgname},
    item_kind{"cfgsetn", &template_info::cfgsetn},
    item_kind{"grp", &template_info::grp},
    item_kind{"spif", &template_info::spif},
    item_kind{"grif", &template_info::grif},
    item_kind{"gspif", &template_info::gspif},
    item_kind{"ggrif", &template_info::ggrif},
    item_kind{"mri", &template_info::mri},
    item_kind{"dsc", &template_info::dsc},
    item_kind{"fds", &template_info::fds},
    item_kind{"flg", &template_info::flg, write_condition::always, hexadecimal},
    item_kind{"dft", &template_info::dft},
    item_kind{"mni", &template_info::mni},
    item_kind{"mxi", &template_info::mxi},
    item_kind{"mfg", &template_info::mfg},
    item_kind{"dfa", &template_info::dfa},
    item_kind{"type", &template_info::type},
    item_kind{"rec", &template_info::rec, write_condition::with_rec_flag},
    item_kind{"min", &template_info::min, write_condition::for_numeric},
    item_kind{"max", &template_info::max, write_condition::for_numeric},
    item_kind{"stp", &template_info::stp, write_condition::for_numeric},
    item_kind{"minc", &template_info::minc, write_condition::for_string},
    item_kind{"maxc", &template_info::maxc, write_condition::for_string},
    item_kind{"reg", &template_info::reg, write_condition::for_string},
    item_kind{"num", &template_info::num, write_condition::for_enumeration},
    item_kind{"chc", &template_info::chc, write_condition::for_enumeration},
};

/// Finds the kinds of a record's items. Most items are in the order in which they are written, so
/// each search starts after the kind found last.
class kind_finder {
  public:
    /// The kind of the item that begins with `item`; null when no kind has its key.
    const item_kind* find(item_key::word item) {
        for (std::size_t tried = 0; tried < item_kinds.size(); ++tried) {
            const item_kind& kind = item_kinds[next_];
            next_ = next_ + 1 == item_kinds.size() ? 0 : next_ + 1;
            if (kind.key.begins(item)) {
                return &kind;
            }
        }
        return nullptr;
    }

  private:
    std::size_t next_ = 0;
};

/// Readable bytes required after a record: an end byte, which stops the search for a key, and
/// further bytes of any value.
constexpr std::size_t record_padding = sizeof(item_key::word);

/// The first item end byte from `at` on, or `last`.
const char* find_item_end(const char* at, const char* last) {
    if constexpr (dp::byte_scan::is_supported) {
        // Fast path: most values are shorter than a chunk.
        const auto found = dp::byte_scan::equal(dp::byte_scan::load(at), template_info::item_end);
        if (found != 0) {
            return std::min(at + dp::byte_scan::first_of(found), last);
        }
    }
    const void* const end =
        std::memchr(at, template_info::item_end, static_cast<std::size_t>(last - at));
    return end == nullptr ? last : static_cast<const char*>(end);
}

void parse_record(template_info& info, std::string_view record) {
    const char* const last = record.data() + record.size();
    kind_finder kinds;
    for (const char* item = record.data(); item < last;) {
        const item_kind* const kind = kinds.find(item_key::first_bytes(item));
        const void* const colon =
            kind != nullptr ? item + kind->key.size() - 1
                            : std::memchr(item, ':', static_cast<std::size_t>(last - item));
        if (colon == nullptr || static_cast<const char*>(colon) + 1 == last) {
            return;
        }
        const char* const value = static_cast<const char*>(colon) + 1;
        const char* const end = find_item_end(value, last);
        if (kind != nullptr) {
            kind->store(info, {value, static_cast<std::size_t>(end - value)});
        }
        item = end + 1;
    }
}

/// Splits a stream into records. Buffers one window of the file and scans each byte once, except in
/// records that cross the end of a window.
class record_splitter {
  public:
    explicit record_splitter(std::istream& in)
        : in_(in), window_(std::make_unique_for_overwrite<char[]>(window_size + record_padding)) {}

    /// Gets the next record without its end byte, valid until the next call. False at the end of
    /// the stream, and for a record that is too long, which leaves the stream failed.
    bool next(std::string_view& record) {
        if (skip_line_feed_) {
            if (size() == 0) {
                refill();
            }
            if (size() != 0 && *start() == '\n') {
                ++begin_;
            }
            skip_line_feed_ = false;
        }
        const char* end = find_end();
        if (end == nullptr && size() <= template_info::record_limit) {
            refill();
            end = find_end();
        }
        if (end != nullptr) {
            record = {start(), static_cast<std::size_t>(end - start())};
            begin_ += record.size() + 1;
            bytes_read_ += record.size() + 1;
            skip_line_feed_ = true;
            return true;
        }
        if (size() > template_info::record_limit) {
            in_.setstate(std::ios::failbit);
            return false;
        }
        record = {start(), size()};
        begin_ = end_;
        bytes_read_ += record.size();
        return !record.empty();
    }

    /// Bytes of the records so far, and about how many bytes the stream still has.
    [[nodiscard]] std::size_t bytes_read() const { return bytes_read_; }
    [[nodiscard]] std::size_t bytes_left() const {
        const std::streamsize in_stream = in_.rdbuf()->in_avail();
        return size() + (in_stream > 0 ? static_cast<std::size_t>(in_stream) : 0);
    }

  private:
    static constexpr std::size_t window_size = 65536;

    [[nodiscard]] const char* start() const { return window_.get() + begin_; }
    [[nodiscard]] std::size_t size() const { return end_ - begin_; }

    /// The end byte of the record at `start`; null when it has none within the limit.
    [[nodiscard]] const char* find_end() const {
        const std::size_t reach = std::min<std::size_t>(size(), template_info::record_limit + 1);
        return static_cast<const char*>(std::memchr(start(), template_info::record_end, reach));
    }

    /// Moves the rest to the start of the window and fills the window from the stream.
    void refill() {
        std::memmove(window_.get(), start(), size());
        end_ = size();
        begin_ = 0;
        if (in_.good()) {
            in_.read(window_.get() + end_, static_cast<std::streamsize>(window_size - end_));
            end_ += static_cast<std::size_t>(in_.gcount());
        }
        std::memset(window_.get() + end_, template_info::record_end, record_padding);
    }

    std::istream& in_;
    std::unique_ptr<char[]> window_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::size_t bytes_read_ = 0;
    bool skip_line_feed_ = false;
};

bool is_written(write_condition when, const template_info& info) {
    switch (when) {
        case write_condition::always:
            break;
        case write_condition::with_rec_flag:
            return (info.flg & template_info::rec_flag) != 0;
        case write_condition::for_numeric:
            return info.type == template_info::type_numeric;
        case write_condition::for_string:
            return info.type == template_info::type_string;
        case write_condition::for_enumeration:
            return info.type != template_info::type_numeric &&
                   info.type != template_info::type_string &&
                   info.type != template_info::type_no_range;
    }
    return true;
}

}  // namespace

// The parameters passed by value are part of the signatures.
// NOLINTBEGIN(performance-unnecessary-value-param)

void template_info::parse_setting_info(std::string record) {
    const std::size_t size = record.size();
    record.append(record_padding, record_end);
    parse_record(*this, std::string_view(record).substr(0, size));
}

int template_info::read_settings(std::ifstream& in, std::vector<template_info>& out,
                                 std::string cfg) {
    std::string filter;
    if (!cfg.empty()) {
        filter.append("cfg:").append(cfg).push_back(item_end);
    }
    record_splitter records(in);
    std::size_t taken = 0;
    for (std::string_view record; records.next(record);) {
        if (record.find(filter) != std::string_view::npos) {
            ++taken;
            if (out.size() == out.capacity()) {
                dp::reserve_estimate(out, records.bytes_read() / taken, records.bytes_left());
            }
            parse_record(out.emplace_back(), record);
        }
    }
    return 0;
}

std::uint32_t template_info::a2i(std::string text, bool hex) {
    return hex ? hexadecimal(text) : decimal(text);
}

// NOLINTEND(performance-unnecessary-value-param)

void template_info::convert_to_attribute(dp_attribute& a) const {
    a.id = id.c_str();
    a.spif = spif.c_str();
    a.grif = grif.c_str();
    a.cfg = cfg.c_str();
    a.cfgname = cfgname.c_str();
    a.cfgsetn = cfgsetn.c_str();
    a.grp = grp.c_str();
    a.gspif = gspif.c_str();
    a.ggrif = ggrif.c_str();
    a.mri = mri.c_str();
    a.dsc = dsc.c_str();
    a.fds = fds.c_str();
    a.type = type;
    a.flg = flg;
    a.mni = mni;
    a.mxi = mxi;
    a.dft = dft.c_str();
    a.mfg = mfg.c_str();
    a.dfa = dfa.c_str();
    a.rec = rec.c_str();
    a.min = min;
    a.max = max;
    a.stp = stp;
    a.minc = minc;
    a.maxc = maxc;
    a.reg = reg.c_str();
    a.num = num;
    a.chc = chc.c_str();
}

std::ostream& operator<<(std::ostream& os, const template_info& info) {
    std::string line;
    for (const item_kind& kind : item_kinds) {
        if (is_written(kind.when, info)) {
            kind.append_to(line, info);
        }
    }
    line.push_back(template_info::record_end);
    line.push_back('\n');
    os.write(line.data(), static_cast<std::streamsize>(line.size()));
    return os << std::dec << std::flush;
}
