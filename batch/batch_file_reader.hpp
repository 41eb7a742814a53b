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

/// Reads the lines of a batch file and passes them to a processor as entries.
class DP_API batch_file_reader {
  public:
    /// A reader without a processor, which the caller sets.
    batch_file_reader() = default;
    /// `entry_processor` receives the entries. It is not owned.
    explicit batch_file_reader(batch_file_intf* entry_processor);

    /// Reads `in` to its end, passes every accepted line to the processor, and returns their
    /// number.
    ///
    /// Skips empty lines, lines of spaces, and lines that begin with '#'. After its second value a
    /// line may have white space, and one word at its very end; a line with anything else there is
    /// silently dropped. A short line is accepted: a missing word keeps its text from the previous
    /// line, and a missing value is empty.
    ///
    /// Buffers one line at a time. A processor can end the reading by making `in` fail. `reg` is
    /// only passed on and may be null. Without a processor, reads nothing.
    virtual int read_file(std::istream& in, registrar* reg);

    /// Like `read_file`, but reports each dropped line to `dropped`. Also drops lines of more than
    /// `longest_line` bytes, and reports their first `longest_line` bytes. Comments and empty lines
    /// of any length are neither processed nor reported. The buffer for a line grows to at most
    /// about twice `longest_line`.
    int read_file_reporting_dropped_lines(std::istream& in, registrar* reg,
                                          dropped_line_listener& dropped,
                                          std::uint32_t longest_line);

    /// Writes the plain text of a batch file, which may be compressed, to `out`. Returns false only
    /// when the file cannot be opened. Passes on exceptions of the decompressor.
    bool decompress(std::string file_name, std::ostream& out);

    batch_file_intf* processor = nullptr;  ///< not owned
};

}  // namespace dp

#endif
