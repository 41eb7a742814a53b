#ifndef DP_TESTS_UNIT_TOOLS_DPCTL_SAMPLE_ATTRIBUTE_HPP
#define DP_TESTS_UNIT_TOOLS_DPCTL_SAMPLE_ATTRIBUTE_HPP

#include "bios/dp_api.h"

namespace test {

/// An attribute with a name and a type, everything else empty.
inline dp_attribute sample_attribute(const char* id, std::int32_t type) {
    dp_attribute a{};
    for (const char** const text :
         {&a.spif, &a.grif, &a.cfg, &a.cfgname, &a.cfgsetn, &a.grp, &a.gspif, &a.ggrif, &a.mri,
          &a.dsc, &a.fds, &a.dft, &a.mfg, &a.dfa, &a.rec, &a.reg, &a.chc}) {
        *text = "";
    }
    a.id = id;
    a.type = type;
    return a;
}

inline dp_attribute sample_choices(const char* id, const char* choices) {
    dp_attribute a = sample_attribute(id, DP_TYPE_ENUMERATION);
    a.chc = choices;
    return a;
}

inline dp_attribute sample_number(const char* id, std::uint32_t min, std::uint32_t max,
                                  std::uint32_t step) {
    dp_attribute a = sample_attribute(id, DP_TYPE_NUMERIC);
    a.min = min;
    a.max = max;
    a.stp = step;
    return a;
}

inline dp_attribute sample_string(const char* id, std::uint32_t least, std::uint32_t most,
                                  const char* pattern) {
    dp_attribute a = sample_attribute(id, DP_TYPE_STRING);
    a.minc = least;
    a.maxc = most;
    a.reg = pattern;
    return a;
}

}  // namespace test

#endif
