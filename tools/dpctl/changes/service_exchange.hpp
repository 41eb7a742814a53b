#ifndef DP_TOOLS_DPCTL_CHANGES_SERVICE_EXCHANGE_HPP
#define DP_TOOLS_DPCTL_CHANGES_SERVICE_EXCHANGE_HPP

#include "service_api/exchange_lock.hpp"

namespace dpctl {

class report;

/// Whether a request can be sent to the settings service, that is, whether its exchange folder and
/// request file are writable. If not, reports why. Otherwise the client would wait a minute for an
/// answer that cannot come.
bool can_send_requests(report& rep);

/// Takes the lock, and reports if it has to wait for another client first.
void acquire(dp_service::exchange_lock& lock, report& rep);

/// Whether an answer of the settings service is in the exchange folder.
bool has_answer();

/// Reports that no answer came within `seconds`, where it was expected, and the likely cause.
void report_no_answer(report& rep, double seconds);

}  // namespace dpctl

#endif
