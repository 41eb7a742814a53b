// Arbitrary bytes as a batch file: the reader returns the same entries as plain stream extraction.

#include <array>
#include <sstream>
#include <string>
#include <vector>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/batch_file_reader.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/support/reference_batch_reader.hpp"

namespace {

using texts = std::array<std::string, 10>;

texts texts_of(const dp::batch_file_entry& entry) {
    return {entry.status,       entry.detail,        entry.tid,
            entry.operation,    entry.command,       entry.name.configuration,
            entry.name.setting, entry.name.instance, entry.value_in,
            entry.value_out};
}

class entry_collector final : public dp::batch_file_intf {
  public:
    void process_entry(dp::batch_file_entry& entry, dp::registrar* /*reg*/) override {
        entries.push_back(texts_of(entry));
    }
    std::vector<texts> entries;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string file(data, data + size);
    entry_collector collected;
    std::istringstream in(file);
    const int count = dp::batch_file_reader(&collected).read_file(in, nullptr);

    std::vector<texts> expected;
    std::istringstream again(file);
    const int expected_count = test::reference_read_batch(
        again, [&](const dp::batch_file_entry& entry) { expected.push_back(texts_of(entry)); });
    fuzzing::require(count == expected_count, "the number of entries is that of plain extraction");
    fuzzing::require(collected.entries == expected, "the entries are those of plain extraction");
    return 0;
}
