// Arbitrary bytes as what a client sends to the HTTP server: however they are cut into pieces, the
// same requests are read, and what is accepted is unambiguous and within the limits.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "redfish/http/gzip.hpp"
#include "redfish/http/host_rules.hpp"
#include "redfish/http/http_limits.hpp"
#include "redfish/http/request_reader.hpp"
#include "redfish/http/response_head.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/input.hpp"

namespace {

using dp_redfish::request_reader;

dp_redfish::http_limits fuzz_limits() {
    dp_redfish::http_limits limits;
    limits.header = 4096;
    limits.target = 512;
    limits.fields = 20;
    limits.body = 1000;
    return limits;
}

bool has_hostile_segment(std::string_view path) {
    while (!path.empty()) {
        const std::string_view segment = path.substr(0, path.find('/'));
        if (segment == "." || segment == "..") {
            return true;
        }
        path.remove_prefix(std::min(segment.size() + 1, path.size()));
    }
    return false;
}

void check_request(const dp_redfish::http_request& request) {
    const auto limits = fuzz_limits();
    fuzzing::require(!request.path.empty() && request.path.front() == '/', "a path begins with /");
    fuzzing::require(!has_hostile_segment(request.path), "a path stays below its root");
    fuzzing::require(request.path.find('\0') == std::string::npos, "a path has no NUL");
    fuzzing::require(request.path.size() <= limits.target, "the target is limited");
    fuzzing::require(request.body.size() <= limits.body, "the body is limited");
    fuzzing::require(request.headers.size() <= limits.fields, "the fields are limited");
    fuzzing::require(request.headers.count("Host") == 1, "there is a host");
    fuzzing::require(request.headers.count("Content-Length") == 0 ||
                         request.headers.count("Transfer-Encoding") == 0,
                     "the length of the body is unambiguous");
    dp_redfish::accepts_gzip(request.header("Accept-Encoding"));
    const dp_redfish::host_rules rules({});
    if (const auto problem = rules.check(request, request.header("Host"), "192.0.2.1")) {
        fuzzing::require(problem->status >= 400, "a refusal has a status");
    }
    // What a client sends cannot split a response.
    dp_redfish::http_response response;
    response.headers["Location"] = request.path;
    const std::string head = dp_redfish::response_head(response, {});
    fuzzing::require(head.find("\r\n\r\n") == head.size() - 4, "a head ends once");
}

// The requests in the bytes, up to one that is refused.
std::vector<std::string> read_all(std::string_view bytes, std::size_t piece_size) {
    std::vector<std::string> found;
    request_reader reader(fuzz_limits());
    while (!bytes.empty()) {
        reader.append(bytes.substr(0, piece_size));
        bytes.remove_prefix(std::min(piece_size, bytes.size()));
        while (reader.state() == request_reader::states::complete) {
            const auto request = reader.take();
            check_request(*request);
            found.push_back(request->method + " " + request->path + " " + request->body);
            reader.next();
        }
        if (reader.state() == request_reader::states::refused) {
            fuzzing::require(reader.why().status >= 400 && reader.why().status < 600 &&
                                 !reader.why().reason.empty(),
                             "a refusal has a status and a reason");
            break;
        }
    }
    return found;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzing::input in(data, size);
    const std::size_t piece_size = 1 + in.below(64);
    const std::string text = in.rest();
    const auto whole = read_all(text, std::max<std::size_t>(text.size(), 1));
    const auto pieces = read_all(text, piece_size);
    fuzzing::require(whole == pieces, "pieces do not change what is read");
    return 0;
}
