#ifndef DP_BATCH_BATCH_FILE_READER_HPP
#define DP_BATCH_BATCH_FILE_READER_HPP

#include <cstdint>
#include <iosfwd>
#include <string>

#include "common/export.hpp"

namespace dp {

class batch_file_intf;
class dropped_line_listener;
class registrar;

/// Turns the lines of a batch file into entries.
class DP_API batch_file_reader {
  public:
    /// A reader without a processor, for the caller to set.
    batch_file_reader() = default;
    /// `entry_processor` receives the entries; not owned.
    explicit batch_file_reader(batch_file_intf* entry_processor);

    /// Reads `in` to its end and hands every accepted line to the processor; returns how many there
    /// were. Empty lines, lines of blanks and lines that begin with '#' are skipped; a line with
    /// more behind its second value than one word at its very end is dropped. A short line is
    /// accepted and keeps the previous line's texts in the words that it lacks; its values are
    /// empty. Holds one line at a time. A processor ends the reading by making `in` fail. `reg` may
    /// be null; it is only handed on. Without a processor nothing is read.
    virtual int read_file(std::istream& in, registrar* reg);

    /// As `read_file`, but reports each dropped line to `dropped`, and drops a line of more than
    /// `longest_line` bytes as well, of which it reports the first `longest_line` bytes. Comments
    /// and empty lines are neither processed nor reported, whatever their length. A long line takes
    /// no more memory than `longest_line` bytes twice.
    int read_file_reporting_dropped_lines(std::istream& in, registrar* reg,
                                          dropped_line_listener& dropped,
                                          std::uint32_t longest_line);

    /// Writes the plain text of a possibly compressed batch file to `out`. False only when the file
    /// can't be opened.
    bool decompress(std::string file_name, std::ostream& out);

    batch_file_intf* processor = nullptr;  ///< not owned
};

}  // namespace dp

#endif
