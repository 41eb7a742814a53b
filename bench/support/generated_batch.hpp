#ifndef DP_BENCH_SUPPORT_GENERATED_BATCH_HPP
#define DP_BENCH_SUPPORT_GENERATED_BATCH_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "batch/batch_file_entry.hpp"

namespace bench {

/// Set commands as clients write them, with about 70 bytes a line. The same for the same `count`.
std::vector<dp::batch_file_entry> generated_batch(std::size_t count);

/// The commands of a batch text, as its plain reader gives them.
std::vector<dp::batch_file_entry> read_plainly(const std::string& text);

/// The commands as a batch file.
std::string batch_text(const std::vector<dp::batch_file_entry>& entries);

/// The same as JSON Lines: an object with the ten fields a line.
std::string json_lines(const std::vector<dp::batch_file_entry>& entries);

/// Names of the ten fields in JSON, and where they go.
struct named_field {
    std::string_view key;
    std::string& (*of)(dp::batch_file_entry&);
};
const std::vector<named_field>& batch_fields();

bool equal(const std::vector<dp::batch_file_entry>& a, const std::vector<dp::batch_file_entry>& b);

}  // namespace bench

#endif
