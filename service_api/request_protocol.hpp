#ifndef DP_SERVICE_API_REQUEST_PROTOCOL_HPP
#define DP_SERVICE_API_REQUEST_PROTOCOL_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The exchange over dp_settingsd's request socket, `server_paths::request_socket`. A connection
/// carries one request and its answer. Header lines are words separated by one space, with a
/// newline at the end:
///
///     client                              service
///     dp1 batch 35 pending=0123abcd for=eve
///     (35 bytes)
///                                         waiting 2
///                                         waiting 1
///                                         ready
///     go
///                                         progress 1 400
///                                         dependent 2 180
///                                         (180 bytes)
///                                         answer 0 42
///                                         (42 bytes)
///
/// The service says how many requests are ahead, and "ready" when it is the request's turn. Nothing
/// is done before it received "go", everything after: a client that closes the connection before it
/// sent "go" withdraws its request. Instead of anything above, the service may answer "refused":
/// then nothing was and nothing will be done. After "answer" or "refused" it closes the connection.
///
/// The numbers are those of `message`; the bytes after "answer" and "refused" are the text of the
/// answer. "dependent" is there when a batch changed values of other settings because of the
/// registry's dependencies; its bytes are their `change_record` lines. `settings_client` is the
/// client's side.
namespace dp_service::request_protocol {

/// What a request asks for. Only a batch has a text.
namespace request_kind {
inline constexpr std::string_view batch = "batch";      ///< run the batch text
inline constexpr std::string_view restart = "restart";  ///< restart the simulated server
/// Update the BIOS from the files in `server_paths::update_folder`, and restart the server.
inline constexpr std::string_view update = "update";
/// Report what the update would do, and do nothing.
inline constexpr std::string_view plan_update = "plan-update";
/// Answer with the version of the pending values.
inline constexpr std::string_view pending_version = "pending-version";
}  // namespace request_kind

/// Limits, in bytes: a header line without its newline, the text of a request.
/// @{
inline constexpr std::size_t longest_line = 256;
inline constexpr std::size_t largest_request = std::size_t{16} * 1024 * 1024;
/// @}

/// The name of a person for whom a client acts has at most this many bytes.
inline constexpr std::size_t longest_person = 64;

/// Whether `name` can be the name of such a person: 1 to 64 printable ASCII characters, none of
/// them a space or a comma.
bool is_person(std::string_view name);

/// What a client sends at its turn, without the newline.
inline constexpr std::string_view go = "go";

/// The header line of a request.
struct request_header {
    std::string kind;        ///< one of `request_kind`
    std::size_t length = 0;  ///< of the text that follows, in bytes
    /// The version of the pending values that the request was planned on: if they have another one
    /// by now, the service refuses the request. Empty: any version.
    std::string planned_on{};
    /// The person for whom the client says that it acts, recorded as its claim: `is_person`. Empty:
    /// it names nobody.
    std::string on_behalf_of{};

    /// The line, without a newline.
    [[nodiscard]] std::string line() const;

    /// The header in `line`, which has no newline; nothing when it is not one.
    static std::optional<request_header> parse(std::string_view line);
};

/// A header line of the service.
struct message {
    /// The first word of the line.
    enum class kinds : std::uint8_t {
        waiting,    ///< first: number of requests ahead
        ready,      ///< it is the request's turn
        progress,   ///< first: steps done; second: steps in total
        dependent,  ///< first: number of the values; second: length of the text
        answer,     ///< first: status, 0 or one of `service_status`; second: length of the text
        refused,    ///< as `answer`
    };

    kinds kind = kinds::ready;  ///< what it says
    std::uint32_t first = 0;    ///< first number, if the kind has one
    std::uint32_t second = 0;   ///< second number, if the kind has two

    /// The line, without a newline.
    [[nodiscard]] std::string line() const;

    /// The message in `line`, which has no newline; nothing when it is not one.
    static std::optional<message> parse(std::string_view line);
};

}  // namespace dp_service::request_protocol

#endif
