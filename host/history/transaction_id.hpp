#ifndef DP_HOST_HISTORY_TRANSACTION_ID_HPP
#define DP_HOST_HISTORY_TRANSACTION_ID_HPP

#include <string>

namespace dp_host {

/// An identifier for a transaction that no other one has, of this run of the service or any other:
/// 16 hexadecimal digits.
std::string new_transaction_id();

}  // namespace dp_host

#endif
