#ifndef DP_LOGS_PROCESS_LOG_HPP
#define DP_LOGS_PROCESS_LOG_HPP

#include <cstdint>
#include <string>

#include "common/export.hpp"
#include "logs/client_log.hpp"

namespace dp {

/// The process status file of one transaction: what ran, how far it got and what failed, as
/// numbered records that other processes read. A record is a line
///
///     <NAME> SEQUENCE TAG FIELDS...
///
/// with the sequence number as four hexadecimal digits (it goes on with 0000 after ffff) and single
/// blanks in between. Texts stand as they are: nothing is quoted or escaped. The file holds the
/// most recent records, within the limits of `client_log`.
class DP_API process_log : public client_log {
  public:
    /// Writes the file at once, with the single record "<dp-status> 0001 DP.MESSAGE init ".
    process_log(const std::string& file_name, bool use_ds_file);
    ~process_log() override;

    /// Writes a DP.WORKING record with the transaction's progress count, and advances that.
    void start(setting_transaction* t) override;

    /// As `start`, as long as the transaction has steps left; otherwise does nothing.
    void add_progress(setting_transaction* t) override;

    /// Ends the transaction's records. If a command failed, reports the failed ones in order;
    /// otherwise appends the transaction's changes to the change history's scratch file and removes
    /// that. Then a DP.DONE record.
    void stop(setting_transaction* t) override;

    /// Writes a record of that name; `body` is its tag and fields.
    void add_entry(const std::string& name, const std::string& body);

    void log_working(const std::string& name, int value);
    void log_message(const std::string& name, const std::string& a, const std::string& b);
    void log_error(const std::string& name, const std::string& message, int code);
    /// `failed` is 1 when a command failed, `succeeded` and `errors` count the commands.
    void log_done(const std::string& name, int failed, int succeeded, int errors);
    void log_outfile(const std::string& name, const std::string& file);

  private:
    DP_LOCAL static void write_change_history(const setting_transaction& t);

    std::uint32_t sequence_ = 0;  // of the last record; the low 16 bits are shown
};

}  // namespace dp

#endif
