#ifndef DP_LOGS_CLIENT_LOG_HPP
#define DP_LOGS_CLIENT_LOG_HPP

#include <cstdint>
#include <list>
#include <string>

#include "common/export.hpp"

namespace dp {

class setting_transaction;

/// A progress log that clients read: the most recent lines, kept in memory and written out as a
/// whole file after every new line, to a file of its own or to the board's data store.
///
/// The text grows to 8192 bytes, line ends included; the line that passes them drops the oldest
/// lines until it is below 6144 bytes. Nothing throws or is reported: while the file can't be
/// written the old one stays, and the next line writes everything again. There is no lock, neither
/// on the object nor on the file.
class DP_API client_log {
  public:
    /// Writes nothing yet. `file_name` is a path, or a name of the data store if `use_ds_file`.
    client_log(std::string file_name, bool use_ds_file);
    client_log(const client_log&) = delete;
    client_log& operator=(const client_log&) = delete;

    // The order of the virtual operations is part of the binary interface.

    /// Leaves the file as it is.
    virtual ~client_log();

    /// Write a line about a transaction that starts, goes on (nothing once it has no steps left)
    /// and is over: "<NAME> start", "<NAME>" and the progress count, "<NAME>stop " and whether a
    /// command failed (1 or 0), the commands that did not, and those that did. The first two
    /// advance the transaction's progress count where they show it.
    virtual void start(setting_transaction* t);
    virtual void add_progress(setting_transaction* t);
    virtual void stop(setting_transaction* t);

    /// Adds a line (without a line end; it is kept up to its first NUL, and counted in full) and
    /// writes the file. The line itself is never dropped by this call, however long it is.
    void write_line(const std::string& line);

    /// Drops the oldest lines if the text has passed 8192 bytes.
    void prune();

    /// Writes the lines to the file named at construction; none if it can't be opened. Always 0.
    int write_file();

    /// Hands the lines to the data store, unless there are none. Its result: negative on failure,
    /// which is logged too.
    int write_dsfile();

  private:
    using line_list = std::list<std::string>;

    // Drops lines in front of `kept`, which stands for `kept_size` bytes of the text.
    DP_LOCAL void prune_before(line_list::const_iterator kept, std::int32_t kept_size);

    std::string file_name_;
    std::int32_t total_ = 0;  // bytes of the text, a line end for each line included
    std::int32_t upper_limit_ = 8192;
    std::int32_t lower_limit_ = 6144;
    bool use_ds_file_;
    line_list lines_;  // oldest first
};

}  // namespace dp

#endif
