#ifndef DP_LOGS_PROCESS_LOG_HPP
#define DP_LOGS_PROCESS_LOG_HPP

#include <cstdint>
#include <string>

#include "common/export.hpp"
#include "logs/client_log.hpp"

namespace dp {

/// Process status file of one transaction: its progress and its failures as numbered status records
/// that other processes read. A status record is a line
///
///     <NAME> SEQUENCE TAG FIELDS...
///
/// with single spaces between its parts. The sequence number has four hexadecimal digits and
/// continues with 0000 after ffff. Texts are neither quoted nor escaped. The file contains the most
/// recent status records, within the limits of `client_log`.
class DP_API process_log : public client_log {
  public:
    /// Writes the file with the single status record "<dp-status> 0001 DP.MESSAGE init ".
    process_log(const std::string& file_name, bool use_ds_file);
    ~process_log() override;

    /// Writes a DP.WORKING status record with the transaction's progress count, then advances the
    /// count.
    void start(setting_transaction* t) override;

    /// Same as `start` while the transaction has steps left; otherwise does nothing.
    void add_progress(setting_transaction* t) override;

    /// Reports the failed commands in order. If none failed, appends the transaction's changes to
    /// the scratch file of the change history and then removes that file. Ends with a DP.DONE
    /// status record.
    void stop(setting_transaction* t) override;

    /// Writes a status record; `body` is its tag and fields.
    void add_entry(const std::string& name, const std::string& body);

    /// Writes a DP.WORKING status record, with a count of progress.
    void log_working(const std::string& name, int value);
    /// Writes a DP.MESSAGE status record with two texts.
    void log_message(const std::string& name, const std::string& a, const std::string& b);
    /// Writes a DP.ERROR status record with a text and a status code.
    void log_error(const std::string& name, const std::string& message, int code);
    /// Writes a DP.DONE status record. `failed` is 1 when a command failed; `succeeded` and
    /// `errors` are numbers of commands.
    void log_done(const std::string& name, int failed, int succeeded, int errors);
    /// Writes a DP.OUTFILE status record with the name of a file that has the result.
    void log_outfile(const std::string& name, const std::string& file);

  private:
    DP_LOCAL static void write_change_history(const setting_transaction& t);

    std::uint32_t sequence_ = 0;  // of the last status record; the low 16 bits are printed
};

}  // namespace dp

#endif
