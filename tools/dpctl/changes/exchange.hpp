#ifndef DP_TOOLS_DPCTL_CHANGES_EXCHANGE_HPP
#define DP_TOOLS_DPCTL_CHANGES_EXCHANGE_HPP

#include "service_api/exchange_lock.hpp"

namespace dpctl {

class report;

/// Whether a request can be handed to the settings service at all; if not, that is reported: its
/// exchange folder or its request file can't be written. Asked first, it saves the minute of
/// waiting for an answer that can't come.
bool can_exchange(report& rep);

/// Whether an answer of the settings service lies in the exchange folder.
bool answer_is_there();

/// Reports that no answer came within `seconds`, where it was awaited, and what may be the matter.
void report_no_answer(report& rep, double seconds);

/// Takes the lock that keeps two dpctl processes from overwriting each other's request and answer.
/// Reports it when that means waiting.
void acquire(dp_service::exchange_lock& lock, report& rep);

}  // namespace dpctl

#endif
