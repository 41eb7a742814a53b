#ifndef DP_REDFISH_MODEL_SERVER_READER_HPP
#define DP_REDFISH_MODEL_SERVER_READER_HPP

#include "redfish/model/server_snapshot.hpp"
#include "support/result.hpp"

namespace dp_redfish {

/// Reads the server's files through the library's C API. The C API has no lock: there is one object
/// in a process, used by one thread.
class server_reader {
  public:
    server_reader() = default;
    /// Frees what the C API keeps.
    ~server_reader();
    server_reader(const server_reader&) = delete;
    server_reader& operator=(const server_reader&) = delete;

    /// Reads everything that changed since `previous`, which may be null. Files that are replaced
    /// meanwhile are read again. A file that is missing or damaged has nothing; it is a failure
    /// only when memory runs out or a file cannot be read to its end.
    dp_support::result<snapshot_pointer> read(const snapshot_pointer& previous);
};

}  // namespace dp_redfish

#endif
