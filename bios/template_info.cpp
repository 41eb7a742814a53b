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

// Records are scanned by hand, in place, in one pass over the file's bytes. The rules are those of
// a delimited stream extraction, which the tests keep beside it:
//   - a record ends with A7 or with the file; one line feed directly behind A7 belongs to it;
//   - a key ends with the first ":" behind it, whatever stands before; without one, nothing more of
//     the record counts;
//   - a value ends with the first 95, or with the record; a key with nothing at all behind its ":"
//     is dropped.
// Every byte may be zero.

namespace {

std::uint32_t decimal(std::string_view text) {
    return dp::parse_unsigned(text, dp::number_base::decimal).value;
}

std::uint32_t hexadecimal(std::string_view text) {
    return dp::parse_unsigned(text, dp::number_base::hexadecimal).value;
}

/// A key and its colon, which are never longer than a word of 64 bits: one comparison tells
/// whether an item begins with them.
class item_key {
  public:
    explicit constexpr item_key(std::string_view key) {
        std::array<char, sizeof(word)> bytes{};
        std::array<char, sizeof(word)> taken{};
        for (std::size_t i = 0; i <= key.size(); ++i) {
            bytes.at(i) = i < key.size() ? key[i] : ':';
            taken.at(i) = '\xFF';
        }
        bytes_ = std::bit_cast<word>(bytes);
        taken_ = std::bit_cast<word>(taken);
        size_ = key.size() + 1;
    }

    /// As many bytes of an item as a key may have.
    using word = std::uint64_t;
    static word first_bytes(const char* item) {
        word bytes = 0;
        std::memcpy(&bytes, item, sizeof bytes);
        return bytes;
    }

    [[nodiscard]] bool begins(word item) const { return ((item ^ bytes_) & taken_) == 0; }
    [[nodiscard]] std::size_t size() const { return size_; }

  private:
    word bytes_ = 0;
    word taken_ = 0;  // the bits of `bytes_` that count
    std::size_t size_ = 0;
};

void store_text(std::string& text, std::string_view value) {
    if (value.size() <= text.capacity()) {
        text.clear();
        text.append(value);
    } else {
        // A new text takes no more memory than it needs; one that grows takes twice as much.
        text = std::string(value);
    }
}

/// A kind of item: its key, and the field that takes its value.
struct item_kind {
    constexpr item_kind(std::string_view name, std::string template_info::*field)
        : key(name), text(field) {}
    constexpr item_kind(std::string_view name, std::uint32_t template_info::*field,
                        std::uint32_t (*conversion)(std::string_view) = decimal)
        : key(name), number(field), read(conversion) {}
    /// Read like the unsigned numbers; "-1" comes out as -1 all the same.
    constexpr item_kind(std::string_view name, std::int32_t template_info::*field)
        : key(name), signed_number(field) {}

    void store(template_info& info, std::string_view value) const {
        if (text != nullptr) {
            store_text(info.*text, value);
        } else if (number != nullptr) {
            info.*number = read(value);
        } else {
            info.*signed_number = static_cast<std::int32_t>(decimal(value));
        }
    }

    item_key key;
    std::string template_info::*text = nullptr;
    std::uint32_t template_info::*number = nullptr;
    std::uint32_t (*read)(std::string_view) = nullptr;
    std::int32_t template_info::*signed_number = nullptr;
};

/// In the order in which records are written.
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
    item_kind{"flg", &template_info::flg, hexadecimal},
    item_kind{"dft", &template_info::dft},
    item_kind{"mni", &template_info::mni},
    item_kind{"mxi", &template_info::mxi},
    item_kind{"mfg", &template_info::mfg},
    item_kind{"dfa", &template_info::dfa},
    item_kind{"type", &template_info::type},
    item_kind{"rec", &template_info::rec},
    item_kind{"min", &template_info::min},
    item_kind{"max", &template_info::max},
    item_kind{"stp", &template_info::stp},
    item_kind{"minc", &template_info::minc},
    item_kind{"maxc", &template_info::maxc},
    item_kind{"reg", &template_info::reg},
    item_kind{"num", &template_info::num},
    item_kind{"chc", &template_info::chc},
};

/// Finds the kinds of a record's items. Items mostly come in the order in which they are written,
/// so the search goes on behind the kind that was found last.
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

/// What must be readable behind a record: an end byte, which no key goes beyond, and further bytes
/// that may hold anything.
constexpr std::size_t record_padding = sizeof(item_key::word);

/// The first item end from `at` on, or `last`.
const char* find_item_end(const char* at, const char* last) {
    if constexpr (dp::byte_scan::is_supported) {
        // Most values are shorter than a chunk.
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

/// Splits a stream into records. Holds one window of the file and looks at each byte once, but for
/// the part of a record that lies across two windows.
class record_splitter {
  public:
    explicit record_splitter(std::istream& in)
        : in_(in), window_(std::make_unique_for_overwrite<char[]>(window_size + record_padding)) {}

    /// The next record without its end byte, good until the next call. False at the end of the
    /// stream, and for a record that is too long, which leaves the stream failed.
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

    /// How much the records so far took, and about how much the stream still has.
    [[nodiscard]] std::size_t bytes_read() const { return bytes_read_; }
    [[nodiscard]] std::size_t bytes_left() const {
        const std::streamsize in_stream = in_.rdbuf()->in_avail();
        return size() + (in_stream > 0 ? static_cast<std::size_t>(in_stream) : 0);
    }

  private:
    static constexpr std::size_t window_size = 65536;

    [[nodiscard]] const char* start() const { return window_.get() + begin_; }
    [[nodiscard]] std::size_t size() const { return end_ - begin_; }

    /// The end byte of the record at `start`, as far as a record may reach; null without one.
    [[nodiscard]] const char* find_end() const {
        const std::size_t reach = std::min<std::size_t>(size(), template_info::record_limit + 1);
        return static_cast<const char*>(std::memchr(start(), template_info::record_end, reach));
    }

    /// Moves what is left to the front and fills the window up behind it, as far as there is more.
    void refill() {
        std::memmove(window_.get(), start(), size());
        end_ = size();
        begin_ = 0;
        if (in_.good()) {
            in_.read(window_.get() + end_, static_cast<std::streamsize>(window_size - end_));
            end_ += static_cast<std::size_t>(in_.gcount());
        }
        window_[end_] = template_info::record_end;
    }

    std::istream& in_;
    std::unique_ptr<char[]> window_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::size_t bytes_read_ = 0;
    bool skip_line_feed_ = false;
};

void append_text(std::string& line, std::string_view key, std::string_view value) {
    line.append(key);
    line.append(value);
    line.push_back(template_info::item_end);
}

template <class Integer>
void append_number(std::string& line, std::string_view key, Integer value, int base = 10) {
    std::array<char, 16> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value, base);
    append_text(line, key, {digits.data(), static_cast<std::size_t>(written.ptr - digits.data())});
}

}  // namespace

// The texts that the operations below take by value are part of their signatures.
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
        append_text(filter, "cfg:", cfg);
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
    append_text(line, "id:", info.id);
    append_text(line, "cfg:", info.cfg);
    append_text(line, "cfgname:", info.cfgname);
    append_text(line, "cfgsetn:", info.cfgsetn);
    append_text(line, "grp:", info.grp);
    append_text(line, "spif:", info.spif);
    append_text(line, "grif:", info.grif);
    append_text(line, "gspif:", info.gspif);
    append_text(line, "ggrif:", info.ggrif);
    append_text(line, "mri:", info.mri);
    append_text(line, "dsc:", info.dsc);
    append_text(line, "fds:", info.fds);
    append_number(line, "flg:", info.flg, 16);
    append_text(line, "dft:", info.dft);
    append_number(line, "mni:", info.mni);
    append_number(line, "mxi:", info.mxi);
    append_text(line, "mfg:", info.mfg);
    append_text(line, "dfa:", info.dfa);
    append_number(line, "type:", info.type);
    if ((info.flg & template_info::rec_flag) != 0) {
        append_text(line, "rec:", info.rec);
    }
    switch (info.type) {
        case template_info::type_numeric:
            append_number(line, "min:", info.min);
            append_number(line, "max:", info.max);
            append_number(line, "stp:", info.stp);
            break;
        case template_info::type_string:
            append_number(line, "minc:", info.minc);
            append_number(line, "maxc:", info.maxc);
            append_text(line, "reg:", info.reg);
            break;
        case template_info::type_no_range:
            break;
        default:
            append_number(line, "num:", info.num);
            append_text(line, "chc:", info.chc);
            break;
    }
    line.push_back(template_info::record_end);
    line.push_back('\n');
    os.write(line.data(), static_cast<std::streamsize>(line.size()));
    return os << std::dec << std::flush;
}
