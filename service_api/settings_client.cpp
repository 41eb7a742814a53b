#include "service_api/settings_client.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/batch_file_reader.hpp"
#include "common/quoting.hpp"
#include "service_api/request_protocol.hpp"
#include "service_api/service_status.hpp"
#include "support/checked_streams.hpp"
#include "support/decimal.hpp"
#include "support/file_descriptor.hpp"
#include "transactions/basic_transaction_command.hpp"
#include "transactions/command_status.hpp"

namespace dp_service {
namespace {

using clock = std::chrono::steady_clock;
using client = settings_client;
using request_protocol::message;

// An answer has at most this many bytes, and this many more for each line of its request.
constexpr std::size_t answer_limit = std::size_t{1024} * 1024;
constexpr std::size_t answer_limit_of_a_line = std::size_t{64} * 1024;

// The lines of values that dependencies changed have at most this many bytes.
constexpr std::size_t dependent_limit = std::size_t{1024} * 1024;

// A connection is refused while too many others wait for the service to accept them.
constexpr std::chrono::milliseconds connect_pause{5};

client::result failed(client::states state, std::string reason) {
    return {state, 0, {}, std::move(reason), {}};
}

client::result not_sent(const std::string& path, int error) {
    std::string reason = "no settings service: " + path + ": " + std::strerror(error);
    if (error == ENOENT || error == ECONNREFUSED) {
        reason += "; dp_settingsd is not running";
    }
    return failed(client::states::no_service, std::move(reason));
}

client::result not_trusted(const std::string& what) {
    return failed(client::states::no_service, "the settings service is not trusted: " + what);
}

int milliseconds_until(clock::time_point when) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(when - clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, 1'000'000'000));
}

std::vector<change_record> records_in(std::string_view lines) {
    std::vector<change_record> records;
    for (auto end = lines.find('\n'); end != std::string_view::npos; end = lines.find('\n')) {
        if (auto record = change_record::parse(std::string(lines.substr(0, end)))) {
            records.push_back(*std::move(record));
        }
        lines.remove_prefix(end + 1);
    }
    return records;
}

// One connection, from connecting to the end of the answer.
class exchange {
  public:
    explicit exchange(const client& options)
        : options_(options), deadline_(clock::now() + options.start_timeout) {}

    client::result run(const std::string& header, const std::string& text) {
        if (auto refused = open_connection()) {
            return *refused;
        }
        unsent_ = header + '\n' + text;
        answer_limit_ = answer_limit + answer_limit_of_a_line *
                                           static_cast<std::size_t>(
                                               1 + std::count(text.begin(), text.end(), '\n'));
        for (;;) {
            if (auto end = next_event()) {
                return *end;
            }
        }
    }

  private:
    using ending = std::optional<client::result>;

    // If the folder is replaced after it was checked, the check of the service's user fails. Paths
    // that are longer than a socket's address are used through a descriptor of the folder.
    ending open_connection() {
        const std::string& path = options_.socket_path;
        const std::size_t slash = path.rfind('/');
        const std::string folder_path = slash == std::string::npos ? "." : path.substr(0, slash);
        const dp_support::file_descriptor folder(
            open(folder_path.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        struct stat info {};
        if (!folder.is_open() || fstat(folder.get(), &info) != 0) {
            return not_sent(path, errno);
        }
        if (info.st_uid != 0 && info.st_uid != geteuid()) {
            return not_trusted(folder_path + " belongs to user " + std::to_string(info.st_uid));
        }
        if ((info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
            return not_trusted("other users can write to " + folder_path);
        }
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::string name = path;
        if (name.size() >= sizeof address.sun_path) {
            name = "/proc/self/fd/" + std::to_string(folder.get()) + '/' +
                   path.substr(slash == std::string::npos ? 0 : slash + 1);
        }
        if (name.size() >= sizeof address.sun_path) {
            return not_sent(path, ENAMETOOLONG);
        }
        name.copy(address.sun_path, name.size());
        socket_ = dp_support::file_descriptor(
            socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        if (!socket_.is_open()) {
            return not_sent(path, errno);
        }
        // A local connection is made immediately or not at all.
        while (connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address),
                       sizeof address) != 0) {
            if (errno != EAGAIN && errno != EINTR) {
                return not_sent(path, errno);
            }
            if (is_cancelled(connect_pause)) {
                return withdrawn("cancelled");
            }
            if (clock::now() >= deadline_) {
                return withdrawn("the settings service did not accept the connection in time");
            }
        }
        ucred peer{};
        socklen_t size = sizeof peer;
        if (getsockopt(socket_.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
            return not_sent(path, errno);
        }
        if (peer.uid != info.st_uid) {
            return not_trusted("it runs as user " + std::to_string(peer.uid) + ", but " +
                               folder_path + " belongs to user " + std::to_string(info.st_uid));
        }
        return std::nullopt;
    }

    [[nodiscard]] bool is_cancelled(std::chrono::milliseconds wait) const {
        pollfd entry{options_.cancel_descriptor, POLLIN, 0};
        return poll(&entry, 1, static_cast<int>(wait.count())) == 1;
    }

    static client::result withdrawn(const std::string& reason) {
        return failed(client::states::withdrawn,
                      reason + "; the request was withdrawn, nothing was changed");
    }

    [[nodiscard]] client::result unanswered(const std::string& reason) const {
        if (is_started_) {
            return failed(client::states::unanswered,
                          reason +
                              "; the request had started, so it was carried out unless the "
                              "service was killed");
        }
        return failed(client::states::withdrawn,
                      reason + "; the request had not started, nothing was changed");
    }

    // Waits for one event and handles it. The result, when the exchange is at its end.
    ending next_event() {
        const auto interest = static_cast<short>(unsent_.empty() ? POLLIN : POLLIN | POLLOUT);
        // poll(2) ignores negative descriptors.
        const int cancel = is_started_ ? -1 : options_.cancel_descriptor;
        std::array<pollfd, 2> entries{{{socket_.get(), interest, 0}, {cancel, POLLIN, 0}}};
        const int ready = poll(entries.data(), entries.size(), milliseconds_until(deadline_));
        if (ready == -1 && errno != EINTR) {
            return unanswered(std::string("cannot wait for the settings service: ") +
                              std::strerror(errno));
        }
        if (ready > 0 && (entries[0].revents & ~POLLOUT) != 0) {
            if (auto end = receive()) {
                return end;
            }
        }
        if (ready > 0 && (entries[0].revents & POLLOUT) != 0) {
            if (auto end = transmit()) {
                return end;
            }
        }
        if (is_started_) {
            return clock::now() < deadline_ ? std::nullopt
                                            : ending(unanswered("no answer within the time limit"));
        }
        if (ready > 0 && entries[1].revents != 0) {
            return withdrawn("cancelled");
        }
        if (clock::now() >= deadline_) {
            return withdrawn("the settings service was busy for too long");
        }
        return std::nullopt;
    }

    // A failure is not an end: the service may have refused the request before it read all of it,
    // and says so.
    ending transmit() {
        const ssize_t count = ::send(socket_.get(), unsent_.data(), unsent_.size(), MSG_NOSIGNAL);
        if (count > 0) {
            unsent_.erase(0, static_cast<std::size_t>(count));
        } else if (errno != EAGAIN && errno != EINTR) {
            unsent_.clear();
        }
        return std::nullopt;
    }

    ending receive() {
        std::array<char, 65536> buffer{};
        const ssize_t count = recv(socket_.get(), buffer.data(), buffer.size(), 0);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
            return std::nullopt;
        }
        if (count <= 0) {
            return unanswered("the settings service closed the connection");
        }
        received_.append(buffer.data(), static_cast<std::size_t>(count));
        return handle_received();
    }

    ending handle_received() {
        for (;;) {
            if (text_of_) {
                if (received_.size() < text_of_->second) {
                    return std::nullopt;
                }
                std::string text = received_.substr(0, text_of_->second);
                received_.erase(0, text.size());
                if (auto end = handle_text(*std::exchange(text_of_, std::nullopt), text)) {
                    return end;
                }
                continue;
            }
            const std::size_t newline = received_.find('\n');
            if (newline == std::string::npos) {
                return received_.size() <= request_protocol::longest_line
                           ? std::nullopt
                           : ending(unanswered("the settings service sent garbage"));
            }
            const auto line = message::parse(std::string_view(received_).substr(0, newline));
            received_.erase(0, newline + 1);
            if (!line) {
                return unanswered("the settings service sent garbage");
            }
            if (auto end = handle(*line)) {
                return end;
            }
        }
    }

    ending handle(const message& line) {
        switch (line.kind) {
            case message::kinds::waiting:
                if (options_.on_waiting) {
                    options_.on_waiting(line.first);
                }
                break;
            case message::kinds::ready:
                return start();
            case message::kinds::progress:
                if (options_.on_progress) {
                    options_.on_progress(line.first, line.second);
                }
                break;
            case message::kinds::dependent:
            case message::kinds::answer:
            case message::kinds::refused:
                if (line.second > (line.kind == message::kinds::dependent ? dependent_limit
                                                                          : answer_limit_) ||
                    (line.kind != message::kinds::refused && !is_started_)) {
                    return unanswered("the settings service sent garbage");
                }
                text_of_ = line;
                break;
        }
        return std::nullopt;
    }

    ending start() {
        if (is_started_ || !unsent_.empty()) {
            return unanswered("the settings service sent garbage");
        }
        if (is_cancelled(std::chrono::milliseconds(0))) {
            return withdrawn("cancelled");
        }
        is_started_ = true;
        deadline_ = clock::now() + options_.answer_timeout;
        unsent_ = std::string(request_protocol::go) + '\n';
        if (options_.on_start) {
            options_.on_start();
        }
        return std::nullopt;
    }

    // Handles the text that follows a message.
    ending handle_text(const message& line, std::string& text) {
        if (line.kind == message::kinds::dependent) {
            dependent_ = records_in(text);
            return std::nullopt;
        }
        client::result result;
        result.state = line.kind == message::kinds::answer ? client::states::answered
                                                           : client::states::refused;
        result.status = static_cast<std::int32_t>(std::min(line.first, 255U));
        result.text = std::move(text);
        result.dependent = std::move(dependent_);
        if (result.state == client::states::refused || result.status != 0) {
            result.reason =
                result.text.empty() ? service_status::explanation(result.status) : result.text;
        }
        return result;
    }

    const client& options_;
    clock::time_point deadline_;
    dp_support::file_descriptor socket_;
    bool is_started_ = false;
    std::string unsent_;
    std::string received_;
    std::size_t answer_limit_ = 0;
    std::optional<message> text_of_;  // the message whose text is being received
    std::vector<change_record> dependent_;
};

// Why a batch cannot carry the change; empty if it can.
std::string why_not_encodable(const client::change& change) {
    const auto is_bad_in_name = [](char c) {
        return static_cast<unsigned char>(c) <= ' ' || c == '"' || c == '\\' || c == '\x7F';
    };
    if (change.name.empty() || change.name.front() == '#' ||
        std::any_of(change.name.begin(), change.name.end(), is_bad_in_name)) {
        return "the name '" + change.name + "' contains a character that a name cannot have";
    }
    if (change.value.find_first_of(std::string_view("\n\0", 2)) != std::string::npos) {
        return change.name + ": the value contains a newline or a null character";
    }
    return {};
}

std::string batch_of(const std::vector<client::change>& changes) {
    dp_support::checked_ostringstream text;
    dp::basic_transaction_command command;
    command.tid = "<client-" + std::to_string(getpid()) + ">";
    for (const auto& change : changes) {
        ++command.correlator;
        command.operation = change.operation;
        command.name = change.name;
        command.value_in = dp::add_backslash(change.value);
        command.write_terse_output(text);
        text << '\n';
    }
    return text.str();
}

// Compares an answer, line by line, with the changes that were requested, and collects the
// outcomes.
class answer_check final : public dp::batch_file_intf {
  public:
    explicit answer_check(std::vector<client::change>& changes) : changes_(changes) {}

    void process_entry(dp::batch_file_entry& entry, dp::registrar* /*reg*/) override {
        const std::size_t position = count_++;
        if (position >= changes_.size() || entry.detail != std::to_string(count_)) {
            is_match_ = false;
            return;
        }
        client::change& change = changes_[position];
        const auto status = dp_support::decimal::parse<std::uint8_t>(entry.status);
        // The answer to a name that is not known has none of its own.
        dp::qualified_setting_name name;
        name.parse(change.name);
        const bool is_same = entry.name.get_name() == name.get_name();
        is_match_ = is_match_ && status && (is_same || *status != 0);
        change.status = status.value_or(dp::command_status::not_run);
        change.stored = status == 0 ? entry.value_out : std::string();
        change.reason = status == 0 ? std::string() : entry.value_out;
    }

    [[nodiscard]] bool is_match() const { return is_match_ && count_ == changes_.size(); }

  private:
    std::vector<client::change>& changes_;
    std::size_t count_ = 0;
    bool is_match_ = true;
};

}  // namespace

settings_client::result settings_client::send(std::string_view kind, const std::string& text,
                                              const std::string& planned_on) {
    request_protocol::request_header header;
    header.kind = kind;
    header.length = text.size();
    header.planned_on = planned_on;
    header.on_behalf_of = on_behalf_of;
    if (!on_behalf_of.empty() && !request_protocol::is_person(on_behalf_of)) {
        return {states::refused,
                service_status::malformed_line,
                {},
                "the name of the person who asks is too long or has characters that it cannot have",
                {}};
    }
    if (text.size() > request_protocol::largest_request) {
        return {states::refused, service_status::over_limit, {}, "the request is too large", {}};
    }
    return exchange(*this).run(header.line(), text);
}

settings_client::result settings_client::change_settings(std::vector<change>& changes,
                                                         const std::string& planned_on) {
    for (change& each : changes) {
        each.status = dp::command_status::not_run;
        each.stored.clear();
        each.reason.clear();
    }
    for (const change& each : changes) {
        if (std::string reason = why_not_encodable(each); !reason.empty()) {
            return {states::refused, service_status::malformed_line, {}, std::move(reason), {}};
        }
    }
    result answer = run_batch(batch_of(changes), planned_on);
    if (answer.state != states::answered) {
        return answer;
    }
    dp_support::checked_istringstream lines(answer.text);
    answer_check check(changes);
    dp::batch_file_reader reader(&check);
    reader.read_file(lines, nullptr);
    if (!check.is_match()) {
        for (change& each : changes) {
            each.status = dp::command_status::not_run;
            each.stored.clear();
            each.reason.clear();
        }
        answer.state = states::unanswered;
        answer.reason = "the answer of the settings service does not match the request";
    }
    return answer;
}

settings_client::result settings_client::run_batch(const std::string& text,
                                                   const std::string& planned_on) {
    return send(request_protocol::request_kind::batch, text, planned_on);
}

settings_client::result settings_client::restart() {
    return send(request_protocol::request_kind::restart, {}, {});
}

settings_client::result settings_client::update() {
    return send(request_protocol::request_kind::update, {}, {});
}

settings_client::result settings_client::plan_update() {
    return send(request_protocol::request_kind::plan_update, {}, {});
}

settings_client::result settings_client::pending_version() {
    return send(request_protocol::request_kind::pending_version, {}, {});
}

}  // namespace dp_service
