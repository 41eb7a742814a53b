#ifndef DP_TESTS_SUPPORT_SAMPLE_TEMPLATE_HPP
#define DP_TESTS_SUPPORT_SAMPLE_TEMPLATE_HPP

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bios/dp_api.h"
#include "bios/template_info.hpp"
#include "service_api/template_flags.hpp"

/// Template attributes of each kind, for tests.
namespace test {

inline template_info attribute_of_type(std::string cfg, std::string id, std::int32_t type,
                                       std::string dft) {
    template_info info;
    info.cfg = std::move(cfg);
    info.id = std::move(id);
    info.type = type;
    info.dft = std::move(dft);
    return info;
}

inline template_info choice(std::string cfg, std::string id, std::string dft, std::string chc) {
    auto info =
        attribute_of_type(std::move(cfg), std::move(id), DP_TYPE_ENUMERATION, std::move(dft));
    info.chc = std::move(chc);
    return info;
}

inline template_info number(std::string cfg, std::string id, std::string dft, std::uint32_t min,
                            std::uint32_t max, std::uint32_t stp) {
    auto info = attribute_of_type(std::move(cfg), std::move(id), template_info::type_numeric,
                                  std::move(dft));
    info.min = min;
    info.max = max;
    info.stp = stp;
    return info;
}

/// `count` numbers named Attribute0, Attribute1, ..., whose default is 0.
inline std::vector<template_info> numbers(const std::string& cfg, unsigned count) {
    std::vector<template_info> infos;
    for (unsigned i = 0; i < count; ++i) {
        infos.push_back(number(cfg, "Attribute" + std::to_string(i), "0", 0, 65535, 1));
    }
    return infos;
}

inline template_info text(std::string cfg, std::string id, std::string dft, std::uint32_t minc,
                          std::uint32_t maxc, std::string reg) {
    auto info = attribute_of_type(std::move(cfg), std::move(id), template_info::type_string,
                                  std::move(dft));
    info.minc = minc;
    info.maxc = maxc;
    info.reg = std::move(reg);
    return info;
}

inline template_info with_instances(template_info info, std::uint32_t mni, std::uint32_t mxi) {
    info.mni = mni;
    info.mxi = mxi;
    return info;
}

inline template_info with_flags(template_info info, std::uint32_t flags) {
    info.flg |= flags;
    return info;
}

inline template_info in_record(template_info info, std::string record) {
    info.flg |= template_info::rec_flag;
    info.rec = std::move(record);
    return info;
}

/// Two collections with all kinds of attributes.
inline std::vector<template_info> sample_template() {
    return {
        choice("Boot", "Mode", "UEFI", "UEFI,Legacy"),
        number("Boot", "Delay", "5", 0, 60, 5),
        text("Boot", "Label", "disk", 0, 20, ""),
        with_flags(choice("Boot", "Vendor", "acme", "acme,other"),
                   dp_service::template_flags::read_only),
        attribute_of_type("Boot", "Order", DP_TYPE_ENUMERATION,
                          "[value='HDD',order='1'],[value='PXE',order='2']"),
        with_instances(number("Ports", "Speed", "10", 1, 1000, 1), 1, 4),
        with_flags(in_record(with_instances(text("Ports", "User", "", 0, 16, ""), 1, 8), "users"),
                   1U << 21),
        in_record(with_instances(choice("Ports", "Role", "guest", "guest,admin"), 1, 8), "users"),
    };
}

}  // namespace test

#endif
