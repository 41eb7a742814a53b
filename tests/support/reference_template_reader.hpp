#ifndef DP_TESTS_SUPPORT_REFERENCE_TEMPLATE_READER_HPP
#define DP_TESTS_SUPPORT_REFERENCE_TEMPLATE_READER_HPP

#include <istream>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "bios/template_info.hpp"

namespace test {

inline std::uint32_t reference_number(const std::string& text, bool hex) {
    std::istringstream in(text);
    std::uint32_t number = 0;
    in >> (hex ? std::hex : std::dec) >> number;
    return number;
}

/// Parses a template record with streams, in the simplest way. The library's reader is compared
/// with it.
inline void reference_parse_record(template_info& info, const std::string& record) {
    std::istringstream in(record);
    while (in.good()) {
        std::string key;
        std::string value;
        std::getline(in, key, ':');
        std::getline(in, value, template_info::item_end);
        if (in.fail()) {
            break;
        }
        if (key == "id") {
            info.id = value;
        } else if (key == "spif") {
            info.spif = value;
        } else if (key == "grif") {
            info.grif = value;
        } else if (key == "cfg") {
            info.cfg = value;
        } else if (key == "cfgname") {
            info.cfgname = value;
        } else if (key == "cfgsetn") {
            info.cfgsetn = value;
        } else if (key == "grp") {
            info.grp = value;
        } else if (key == "gspif") {
            info.gspif = value;
        } else if (key == "ggrif") {
            info.ggrif = value;
        } else if (key == "mri") {
            info.mri = value;
        } else if (key == "dsc") {
            info.dsc = value;
        } else if (key == "fds") {
            info.fds = value;
        } else if (key == "type") {
            info.type = static_cast<std::int32_t>(reference_number(value, false));
        } else if (key == "flg") {
            info.flg = reference_number(value, true);
        } else if (key == "mni") {
            info.mni = reference_number(value, false);
        } else if (key == "mxi") {
            info.mxi = reference_number(value, false);
        } else if (key == "dft") {
            info.dft = value;
        } else if (key == "mfg") {
            info.mfg = value;
        } else if (key == "dfa") {
            info.dfa = value;
        } else if (key == "rec") {
            info.rec = value;
        } else if (key == "min") {
            info.min = reference_number(value, false);
        } else if (key == "max") {
            info.max = reference_number(value, false);
        } else if (key == "stp") {
            info.stp = reference_number(value, false);
        } else if (key == "minc") {
            info.minc = reference_number(value, false);
        } else if (key == "maxc") {
            info.maxc = reference_number(value, false);
        } else if (key == "reg") {
            info.reg = value;
        } else if (key == "num") {
            info.num = reference_number(value, false);
        } else if (key == "chc") {
            info.chc = value;
        }
    }
}

inline void reference_read_template(std::istream& in, std::vector<template_info>& out,
                                    const std::string& cfg) {
    std::string buffer(template_info::record_limit + 1, '\0');
    const std::string filter = cfg.empty() ? "" : "cfg:" + cfg + template_info::item_end;
    while (in.good()) {
        in.getline(buffer.data(), static_cast<std::streamsize>(buffer.size()),
                   template_info::record_end);
        if (in.fail()) {
            break;
        }
        // gcount includes the end byte, which is missing at the end of the stream.
        const auto taken = static_cast<std::size_t>(in.gcount()) - (in.eof() ? 0 : 1);
        const std::string record = buffer.substr(0, taken);
        if (record.find(filter) != std::string::npos) {
            out.emplace_back();
            reference_parse_record(out.back(), record);
        }
        if (in.peek() == '\n') {
            in.get();
        }
    }
}

/// All fields of an attribute, for comparison.
inline auto fields(const template_info& info) {
    const auto texts = std::tie(info.id, info.spif, info.grif, info.cfg, info.cfgname, info.cfgsetn,
                                info.grp, info.gspif, info.ggrif, info.mri, info.dsc, info.fds,
                                info.dft, info.mfg, info.dfa, info.rec, info.reg, info.chc);
    const auto numbers =
        std::tie(info.type, info.flg, info.mni, info.mxi, info.min, info.max, info.stp, info.minc,
                 info.maxc, info.num, info.leading_words[0], info.leading_words[1]);
    return std::tuple_cat(texts, numbers);
}

}  // namespace test

#endif
