#ifndef DP_REDFISH_HTTP_SERVER_CONTEXT_HPP
#define DP_REDFISH_HTTP_SERVER_CONTEXT_HPP

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <cstddef>
#include <list>
#include <mutex>
#include <string>
#include <utility>

#include "redfish/http/compressed_texts.hpp"
#include "redfish/http/host_rules.hpp"
#include "redfish/http/http_server.hpp"

namespace dp_redfish {

class http_connection;

/// What the connections of a server share. Used on the server's thread only.
struct server_context {
    server_context(http_options given, http_handler& owner_of_answers)
        : options(std::move(given)), handler(owner_of_answers), rules(options.host_names) {}

    void log(const std::string& line) const {
        if (options.log) {
            options.log(line);
        }
    }

    http_options options;
    http_handler& handler;
    host_rules rules;
    compressed_texts compressed;
    std::size_t running_requests = 0;         // given to the handler, not yet answered
    std::list<http_connection*> connections;  // the oldest first, not owned: they own themselves
    bool is_stopping = false;
    // Last: destroys the operations that are left, and with them their connections.
    boost::asio::io_context io{1};
};

/// The way of other threads to the server's thread, which may end at any time.
class server_entrance {
  public:
    explicit server_entrance(server_context& context) : context_(&context) {}

    /// Has the server's thread call `action(server_context&)`. False: the server has ended.
    template <class Action>
    bool post(Action action) {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (context_ == nullptr) {
            return false;
        }
        boost::asio::post(context_->io, [context = context_, action = std::move(action)]() mutable {
            action(*context);
        });
        return true;
    }

    /// No action is accepted from now on.
    void close() {
        const std::lock_guard<std::mutex> guard(mutex_);
        context_ = nullptr;
    }

  private:
    std::mutex mutex_;
    server_context* context_;  // not owned; null: the server has ended
};

}  // namespace dp_redfish

#endif
