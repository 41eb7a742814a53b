#ifndef DP_TESTS_UNIT_BATCH_SCRIPTED_DECOMPRESSOR_HPP
#define DP_TESTS_UNIT_BATCH_SCRIPTED_DECOMPRESSOR_HPP

#include <functional>
#include <istream>
#include <vector>

namespace test {

/// The script of this program's EFI decompressor. Without a script it reads the stream to its end
/// and returns nothing, as for a file that is not compressed.
inline std::function<std::vector<unsigned char>(std::istream&)> decompressor_script;

}  // namespace test

#endif
