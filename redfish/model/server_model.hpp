#ifndef DP_REDFISH_MODEL_SERVER_MODEL_HPP
#define DP_REDFISH_MODEL_SERVER_MODEL_HPP

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "redfish/model/file_watch.hpp"
#include "redfish/model/server_reader.hpp"
#include "redfish/model/server_snapshot.hpp"
#include "redfish/threads/worker_thread.hpp"
#include "service_api/settings_client.hpp"
#include "support/file_descriptor.hpp"

namespace dp_redfish {

/// The server that the service shows: what its files contain, and changes through the settings
/// service. One thread owns the library and reads, another one waits for the settings service, so
/// that readers never wait for changes. A third one watches the files and the time. There is one
/// object in a process.
class server_model {
  public:
    struct options {
        /// How long a reader waits for the files before it gets what they contained last. The
        /// library waits without end for another process that keeps a file locked.
        std::chrono::milliseconds patience{1000};
        /// The same for a reader that must not get old values, and for the first one, which also
        /// waits for the template to be expanded.
        std::chrono::milliseconds long_patience{30'000};
        /// How long a change waits for others and for the settings service before it begins. Less
        /// than a client waits for its answer: a change that was given up is not made later.
        std::chrono::milliseconds change_patience{30'000};
        /// Whether the files are read again as soon as they change, and not only at the next read.
        bool watches_files = false;
        file_watch::kernel kernel = file_watch::kernel::of_system();
        std::function<void(const std::string&)> log{};  ///< takes lines for a person
    };

    /// Starts the threads; reads nothing yet.
    server_model();
    explicit server_model(options chosen);
    /// `stop`.
    ~server_model();
    server_model(const server_model&) = delete;
    server_model& operator=(const server_model&) = delete;

    /// Has `observer` called with each new snapshot, on the library's thread. To be set before
    /// anything is read; empty: nobody.
    void set_observer(std::function<void(const snapshot_pointer&)> observer);

    /// Called with what the files contain; null when they could not be read. Anything that was
    /// written before `read` was called is in it, unless the files cannot be read for longer than
    /// `options::patience`.
    using snapshot_taker = std::function<void(snapshot_pointer)>;

    /// Gets a snapshot, for any thread. `take` is called once: at once if no file changed since the
    /// last one, otherwise on another thread. It is dropped when the object is destroyed.
    void read(snapshot_taker take);

    /// The same for a change, which waits for it, and never gets what the files contained earlier.
    snapshot_pointer read_now();

    /// A request to the settings service, on the thread that waits for it. The client's
    /// `start_timeout` is what remains of `options::change_patience`.
    using change_job = std::function<void(dp_service::settings_client&)>;

    /// Adds a job after those that wait. False if too many wait: then it is dropped.
    bool change(change_job job);

    /// Whether the library's thread has waited for a file for longer than readers do. `stop` waits
    /// for it.
    [[nodiscard]] bool is_blocked() const;

    /// Ends the threads: withdraws a request that the settings service has not started, waits for
    /// one that it has, and drops what waits. To be called before what requests use ends, such as
    /// the routes.
    void stop();

    /// Whether a settings service takes requests now. Does not wait.
    static bool has_settings_service();

  private:
    using clock = std::chrono::steady_clock;
    static constexpr std::size_t most_waiting_reads = 4096;
    static constexpr std::size_t most_waiting_changes = 64;

    struct waiting_read {
        snapshot_taker take;
        clock::time_point deadline;
        bool may_be_old = true;
    };
    using waiting_reads = std::vector<waiting_read>;

    snapshot_pointer fresh_snapshot();
    void read(snapshot_taker take, bool may_be_old);
    void read_files();
    snapshot_pointer read_snapshot();
    void give_up_waiting();
    [[nodiscard]] bool is_stuck() const;
    [[nodiscard]] clock::time_point next_deadline() const;
    void refresh();
    void watch();
    void wake_watcher() const;
    void log(const std::string& line) const;

    options options_;
    dp_support::file_descriptor is_ending_;  // readable at the end
    dp_support::file_descriptor wake_;       // readable when the watcher has something to do
    mutable std::mutex mutex_;
    snapshot_pointer latest_;
    waiting_reads waiting_;  // for the next reading of the files
    waiting_reads in_work_;  // for the one that runs
    bool has_reading_job_ = false;
    clock::time_point reading_since_{};  // of the reading that runs
    bool is_known_as_stuck_ = false;
    bool is_stopping_ = false;
    bool has_stopped_changes_ = false;  // only then the watcher ends
    std::function<void(const snapshot_pointer&)> observer_;
    server_reader reader_;               // used by the library's thread
    std::unique_ptr<file_watch> files_;  // used by the watcher; null: the files are not watched
    // Last: their destructors end the use of everything above. Changes also wait for reads.
    worker_thread library_{1};
    worker_thread changes_{most_waiting_changes};
    std::thread watcher_;
};

}  // namespace dp_redfish

#endif
