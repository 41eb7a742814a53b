#ifndef DP_REDFISH_MODEL_SERVER_MODEL_HPP
#define DP_REDFISH_MODEL_SERVER_MODEL_HPP

#include <functional>
#include <mutex>
#include <utility>

#include "redfish/model/server_reader.hpp"
#include "redfish/model/server_snapshot.hpp"
#include "redfish/threads/worker_thread.hpp"
#include "service_api/settings_client.hpp"
#include "support/file_descriptor.hpp"

namespace dp_redfish {

/// The server that the service shows: what its files contain, and changes through the settings
/// service. One thread owns the library and reads, another one waits for the settings service, so
/// that readers never wait for changes. There is one object in a process.
class server_model {
  public:
    /// Starts both threads; reads nothing yet.
    server_model();
    /// `stop`.
    ~server_model();
    server_model(const server_model&) = delete;
    server_model& operator=(const server_model&) = delete;

    /// Has `observer` called with each new snapshot, on the library's thread. To be set before
    /// anything is read; empty: nobody.
    void set_observer(std::function<void(const snapshot_pointer&)> observer) {
        observer_ = std::move(observer);
    }

    /// Called with what the files contain; null when they could not be read. Anything that was
    /// written before `read` was called is in it.
    using snapshot_taker = std::function<void(snapshot_pointer)>;

    /// Gets a snapshot, for any thread. `take` is called once: at once if no file changed since the
    /// last one, otherwise on the library's thread. It is dropped when the object is destroyed.
    void read(snapshot_taker take);

    /// The same for a change, which waits for it.
    snapshot_pointer read_now();

    /// A request to the settings service, on the thread that waits for it.
    using change_job = std::function<void(dp_service::settings_client&)>;

    /// Adds a job after those that wait. False if too many wait: then it is dropped.
    bool change(change_job job);

    /// Ends the threads: withdraws a request that the settings service has not started, waits for
    /// one that it has, and drops what waits. To be called before what requests use ends, such as
    /// the routes.
    void stop();

    /// Whether a settings service takes requests now. Does not wait.
    static bool has_settings_service();

  private:
    static constexpr std::size_t most_waiting_reads = 4096;
    static constexpr std::size_t most_waiting_changes = 64;

    snapshot_pointer fresh_snapshot();

    dp_support::file_descriptor is_ending_;  // readable at the end
    std::mutex mutex_;
    snapshot_pointer latest_;
    std::function<void(const snapshot_pointer&)> observer_;
    server_reader reader_;  // used by the library's thread
    // Last: their destructors end the use of everything above. Changes also wait for reads.
    worker_thread library_{most_waiting_reads};
    worker_thread changes_{most_waiting_changes};
};

}  // namespace dp_redfish

#endif
