#include "redfish/http/request_reader.hpp"

#include <algorithm>
#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <cstddef>
#include <cstring>
#include <optional>
#include <utility>

#include "redfish/http/request_target.hpp"
#include "support/ascii_case.hpp"
#include "support/decimal.hpp"
#include "support/wiped_memory.hpp"

namespace dp_redfish {
namespace {

namespace http = boost::beast::http;
using dp_support::wiping_allocator;

// Requests have passwords and tokens.
using wiped_string = std::basic_string<char, std::char_traits<char>, wiping_allocator<char>>;
using wiped_body = http::basic_string_body<char, std::char_traits<char>, wiping_allocator<char>>;

void wipe_and_delete(http_request* request) {
    for (auto& [name, value] : request->headers) {
        dp_support::wipe(value);
    }
    dp_support::wipe(request->body);
    delete request;
}

// Fields that mean something else to each program when they occur twice.
constexpr std::array<std::string_view, 11> unique_fields = {
    "Authorization", "Content-Encoding", "Content-Length", "Content-Type", "Expect",
    "Host",          "If-Match",         "If-None-Match",  "Origin",       "Transfer-Encoding",
    "X-Auth-Token"};

// The last chunk, "0", CRLF, CRLF: a body in chunks is not complete with less. Beast 1.74 asserts
// that it gets as much when it sees the last chunk for the second time.
constexpr std::size_t least_chunked_rest = 5;

// Some clients send an empty line after a body, which is then before the next request.
constexpr std::size_t most_empty_lines = 4;

// Other fields that occur repeatedly are lists, whose parts are joined.
bool is_unique_field(std::string_view name) {
    return std::any_of(unique_fields.begin(), unique_fields.end(), [&](std::string_view field) {
        return dp_support::equal_ignoring_case(field, name);
    });
}

// Whether the first line of a request is well formed except for its version: "GET / HTTP/2.0".
bool has_other_version(std::string_view line) {
    const std::size_t end = line.rfind(' ');
    if (end == std::string_view::npos || std::count(line.begin(), line.end(), ' ') != 2) {
        return false;
    }
    const std::string_view version = line.substr(end + 1);
    return version.size() == 8 && version.starts_with("HTTP/") && version[6] == '.' &&
           dp_support::decimal::is_digits(version.substr(5, 1)) &&
           dp_support::decimal::is_digits(version.substr(7, 1));
}

}  // namespace

class request_reader::parser_state {
  public:
    explicit parser_state(const http_limits& limits) : limits_(limits) { restart(); }

    void restart() {
        state = states::header;
        request = std::shared_ptr<http_request>(new http_request, wipe_and_delete);
        authority.clear();
        line_is_checked_ = false;
        waits_to_continue = false;
        empty_lines_ = 0;
        is_chunked_ = false;
        parser_.emplace();
        parser_->header_limit(static_cast<std::uint32_t>(limits_.header));
        parser_->body_limit(limits_.body);
        // The header alone first: it is checked before anything of the body is kept.
        parser_->eager(false);
    }

    // Parses as many bytes as there are.
    void parse() {
        while (state == states::header || state == states::body) {
            if (state == states::header && !line_is_checked_ && !check_first_line()) {
                return;
            }
            const std::string_view rest = unread();
            if (rest.empty() || (is_chunked_ && rest.size() < least_chunked_rest)) {
                return;
            }
            boost::beast::error_code error;
            const std::size_t used =
                parser_->put(boost::asio::const_buffer(rest.data(), rest.size()), error);
            if (error && error != http::error::need_more) {
                return refuse(refusal_of(error));
            }
            consume(used);
            if (state == states::header && parser_->is_header_done()) {
                if (auto problem = check_header()) {
                    return refuse(std::move(*problem));
                }
                state = states::body;
                parser_->eager(true);
            }
            if (parser_->is_done()) {
                state = states::complete;
                return;
            }
            // A chunk's extension or the trailer has no limit in the parser.
            if (error && unread().size() > limits_.header) {
                return refuse({431, "The fields within the body are too long."});
            }
            if (error || used == 0) {
                return;
            }
        }
    }

    void take_over(std::string_view bytes) {
        if (position_ > 0) {
            const std::size_t rest = received_.size() - position_;
            std::copy_n(received_.begin() + static_cast<std::ptrdiff_t>(position_), rest,
                        received_.begin());
            explicit_bzero(received_.data() + rest, position_);
            received_.resize(rest);
            position_ = 0;
        }
        received_.append(bytes);
    }

    [[nodiscard]] bool has_begun() const {
        return state != states::header || !unread().empty() || parser_->got_some();
    }
    [[nodiscard]] bool keeps_alive() const { return parser_->keep_alive(); }
    [[nodiscard]] bool is_http_1_0() const { return parser_->get().version() == 10; }
    void move_body() {
        auto& body = parser_->get().body();
        request->body.assign(body.data(), body.size());
        body = {};
    }

    states state = states::header;
    std::shared_ptr<http_request> request;
    std::string authority;
    bool waits_to_continue = false;
    refusal why;

  private:
    using base_parser = http::request_parser<wiped_body, wiping_allocator<char>>;

    [[nodiscard]] std::string_view unread() const {
        return std::string_view(received_).substr(position_);
    }

    void consume(std::size_t count) { position_ += count; }

    void refuse(refusal reason) {
        state = states::refused;
        why = std::move(reason);
        received_ = {};
        position_ = 0;
    }

    // Skips empty lines before the request and limits the target, which the parser limits only with
    // the whole header. False: refused, or there is nothing to parse yet.
    bool check_first_line() {
        while (unread().starts_with("\r\n")) {
            if (++empty_lines_ > most_empty_lines) {
                refuse({400, "The request begins with empty lines."});
                return false;
            }
            consume(2);
        }
        const std::string_view rest = unread();
        if (rest == "\r") {
            return false;
        }
        const std::size_t end = rest.find("\r\n");
        const std::string_view line = rest.substr(0, end);
        const std::size_t method_end = line.find(' ');
        if (method_end != std::string_view::npos) {
            const std::string_view target = line.substr(method_end + 1);
            if (std::min(target.find(' '), target.size()) > limits_.target) {
                refuse({414, "The target of the request is too long."});
                return false;
            }
        }
        line_is_checked_ = end != std::string_view::npos;
        if (line_is_checked_) {
            has_other_version_ = has_other_version(line);
        }
        return true;
    }

    [[nodiscard]] refusal refusal_of(const boost::beast::error_code& error) const {
        if (error == http::error::header_limit) {
            return {431, "The header of the request is too large."};
        }
        if (error == http::error::body_limit || error == http::error::buffer_overflow) {
            return {413, "The body of the request is too large."};
        }
        if (error == http::error::bad_version && has_other_version_) {
            return {505, "This server knows the versions 1.0 and 1.1 of HTTP."};
        }
        return {400, "The request is not HTTP: " + error.message() + "."};
    }

    // Copies the header to the request and checks what the parser does not.
    std::optional<refusal> check_header() {
        const auto& message = parser_->get();
        std::size_t count = 0;
        for (const auto& field : message.base()) {
            const std::string name(field.name_string());
            std::string value(field.value());
            if (++count > limits_.fields) {
                return refusal{431, "The request has too many header fields."};
            }
            const auto [place, is_new] = request->headers.try_emplace(name, std::move(value));
            if (!is_new) {
                if (is_unique_field(name)) {
                    return refusal{400, "The field " + name + " occurs twice."};
                }
                place->second += ", ";
                place->second.append(field.value().data(), field.value().size());
            }
        }
        request->method = std::string(message.method_string());
        const std::string& method = request->method;
        if (!std::all_of(method.begin(), method.end(),
                         [](char c) { return c >= 'A' && c <= 'Z'; })) {
            return refusal{501, "The method is not known."};
        }
        auto problem = check_body_fields();
        return problem ? problem : check_target();
    }

    std::optional<refusal> check_body_fields() {
        const auto& fields = request->headers;
        const auto length = fields.find("Content-Length");
        const auto encoding = fields.find("Transfer-Encoding");
        if (length != fields.end() && encoding != fields.end()) {
            return refusal{400, "The request has both Content-Length and Transfer-Encoding."};
        }
        if (length != fields.end() && !dp_support::decimal::is_digits(length->second)) {
            return refusal{400, "The field Content-Length is not a number."};
        }
        if (encoding != fields.end() &&
            (!dp_support::equal_ignoring_case(encoding->second, "chunked") || is_http_1_0())) {
            return refusal{encoding->second.find("chunked") == std::string::npos ? 501U : 400U,
                           "The only Transfer-Encoding is chunked, in HTTP/1.1."};
        }
        const std::string_view content = request->header("Content-Encoding");
        if (!content.empty() && !dp_support::equal_ignoring_case(content, "identity")) {
            return refusal{415, "Bodies of requests must not be compressed."};
        }
        const std::string_view expected = request->header("Expect");
        if (!expected.empty() && !dp_support::equal_ignoring_case(expected, "100-continue")) {
            return refusal{417, "The only expectation is 100-continue."};
        }
        is_chunked_ = encoding != fields.end();
        waits_to_continue = !expected.empty() && !is_http_1_0();
        return std::nullopt;
    }

    std::optional<refusal> check_target() {
        const auto host = request->headers.find("Host");
        if (host == request->headers.end()) {
            return refusal{400, "The field Host is missing."};
        }
        auto target = request_target::parse(std::string(parser_->get().target()));
        if (!target) {
            return refusal{400, "The request is malformed: " + target.reason() + "."};
        }
        request->path = std::move(target->path);
        request->query = std::move(target->query);
        authority = target->authority.empty() ? host->second : std::move(target->authority);
        return std::nullopt;
    }

    http_limits limits_;
    std::optional<base_parser> parser_;
    wiped_string received_;
    std::size_t position_ = 0;  // of the first byte in received_ that was not parsed
    std::size_t empty_lines_ = 0;
    bool is_chunked_ = false;
    bool line_is_checked_ = false;
    bool has_other_version_ = false;
};

request_reader::request_reader(const http_limits& limits)
    : state_(std::make_unique<parser_state>(limits)) {}

request_reader::~request_reader() = default;

request_reader::states request_reader::append(std::string_view bytes) {
    if (state_->state == states::refused) {
        return states::refused;
    }
    state_->take_over(bytes);
    state_->parse();
    return state_->state;
}

request_reader::states request_reader::state() const {
    return state_->state;
}

bool request_reader::has_begun() const {
    return state_->has_begun();
}

http_request& request_reader::head() {
    return *state_->request;
}

const std::string& request_reader::authority() const {
    return state_->authority;
}

bool request_reader::waits_to_continue() const {
    return state_->waits_to_continue;
}

bool request_reader::keeps_alive() const {
    return state_->keeps_alive();
}

bool request_reader::is_http_1_0() const {
    return state_->is_http_1_0();
}

std::shared_ptr<const http_request> request_reader::take() {
    state_->move_body();
    return state_->request;
}

const refusal& request_reader::why() const {
    return state_->why;
}

request_reader::states request_reader::next() {
    state_->restart();
    state_->parse();
    return state_->state;
}

}  // namespace dp_redfish
