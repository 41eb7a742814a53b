#ifndef DP_BENCH_SUPPORT_GENERATED_BATCH_HPP
#define DP_BENCH_SUPPORT_GENERATED_BATCH_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "batch/batch_file_entry.hpp"

namespace bench {

/// Set commands as clients write them, about 70 bytes each. The result depends only on `count`.
std::vector<dp::batch_file_entry> generated_batch(std::size_t count);

/// The commands of a batch text, read with streams.
std::vector<dp::batch_file_entry> read_with_streams(const std::string& text);

/// The commands as a batch file.
std::string batch_text(const std::vector<dp::batch_file_entry>& entries);

/// The commands as JSON Lines: each line is an object with the ten fields.
std::string json_lines(const std::vector<dp::batch_file_entry>& entries);

/// The ten fields of an entry and their keys in JSON.
struct named_field {
    std::string_view key;
    std::string& (*of)(dp::batch_file_entry&);
};
const std::vector<named_field>& batch_fields();

bool equal(const std::vector<dp::batch_file_entry>& a, const std::vector<dp::batch_file_entry>& b);

}  // namespace bench

#endif
