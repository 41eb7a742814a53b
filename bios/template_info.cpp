#include "bios/template_info.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <memory>
#include <ostream>
#include <string_view>

#include "common/likely_room.hpp"
#include "common/numbers.hpp"

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

constexpr std::size_t longest_key = 7;

/// A key as one number: the bytes behind a first bit that marks its length. It is a key's own as
/// long as the key is no longer than the longest one.
constexpr std::uint64_t no_bytes = 1;
constexpr std::uint64_t with_byte(std::uint64_t number, char byte) {
    return number << 8U | static_cast<unsigned char>(byte);
}
constexpr std::uint64_t packed(std::string_view key) {
    std::uint64_t number = no_bytes;
    for (const char byte : key) {
        number = with_byte(number, byte);
    }
    return number;
}

void store_item(template_info& info, std::uint64_t key, std::string_view value) {
    switch (key) {
        case packed("id"):
            info.id = value;
            break;
        case packed("spif"):
            info.spif = value;
            break;
        case packed("grif"):
            info.grif = value;
            break;
        case packed("cfg"):
            info.cfg = value;
            break;
        case packed("cfgname"):
            info.cfgname = value;
            break;
        case packed("cfgsetn"):
            info.cfgsetn = value;
            break;
        case packed("grp"):
            info.grp = value;
            break;
        case packed("gspif"):
            info.gspif = value;
            break;
        case packed("ggrif"):
            info.ggrif = value;
            break;
        case packed("mri"):
            info.mri = value;
            break;
        case packed("dsc"):
            info.dsc = value;
            break;
        case packed("fds"):
            info.fds = value;
            break;
        case packed("type"):
            // Read like the unsigned numbers; "-1" comes out as -1 all the same.
            info.type = static_cast<std::int32_t>(decimal(value));
            break;
        case packed("flg"):
            info.flg = hexadecimal(value);
            break;
        case packed("mni"):
            info.mni = decimal(value);
            break;
        case packed("mxi"):
            info.mxi = decimal(value);
            break;
        case packed("dft"):
            info.dft = value;
            break;
        case packed("mfg"):
            info.mfg = value;
            break;
        case packed("dfa"):
            info.dfa = value;
            break;
        case packed("rec"):
            info.rec = value;
            break;
        case packed("min"):
            info.min = decimal(value);
            break;
        case packed("max"):
            info.max = decimal(value);
            break;
        case packed("stp"):
            info.stp = decimal(value);
            break;
        case packed("minc"):
            info.minc = decimal(value);
            break;
        case packed("maxc"):
            info.maxc = decimal(value);
            break;
        case packed("reg"):
            info.reg = value;
            break;
        case packed("num"):
            info.num = decimal(value);
            break;
        case packed("chc"):
            info.chc = value;
            break;
        default:
            break;
    }
}

void parse_record(template_info& info, std::string_view record) {
    for (std::size_t position = 0; position < record.size();) {
        std::uint64_t key = no_bytes;
        std::size_t colon = position;
        for (; colon < record.size() && record[colon] != ':'; ++colon) {
            key = with_byte(key, record[colon]);
        }
        const std::size_t value = colon + 1;
        if (value >= record.size()) {
            return;
        }
        const std::size_t end =
            std::min(record.find(template_info::item_end, value), record.size());
        if (colon - position <= longest_key) {
            store_item(info, key, record.substr(value, end - value));
        }
        position = end + 1;
    }
}

/// Splits a stream into records. Holds one window of the file and looks at each byte once, but for
/// the part of a record that lies across two windows.
class record_splitter {
  public:
    explicit record_splitter(std::istream& in)
        : in_(in), window_(std::make_unique_for_overwrite<char[]>(window_size)) {}

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
    parse_record(*this, record);
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
                dp::make_likely_room(out, records.bytes_read() / taken, records.bytes_left());
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
