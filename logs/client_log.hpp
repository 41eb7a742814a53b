#ifndef DP_LOGS_CLIENT_LOG_HPP
#define DP_LOGS_CLIENT_LOG_HPP

#include <cstdint>
#include <list>
#include <string>

#include "common/export.hpp"

namespace dp {

class setting_transaction;

/// Progress log that clients read: the most recent lines, buffered in memory. After every new line
/// the whole text is written again, to a file or to the board's data store.
///
/// The text grows up to 8192 bytes, newlines included. A line that exceeds this limit removes the
/// oldest lines until the text is below 6144 bytes. Nothing throws or reports an error: when the
/// file cannot be written, it keeps its old content and the next line writes everything again.
/// There is no lock on the object or the file.
class DP_API client_log {
  public:
    /// Writes nothing yet. `file_name` is a path, or a name in the data store if `use_ds_file`.
    client_log(std::string file_name, bool use_ds_file);
    client_log(const client_log&) = delete;
    client_log& operator=(const client_log&) = delete;

    // The order of the virtual operations is part of the binary interface.

    /// Does not change the file.
    virtual ~client_log();

    /// Write a line when a transaction starts, progresses and stops: "<NAME> start"; "<NAME>" and
    /// the progress count; "<NAME>stop ", 1 if a command failed or else 0, the number of commands
    /// that succeeded, and the number that failed. `add_progress` also advances the progress
    /// count. It does nothing when the transaction has no steps left.
    /// @{
    virtual void start(setting_transaction* t);
    virtual void add_progress(setting_transaction* t);
    virtual void stop(setting_transaction* t);
    /// @}

    /// Adds a line and writes the file. `line` has no newline; it is kept up to its first NUL but
    /// counts with its full length. This call never removes the line itself, whatever its length.
    void write_line(const std::string& line);

    /// Removes the oldest lines if the text exceeds 8192 bytes.
    void prune();

    /// Writes the lines to the file. Does nothing when it cannot be opened. Always 0.
    int write_file();

    /// Writes the lines to the data store, unless there are none. Returns the store's result;
    /// negative on failure, which is also logged.
    int write_dsfile();

  private:
    using line_list = std::list<std::string>;

    // Removes lines before `kept`, which counts as `kept_size` bytes.
    DP_LOCAL void prune_before(line_list::const_iterator kept, std::int32_t kept_size);

    std::string file_name_;
    std::int32_t total_ = 0;  // bytes of the text, newlines included
    std::int32_t upper_limit_ = 8192;
    std::int32_t lower_limit_ = 6144;
    bool use_ds_file_;
    line_list lines_;  // oldest first
};

}  // namespace dp

#endif
