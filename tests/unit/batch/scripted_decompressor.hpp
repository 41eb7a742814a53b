#ifndef DP_TESTS_UNIT_BATCH_SCRIPTED_DECOMPRESSOR_HPP
#define DP_TESTS_UNIT_BATCH_SCRIPTED_DECOMPRESSOR_HPP

#include <functional>
#include <istream>
#include <vector>

namespace test {

/// What the EFI decompressor of this program does. Without a script it reads the stream to its end,
/// as a decompressor does, and finds no image.
inline std::function<std::vector<unsigned char>(std::istream&)> decompressor_script;

}  // namespace test

#endif
