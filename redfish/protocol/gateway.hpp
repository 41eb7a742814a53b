#ifndef DP_REDFISH_PROTOCOL_GATEWAY_HPP
#define DP_REDFISH_PROTOCOL_GATEWAY_HPP

#include <cstddef>
#include <memory>

#include "redfish/access/access_control.hpp"
#include "redfish/http/http_message.hpp"
#include "redfish/protocol/deferred_operations.hpp"
#include "redfish/protocol/route_table.hpp"

namespace dp_redfish {

/// The rules of the Redfish protocol that do not depend on a resource: who may do what, methods,
/// versions, media types, bodies, conditions (ETags), queries, and errors. The rest is done by the
/// operation of the route.
///
/// An operation that throws, or that is dropped without an answer, is answered with 500.
class gateway final : public http_handler {
  public:
    /// Collections with more members are answered in pages.
    static constexpr std::size_t page_size = 200;

    /// Both must outlive the gateway, and the gateway all requests. The table must not change any
    /// more.
    gateway(const route_table& routes, access_control& access,
            deferred_operations* deferred = nullptr)
        : routes_(routes), access_(access), deferred_(deferred) {}

    void handle(std::shared_ptr<const http_request> request, send_response respond) override;

  private:
    const route_table& routes_;
    access_control& access_;
    deferred_operations* deferred_;  // not owned; null: no operation is deferred
};

}  // namespace dp_redfish

#endif
