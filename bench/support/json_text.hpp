#ifndef DP_BENCH_SUPPORT_JSON_TEXT_HPP
#define DP_BENCH_SUPPORT_JSON_TEXT_HPP

#include <cstdio>
#include <string>
#include <string_view>

namespace bench {

/// Appends one object of JSON Lines to a text, member by member.
class json_object {
  public:
    explicit json_object(std::string& text) : text_(text) { text_ += '{'; }

    void add(std::string_view key, std::string_view value) {
        begin(key);
        text_ += '"';
        for (const char c : value) {
            append(c);
        }
        text_ += '"';
    }

    void add(std::string_view key, long long value) {
        begin(key);
        text_ += std::to_string(value);
    }

    void end() { text_ += "}\n"; }

  private:
    void begin(std::string_view key) {
        if (text_.back() != '{') {
            text_ += ',';
        }
        text_ += '"';
        text_ += key;
        text_ += "\":";
    }

    void append(char c) {
        if (c == '"' || c == '\\') {
            text_ += '\\';
        }
        if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
            text_ += escaped;
            return;
        }
        text_ += c;
    }

    std::string& text_;
};

}  // namespace bench

#endif
