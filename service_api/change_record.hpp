#ifndef DP_SERVICE_API_CHANGE_RECORD_HPP
#define DP_SERVICE_API_CHANGE_RECORD_HPP

#include <optional>
#include <string>

/// One change of one setting instance, and the line of the change history that tells of it:
///
///     <WHO> TIME   TARGET   "VALUE"
///     <WHO> TIME   TARGET
///
/// The second form, without a value, tells that the instance was deleted. Three blanks stand
/// between time, target and value; in the value a backslash stands before every backslash and
/// double quote. Who, time and target are never quoted: they hold no line end, who and target no
/// white space, and the time no three blanks in a row.
struct change_record {
    std::string who;     ///< the transaction's name: its identifier without "<" and ">"
    std::string time;    ///< local time as `asctime` shows it, without the line end
    std::string target;  ///< CONFIGURATION.SETTING[.INSTANCE]
    std::optional<std::string> value;  ///< as the setting has it now; none when it was deleted

    /// The line, without a line end.
    [[nodiscard]] std::string line() const;

    /// What a line (without its line end) tells; nothing when it is not one of these.
    static std::optional<change_record> parse(const std::string& line);
};

#endif
