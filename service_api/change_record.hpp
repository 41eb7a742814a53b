#ifndef DP_SERVICE_API_CHANGE_RECORD_HPP
#define DP_SERVICE_API_CHANGE_RECORD_HPP

#include <optional>
#include <string>

namespace dp_service {

/// One change of one setting instance, and its line in the change history:
///
///     <WHO> TIME   TARGET   "VALUE"   was "BEFORE"   because "CAUSE"
///     <WHO> TIME   TARGET   was "BEFORE"
///
/// The second form, without a value, is for a deleted instance. Without "was" the instance was
/// created, or the line is of a version that did not record it. "because" is there when another
/// change made this one. Three spaces separate the fields. In values and cause, a backslash
/// precedes every backslash and double quote. Who, time and target are not escaped: none contains a
/// newline, who and target contain no white space, and the time contains no three spaces in a row.
///
/// What dp_settingsd itself did with the values is recorded in the same form: `by_service` is the
/// transaction's name, one of the targets in parentheses says what it is about, and the value is a
/// text for a person.
struct change_record {
    /// See above.
    /// @{
    static constexpr const char* by_service = "dp_settingsd";
    static constexpr const char* of_pending_values = "(pending)";
    static constexpr const char* of_current_values = "(current)";
    static constexpr const char* of_bios = "(BIOS)";
    static constexpr const char* of_history = "(history)";
    /// @}

    /// The transaction's name, which is its identifier without "<" and ">", then ",id=ID" with an
    /// identifier that no other transaction has, then who requested it: for a request of the socket
    /// ",uid=UID,gid=GID,pid=PID,program=PATH" of the client, for a batch file ",uid=UID" of its
    /// owner. Before ",program=" is ",for=NAME" if the client named a person for whom it acts.
    std::string who;
    std::string time;                     ///< local time: "2026-11-22T15:25:09+01:00"
    std::string target;                   ///< CONFIGURATION.SETTING[.INSTANCE]
    std::optional<std::string> value;     ///< the setting's new value; none when it was deleted
    std::optional<std::string> before{};  ///< its value before; none when it had none
    std::string cause{};                  ///< what made the change; empty: the request itself

    /// The parts of `who`; what a line lacks is empty.
    struct requester {
        std::string transaction;  ///< its name
        std::string id;           ///< that no other transaction has
        /// "uid=0,gid=0,pid=17,program=/usr/bin/dpctl", as the kernel knows it
        std::string client;
        std::string on_behalf_of{};  ///< the person for whom the client said that it acts
    };
    /// Splits `who`.
    [[nodiscard]] requester requested_by() const;

    /// The line, without a newline.
    [[nodiscard]] std::string line() const;

    /// The change record in `line`, which has no newline; nothing when it is not such a line.
    static std::optional<change_record> parse(const std::string& line);
};

}  // namespace dp_service

#endif
