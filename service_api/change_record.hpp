#ifndef DP_SERVICE_API_CHANGE_RECORD_HPP
#define DP_SERVICE_API_CHANGE_RECORD_HPP

#include <optional>
#include <string>

namespace dp_service {

/// One change of one setting instance, and its line in the change history:
///
///     <WHO> TIME   TARGET   "VALUE"
///     <WHO> TIME   TARGET
///
/// The second form, without a value, is for a deleted instance. Three spaces separate time, target
/// and value. In the value, a backslash precedes every backslash and double quote. Who, time and
/// target are not escaped: none contains a newline, who and target contain no white space, and the
/// time contains no three spaces in a row.
///
/// What dp_settingsd itself did with the values is recorded in the same form: `by_service` is who,
/// one of the targets in parentheses says what it is about, and the value is a text for a person.
struct change_record {
    static constexpr const char* by_service = "dp_settingsd";
    static constexpr const char* of_pending_values = "(pending)";
    static constexpr const char* of_current_values = "(current)";
    static constexpr const char* of_bios = "(BIOS)";

    /// The transaction's name, which is its identifier without "<" and ">". For a request of the
    /// socket followed by ",uid=UID,gid=GID,pid=PID,program=PATH" of the client.
    std::string who;
    std::string time;    ///< local time in the form of asctime(3), without the newline
    std::string target;  ///< CONFIGURATION.SETTING[.INSTANCE]
    std::optional<std::string> value;  ///< the setting's new value; none when it was deleted

    /// The line, without a newline.
    [[nodiscard]] std::string line() const;

    /// The change record in `line`, which has no newline; nothing when it is not such a line.
    static std::optional<change_record> parse(const std::string& line);
};

}  // namespace dp_service

#endif
