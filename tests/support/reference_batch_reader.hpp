#ifndef DP_TESTS_SUPPORT_REFERENCE_BATCH_READER_HPP
#define DP_TESTS_SUPPORT_REFERENCE_BATCH_READER_HPP

#include <istream>
#include <locale>
#include <sstream>
#include <string>

#include "batch/batch_file_entry.hpp"
#include "batch/quoted_value.hpp"

namespace test {

/// Reads a batch file with stream extraction, a string stream for each line: the obviously correct
/// form of `dp::batch_file_reader::read_file`. Calls `process` with every accepted entry and
/// returns their number. Tests and fuzzers compare the reader with it; benchmarks use it as a peer.
template <class Process>
int reference_read_batch(std::istream& in, Process process) {
    if (!in.good()) {
        return 0;
    }
    int count = 0;
    dp::batch_file_entry entry;
    std::string name;
    std::string spare;
    do {
        std::string line;
        std::getline(in, line, '\n');
        entry.value_in.clear();
        entry.value_out.clear();
        if (line.empty() || line[0] == '#' || line.find_first_not_of(' ') == std::string::npos) {
            continue;
        }
        std::stringstream words(line);
        words.imbue(std::locale::classic());
        words >> entry.status;
        words >> entry.detail;
        words >> entry.tid;
        words >> entry.operation;
        if (entry.operation == "command") {
            words >> entry.command;
        }
        words >> name;
        entry.name.parse(name);
        entry.value_in = dp::parse_quoted_escaped_str(words);
        entry.value_out = dp::parse_quoted_escaped_str(words);
        words >> spare;
        if (words.eof()) {
            process(entry);
            ++count;
        }
    } while (in.good());
    return count;
}

}  // namespace test

#endif
