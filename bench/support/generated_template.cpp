#include "bench/support/generated_template.hpp"

#include <array>
#include <random>
#include <sstream>

namespace bench {

const std::vector<std::string>& generated_collections() {
    static const std::vector<std::string> names{"BootOptions",       "Processor", "Memory",
                                                "DevicesAndIOPorts", "Power",     "OperatingModes"};
    return names;
}

std::vector<template_info> generated_template(std::size_t count) {
    std::mt19937 random(1);
    std::vector<template_info> infos(count);
    for (std::size_t i = 0; i < count; ++i) {
        template_info& info = infos[i];
        const std::string number = std::to_string(i);
        info.cfg = generated_collections()[random() % generated_collections().size()];
        info.id = "AttributeOfTheServer" + number;
        info.cfgname = "System " + info.cfg;
        info.cfgsetn = info.id;
        info.grp = "./Setup/" + info.cfg + "/Group " + std::to_string(i % 16);
        info.spif = info.grif = info.gspif = info.ggrif = "0";
        info.mri = "Attribute " + number;
        info.dsc = "What the server does with attribute " + number;
        info.fds = "A help text of two or three lines that says when one wants this changed, " +
                   std::string(random() % 80, 'x');
        info.flg = static_cast<std::uint32_t>(random() % 4 << 8U);
        switch (random() % 4) {
            case 0:
                info.type = template_info::type_numeric;
                info.max = 65535;
                info.stp = 1;
                info.dft = std::to_string(random() % 65536);
                break;
            case 1:
                info.type = template_info::type_string;
                info.maxc = 64;
                info.reg = "^[A-Za-z0-9]*$";
                info.dft = "Name" + number;
                break;
            default:
                info.type = DP_TYPE_ENUMERATION;
                info.num = 3;
                info.chc = "Enabled,Disabled,Automatic";
                info.dft = "Enabled";
                break;
        }
        info.mfg = info.dft;
    }
    return infos;
}

std::string template_text(const std::vector<template_info>& infos) {
    std::ostringstream text;
    for (const auto& info : infos) {
        text << info;
    }
    return text.str();
}

std::string settings_text(const std::vector<template_info>& infos) {
    std::string text;
    for (const auto& info : infos) {
        text += "0 0 <t> set " + info.cfg + '.' + info.id + " \"" + info.dft + "\" \"\" \n";
    }
    return text;
}

}  // namespace bench
