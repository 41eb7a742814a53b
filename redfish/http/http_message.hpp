#ifndef DP_REDFISH_HTTP_HTTP_MESSAGE_HPP
#define DP_REDFISH_HTTP_HTTP_MESSAGE_HPP

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/ascii_case.hpp"

namespace dp_redfish {

/// Orders the names of header fields, whose case of letters does not matter.
struct field_name_order {
    using is_transparent = void;
    bool operator()(std::string_view left, std::string_view right) const {
        return dp_support::lower_case(left) < dp_support::lower_case(right);
    }
};

/// Header fields by name. The values of a field that occurs repeatedly are joined by ", ".
using header_fields = std::map<std::string, std::string, field_name_order>;

/// A request as it was received, whole.
struct http_request {
    std::string method;  ///< "GET", in upper-case letters
    std::string path;    ///< decoded, begins with '/'; has no segment "." or ".."
    std::vector<std::pair<std::string, std::string>> query;  ///< decoded, in its order
    header_fields headers;
    std::string body;
    std::string peer;        ///< the client's address: "127.0.0.1"
    bool is_secure = false;  ///< received with TLS

    /// The value of a header field; empty if there is none.
    [[nodiscard]] std::string_view header(std::string_view name) const {
        const auto found = headers.find(name);
        return found == headers.end() ? std::string_view() : found->second;
    }
};

/// The way of a body without a known end, as of server-sent events, to the client. Its functions
/// may be called from any thread.
class body_stream {
  public:
    virtual ~body_stream() = default;

    /// Sends more of the body, later. False: the client is gone, or reads too slowly and is closed.
    virtual bool write(std::string piece) = 0;

    /// Ends the body. So does the destruction of the last pointer to this object.
    virtual void end() = 0;

    /// Has `closed` called once on the server's thread when the connection is closed, for whatever
    /// reason. To be called in `http_response::start_stream`; once.
    virtual void on_close(std::function<void()> closed) = 0;
};

/// What `http_server` sends for a request. It adds Content-Length, Date and what the connection
/// needs, compresses the body if the client accepts that, and sends no body for HEAD.
struct http_response {
    unsigned status = 200;
    header_fields headers;
    std::shared_ptr<const std::string>
        body;  ///< shared, so that a large text is kept once; null: none
    /// Set for a body that is sent piece by piece; `body` is unused then. Called once, on the
    /// server's thread, when the header is on its way, and not for HEAD.
    std::function<void(std::shared_ptr<body_stream>)> start_stream{};
};

/// Sends the response of one request. To be called once, from any thread. When the client is gone,
/// the response is dropped.
using send_response = std::function<void(http_response)>;

/// Answers requests.
class http_handler {
  public:
    virtual ~http_handler() = default;

    /// Called on the server's thread for each request, also for several of different connections
    /// before the first is answered. Must not block: what takes long is done by another thread.
    virtual void handle(std::shared_ptr<const http_request> request, send_response respond) = 0;
};

}  // namespace dp_redfish

#endif
