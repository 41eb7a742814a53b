// usage: fuzz_replay TARGET FOLDER
//
// Runs a fuzz target, compiled without a fuzzer, on each file of a folder: the corpus in the tree.
// A wrong result aborts, as in the fuzzer.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/fuzzing.hpp"

#undef LLVMFuzzerTestOneInput

using fuzz_target = int(const std::uint8_t* data, std::size_t size);

// DP_FUZZ_TARGETS lists DP_FUZZ_TARGET(name) for each target; its function is fuzz_name.
#define DP_FUZZ_TARGET(name) extern "C" fuzz_target fuzz_##name;
DP_FUZZ_TARGETS
#undef DP_FUZZ_TARGET

namespace {

struct named_target {
    std::string_view name;
    fuzz_target* run;
};

#define DP_FUZZ_TARGET(name) {#name, fuzz_##name},
constexpr named_target targets[] = {DP_FUZZ_TARGETS};
#undef DP_FUZZ_TARGET

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: fuzz_replay TARGET FOLDER\n";
        return 2;
    }
    const auto* const target = std::find_if(std::begin(targets), std::end(targets),
                                            [&](const auto& t) { return t.name == argv[1]; });
    if (target == std::end(targets)) {
        std::cerr << "fuzz_replay: no target " << argv[1] << '\n';
        return 2;
    }
    std::vector<std::filesystem::path> files(std::filesystem::directory_iterator(argv[2]), {});
    std::sort(files.begin(), files.end());
    for (const auto& path : files) {
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
        // Named before it runs, so that an abort is explained.
        std::cout << path.filename().string() << std::endl;
        const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
        target->run(input.data(), input.size());
    }
    std::cout << files.size() << " files\n";
    return files.empty() ? 1 : 0;
}
