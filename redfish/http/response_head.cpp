#include "redfish/http/response_head.hpp"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "support/ascii_case.hpp"

namespace dp_redfish {
namespace {

constexpr std::array<std::pair<unsigned, std::string_view>, 37> status_texts = {{
    {100, "Continue"},
    {101, "Switching Protocols"},
    {200, "OK"},
    {201, "Created"},
    {202, "Accepted"},
    {204, "No Content"},
    {301, "Moved Permanently"},
    {302, "Found"},
    {303, "See Other"},
    {304, "Not Modified"},
    {307, "Temporary Redirect"},
    {308, "Permanent Redirect"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {410, "Gone"},
    {411, "Length Required"},
    {412, "Precondition Failed"},
    {413, "Content Too Large"},
    {414, "URI Too Long"},
    {415, "Unsupported Media Type"},
    {417, "Expectation Failed"},
    {421, "Misdirected Request"},
    {428, "Precondition Required"},
    {429, "Too Many Requests"},
    {431, "Request Header Fields Too Large"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {503, "Service Unavailable"},
    {504, "Gateway Timeout"},
    {505, "HTTP Version Not Supported"},
    {507, "Insufficient Storage"},
}};

constexpr std::array<std::string_view, 7> framing_fields = {
    "Connection", "Content-Encoding",  "Content-Length",           "Date",
    "Keep-Alive", "Transfer-Encoding", "Strict-Transport-Security"};

bool is_framing_field(std::string_view name) {
    return std::any_of(framing_fields.begin(), framing_fields.end(), [&](std::string_view field) {
        return dp_support::equal_ignoring_case(field, name);
    });
}

// "Sun, 06 Nov 1994 08:49:37 GMT", whatever the locale.
std::string http_date(std::time_t now) {
    static constexpr std::array<const char*, 7> days = {"Sun", "Mon", "Tue", "Wed",
                                                        "Thu", "Fri", "Sat"};
    static constexpr std::array<const char*, 12> months = {
        "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::tm parts{};
    gmtime_r(&now, &parts);
    const auto two_digits = [](int number) {
        return std::string(number < 10 ? "0" : "") + std::to_string(number);
    };
    return std::string(days[static_cast<std::size_t>(parts.tm_wday)]) + ", " +
           two_digits(parts.tm_mday) + " " + months[static_cast<std::size_t>(parts.tm_mon)] + " " +
           std::to_string(parts.tm_year + 1900) + " " + two_digits(parts.tm_hour) + ":" +
           two_digits(parts.tm_min) + ":" + two_digits(parts.tm_sec) + " GMT";
}

class field_writer {
  public:
    void add(std::string_view name, std::string_view value) {
        text_ += name;
        text_ += ": ";
        std::transform(value.begin(), value.end(), std::back_inserter(text_), [](char c) {
            return static_cast<unsigned char>(c) < 0x20 || c == 0x7f ? ' ' : c;
        });
        text_ += "\r\n";
    }

    void add_line(const std::string& line) { text_ += line + "\r\n"; }

    [[nodiscard]] std::string take() { return std::move(text_) + "\r\n"; }

  private:
    std::string text_;
};

void add_security_fields(field_writer& fields, const header_fields& own, bool is_secure) {
    const auto add_default = [&](const char* name, const char* value) {
        if (own.find(name) == own.end()) {
            fields.add(name, value);
        }
    };
    // With an ETag, a client may keep a copy if it asks each time whether it is still valid.
    add_default("Cache-Control", own.find("ETag") == own.end() ? "no-store" : "no-cache");
    add_default("Content-Security-Policy", "default-src 'none'; frame-ancestors 'none'");
    add_default("Referrer-Policy", "no-referrer");
    add_default("X-Content-Type-Options", "nosniff");
    add_default("X-Frame-Options", "DENY");
    if (is_secure) {
        fields.add("Strict-Transport-Security", "max-age=31536000");
    }
}

}  // namespace

std::string_view status_text(unsigned status) {
    const auto* const found =
        std::find_if(status_texts.begin(), status_texts.end(),
                     [&](const auto& known) { return known.first == status; });
    return found == status_texts.end() ? "Status" : found->second;
}

std::string response_head(const http_response& response, const response_framing& framing) {
    field_writer fields;
    fields.add_line("HTTP/1.1 " + std::to_string(response.status) + " " +
                    std::string(status_text(response.status)));
    fields.add("Date", http_date(framing.now));
    bool varies = framing.varies;
    for (const auto& [name, value] : response.headers) {
        if (dp_support::equal_ignoring_case(name, "Vary")) {
            fields.add(name, varies ? value + ", Accept-Encoding" : value);
            varies = false;
        } else if (!is_framing_field(name)) {
            fields.add(name, value);
        }
    }
    if (varies) {
        fields.add("Vary", "Accept-Encoding");
    }
    add_security_fields(fields, response.headers, framing.is_secure);
    if (framing.is_gzip) {
        fields.add("Content-Encoding", "gzip");
    }
    if (framing.is_chunked) {
        fields.add("Transfer-Encoding", "chunked");
    } else if (framing.length) {
        fields.add("Content-Length", std::to_string(*framing.length));
    }
    fields.add("Connection", framing.keeps_alive ? "keep-alive" : "close");
    return fields.take();
}

}  // namespace dp_redfish
