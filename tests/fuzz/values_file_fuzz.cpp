// Arbitrary bytes as a file of values: reading never fails in an undocumented way, what was loaded
// from it and written again is read back unchanged, and no cut or changed byte of a written file
// goes unnoticed.

#include <cerrno>
#include <sstream>
#include <string>

#include "batch/qualified_setting_name.hpp"
#include "common/fixed_paths.hpp"
#include "host/model/template_model.hpp"
#include "host/model/value_store.hpp"
#include "host/model/values_file.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/fuzzing_root.hpp"
#include "tests/support/sample_template.hpp"

namespace {

std::string text_of(const dp_host::value_store& store) {
    std::ostringstream out;
    dp_host::write_values(store, out);
    return out.str();
}

void load(const dp_host::named_values& values, dp_host::value_store& store) {
    dp::qualified_setting_name name;
    for (const auto& [text, value] : values) {
        name.parse(text);
        store.load(name, value, true);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto model = *dp_host::template_model::make(test::sample_template(), nullptr);
    const std::string path = dp::fixed_paths::uefi_settings.str();
    fuzzing::write_scratch(path, std::string(data, data + size));
    const auto content = dp_host::read_values(path);
    if (!content) {
        fuzzing::require(content.code() != ENOENT && !content.reason().empty(),
                         "a file that cannot be used is not a missing one");
        return 0;
    }
    dp_host::value_store store(*model);
    load(content->values, store);
    const std::string text = text_of(store);
    fuzzing::write_scratch(path, text);
    const auto written = dp_host::read_values(path);
    fuzzing::require(written.ok(), "a file that was written can be read");
    dp_host::value_store again(*model);
    load(written->values, again);
    fuzzing::require(text_of(again) == text, "values that were written are read back");

    // The input also chooses a place.
    const std::size_t place = (size * 31 + (size > 0 ? data[size / 2] : 0U)) % text.size();
    fuzzing::write_scratch(path, text.substr(0, place));
    const bool is_newline_missing = place + 1 == text.size();
    fuzzing::require(is_newline_missing || !dp_host::read_values(path), "a cut file is noticed");
    std::string changed = text;
    changed[place] = static_cast<char>(changed[place] ^ 1);
    fuzzing::write_scratch(path, changed);
    const auto read = dp_host::read_values(path);
    fuzzing::require(!read || read->version != written->version, "a changed byte is noticed");
    return 0;
}
