#ifndef DP_TESTS_SUPPORT_TEMPLATE_RECORDS_HPP
#define DP_TESTS_SUPPORT_TEMPLATE_RECORDS_HPP

#include <initializer_list>
#include <string>
#include <string_view>

namespace test {

/// One item of a template record.
inline std::string item(std::string_view key, std::string_view value) {
    std::string text(key);
    text += ':';
    text += value;
    text += '\x95';
    return text;
}

/// A template record of the items.
inline std::string record(std::initializer_list<std::string> items) {
    std::string text;
    for (const auto& next : items) {
        text += next;
    }
    text += "\xA7\n";
    return text;
}

/// The template record of an attribute.
inline std::string attribute(std::string_view cfg, std::string_view id, std::string_view dft = "",
                             std::string_view dfa = "") {
    return record({item("id", id), item("cfg", cfg), item("dft", dft), item("dfa", dfa)});
}

}  // namespace test

#endif
