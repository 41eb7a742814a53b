#ifndef DP_REDFISH_EVENTS_EVENT_SERVICE_HPP
#define DP_REDFISH_EVENTS_EVENT_SERVICE_HPP

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "redfish/access/identity.hpp"
#include "redfish/events/change_detector.hpp"
#include "redfish/events/event_filter.hpp"
#include "redfish/events/event_log.hpp"
#include "redfish/http/http_message.hpp"
#include "redfish/model/server_snapshot.hpp"

namespace dp_redfish {

/// Sends events to the clients that have a stream open. Its member functions can be called from any
/// thread and do not block.
class event_service {
  public:
    using clock = std::chrono::steady_clock;

    struct options {
        std::size_t most_streams = 64;
        std::size_t most_of_one_user = 16;
        /// After this time without an event, a comment is sent, so that proxies keep the connection
        /// and clients notice when it is lost.
        std::chrono::seconds keep_alive{15};
        /// Makes the function that returns whether a client that was admitted still is. That is
        /// called about once a second for each stream. Empty: all are.
        std::function<std::function<bool()>(const identity&)> admission_of{};
        /// Whether the settings service runs. Called about once a second while there are streams.
        /// Empty: not watched.
        std::function<bool()> has_settings_service{};
        /// Random letters and digits: see `event_log`.
        std::string origin = "0";
        /// False: `tick` is called by the owner.
        bool has_thread = true;
    };

    explicit event_service(options chosen);
    /// `stop`.
    ~event_service();
    event_service(const event_service&) = delete;
    event_service& operator=(const event_service&) = delete;

    /// A stream as resources show it.
    struct stream_info {
        std::string id;
        identity client;
        std::string peer;         ///< the address of the client
        std::string filter_text;  ///< of its $filter; empty: it has none
    };

    using admission = std::function<bool()>;

    /// A place among the streams, which the last copy gives back if no stream began.
    class reservation;

    /// Reserves a stream for a client; `id` of `wanted` is set here. Null when there are too many.
    /// @param last_id  of the last event that the client got; empty: it wants new ones only
    std::shared_ptr<reservation> reserve(stream_info wanted, event_filter filter,
                                         std::string last_id);

    /// Begins the reserved stream: sends the events that the client missed, then those that happen.
    void begin(const std::shared_ptr<reservation>& reserved, std::shared_ptr<body_stream> stream);

    /// The streams that are open, the oldest first.
    [[nodiscard]] std::vector<stream_info> streams() const;

    /// Ends a stream; false when there is none with this id.
    bool end(const std::string& id);

    /// Begins to watch the server, if it does not yet. Before that, `observe` does nothing.
    void start_watching(const snapshot_pointer& now);

    /// Sends what changed since the last snapshot. Snapshots come one after another.
    void observe(const snapshot_pointer& now);

    /// Sends an event to all streams.
    void publish(service_event event);

    /// Does what depends on the time: keeps streams alive, ends those of clients that are no longer
    /// admitted.
    void tick(clock::time_point now);

    /// Ends all streams and the thread.
    void stop();

  private:
    struct open_stream {
        stream_info info;
        admission is_admitted;
        event_filter filter;
        std::shared_ptr<body_stream> body;
        clock::time_point last_write;
    };

    void send(const event_log::entries& events);
    void give_back(const std::string& user);
    void watch_settings_service();
    void run();

    options options_;
    mutable std::mutex mutex_;
    std::condition_variable has_changed_;
    bool is_ending_ = false;
    std::uint64_t opened_ = 0;
    std::vector<std::string> reserved_;  // the users of streams that have not begun
    std::vector<open_stream> streams_;
    event_log log_;
    change_detector detector_;
    bool is_watching_ = false;
    std::optional<bool> had_settings_service_;
    std::thread thread_;  // last
};

class event_service::reservation {
  public:
    reservation(event_service& owner, stream_info info, admission is_admitted, event_filter filter,
                std::string last_id)
        : owner_(owner),
          info_(std::move(info)),
          is_admitted_(std::move(is_admitted)),
          filter_(std::move(filter)),
          last_id_(std::move(last_id)) {}
    ~reservation();
    reservation(const reservation&) = delete;
    reservation& operator=(const reservation&) = delete;

  private:
    friend class event_service;
    event_service& owner_;
    stream_info info_;
    admission is_admitted_;
    event_filter filter_;
    std::string last_id_;
};

}  // namespace dp_redfish

#endif
