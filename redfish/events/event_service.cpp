#include "redfish/events/event_service.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"

namespace dp_redfish {
namespace {

constexpr std::chrono::seconds tick_time{1};

// Of the events that a client missed. A connection with 1 MiB that waits to be sent is closed.
constexpr std::size_t most_missed_bytes = std::size_t{512} * 1024;

// The first bytes of a stream: how long a client waits before it connects again.
constexpr const char* first_text = "retry: 3000\n\n";
constexpr const char* keep_alive_text = ": keep-alive\n\n";

// To a client that may have missed events.
service_event gap_event() {
    return make_event("Base", "EventBufferExceeded", {}, resource_paths::event_service,
                      "EventService", time_now_text());
}

// What a stream begins with when events that its client missed are lost. It is no event of the log,
// so the client's next request asks for all again.
event_log::entries gap_entry() {
    auto gap = std::make_shared<logged_event>();
    gap->id = "gap";
    gap->event = gap_event();
    gap->json = to_text(event_json(gap->event, gap->id), dp_support::json_layout::one_line);
    return {gap};
}

// What a stream begins with: the events that its client missed, or the newest of them if they are
// very long, after a note that there were more. `missed` has no value if they are not known.
std::vector<std::string> missed_texts(const std::optional<event_log::entries>& missed,
                                      const event_log& log, const event_filter& filter) {
    std::vector<std::string> texts = stream_texts(missed ? *missed : log.all(), filter);
    std::size_t first = texts.size();
    for (std::size_t bytes = 0; first > 0; --first) {
        bytes += texts[first - 1].size();
        if (bytes > most_missed_bytes) {
            break;
        }
    }
    if (!missed || first > 0) {
        texts.erase(texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(first));
        const auto gap = stream_texts(gap_entry(), {});
        texts.insert(texts.begin(), gap.begin(), gap.end());
    }
    return texts;
}

}  // namespace

event_service::reservation::~reservation() {
    owner_.give_back(info_.client.user);
}

event_service::event_service(options chosen) : options_(std::move(chosen)), log_(options_.origin) {
    if (options_.has_thread) {
        thread_ = std::thread([this] { run(); });
    }
}

event_service::~event_service() {
    stop();
}

void event_service::stop() {
    std::vector<open_stream> ended;
    {
        const std::lock_guard lock(mutex_);
        is_ending_ = true;
        ended.swap(streams_);
    }
    has_changed_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void event_service::run() {
    std::unique_lock lock(mutex_);
    while (!is_ending_) {
        if (streams_.empty()) {
            has_changed_.wait(lock);
            continue;
        }
        has_changed_.wait_for(lock, tick_time);
        if (!is_ending_) {
            lock.unlock();
            tick(clock::now());
            lock.lock();
        }
    }
}

std::shared_ptr<event_service::reservation> event_service::reserve(stream_info wanted,
                                                                   event_filter filter,
                                                                   std::string last_id) {
    admission is_admitted;
    if (options_.admission_of) {
        is_admitted = options_.admission_of(wanted.client);
    }
    const std::lock_guard lock(mutex_);
    std::string user = wanted.client.user;
    const auto of_user =
        std::count(reserved_.begin(), reserved_.end(), user) +
        std::count_if(streams_.begin(), streams_.end(),
                      [&](const open_stream& each) { return each.info.client.user == user; });
    if (is_ending_ || streams_.size() + reserved_.size() >= options_.most_streams ||
        static_cast<std::size_t>(of_user) >= options_.most_of_one_user) {
        return nullptr;
    }
    // Before the reservation, whose destructor would wait for the mutex.
    reserved_.reserve(reserved_.size() + 1);
    wanted.id = std::to_string(++opened_);
    auto made = std::make_shared<reservation>(*this, std::move(wanted), std::move(is_admitted),
                                              std::move(filter), std::move(last_id));
    reserved_.push_back(std::move(user));
    return made;
}

void event_service::give_back(const std::string& user) {
    const std::lock_guard lock(mutex_);
    const auto found = std::find(reserved_.begin(), reserved_.end(), user);
    if (found != reserved_.end()) {
        reserved_.erase(found);
    }
}

void event_service::begin(const std::shared_ptr<reservation>& reserved,
                          std::shared_ptr<body_stream> stream) {
    stream->on_close([this, id = reserved->info_.id] { end(id); });
    {
        const std::lock_guard lock(mutex_);
        if (is_ending_) {
            return;
        }
        stream->write(first_text);
        if (!reserved->last_id_.empty()) {
            for (auto& text :
                 missed_texts(log_.after(reserved->last_id_), log_, reserved->filter_)) {
                stream->write(std::move(text));
            }
        }
        streams_.push_back({reserved->info_, reserved->is_admitted_, reserved->filter_,
                            std::move(stream), clock::now()});
    }
    has_changed_.notify_all();
}

std::vector<event_service::stream_info> event_service::streams() const {
    const std::lock_guard lock(mutex_);
    std::vector<stream_info> all;
    all.reserve(streams_.size());
    for (const auto& each : streams_) {
        all.push_back(each.info);
    }
    return all;
}

bool event_service::end(const std::string& id) {
    open_stream ended;  // destroyed without the mutex
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(streams_.begin(), streams_.end(),
                                    [&](const open_stream& each) { return each.info.id == id; });
    if (found == streams_.end()) {
        return false;
    }
    ended = std::move(*found);
    streams_.erase(found);
    return true;
}

void event_service::start_watching(const snapshot_pointer& now) {
    const std::lock_guard lock(mutex_);
    if (!is_watching_) {
        constexpr std::size_t most_records = 1000;
        is_watching_ = true;
        log_.add(detector_.start(now, most_records));
    }
}

void event_service::observe(const snapshot_pointer& now) {
    const std::lock_guard lock(mutex_);
    if (is_watching_) {
        send(log_.add(detector_.observe(now, clock::now())));
    }
}

void event_service::publish(service_event event) {
    const std::lock_guard lock(mutex_);
    std::vector<service_event> events;
    events.push_back(std::move(event));
    send(log_.add(std::move(events)));
}

// The mutex is locked. Streams whose client is gone are removed when their connection closes.
void event_service::send(const event_log::entries& events) {
    if (events.empty()) {
        return;
    }
    const auto now = clock::now();
    for (auto& each : streams_) {
        for (auto& text : stream_texts(events, each.filter)) {
            each.body->write(std::move(text));
            each.last_write = now;
        }
    }
}

void event_service::watch_settings_service() {
    if (!options_.has_settings_service) {
        return;
    }
    const bool has_service = options_.has_settings_service();
    const auto had = std::exchange(had_settings_service_, has_service);
    if (had && *had != has_service) {
        const char* const health = has_service ? "OK" : "Critical";
        publish(make_event("ResourceEvent", std::string("ResourceStatusChanged") + health,
                           {resource_paths::manager, health}, resource_paths::manager, "Manager",
                           time_now_text()));
    }
}

void event_service::tick(clock::time_point now) {
    std::vector<std::pair<std::string, admission>> open;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& each : streams_) {
            open.emplace_back(each.info.id, each.is_admitted);
        }
    }
    // Without the mutex: these functions take others.
    for (const auto& [id, is_admitted] : open) {
        if (is_admitted && !is_admitted()) {
            end(id);
        }
    }
    watch_settings_service();
    const std::lock_guard lock(mutex_);
    send(log_.add(detector_.settle(now)));
    for (auto& each : streams_) {
        if (now - each.last_write >= options_.keep_alive) {
            each.body->write(keep_alive_text);
            each.last_write = now;
        }
    }
}

}  // namespace dp_redfish
