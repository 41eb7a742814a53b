// Arbitrary bytes as a setting's name and as a value: names are split at the first and the last
// dot, and a value that is written escaped in a batch line is read back unchanged.

#include <sstream>
#include <string>
#include <vector>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_loader.hpp"
#include "batch/qualified_setting_name.hpp"
#include "common/quoting.hpp"
#include "service_api/choice_list.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/input.hpp"

namespace {

void check_name(const std::string& text) {
    dp::qualified_setting_name name;
    name.parse(text);
    const std::size_t first = text.find('.');
    const std::size_t last = text.rfind('.');
    if (first != std::string::npos) {
        fuzzing::require(name.configuration == text.substr(0, first),
                         "the configuration ends at the first dot");
        if (first == last) {
            fuzzing::require(name.instance.empty(), "with one dot there is no instance");
        } else {
            fuzzing::require(name.instance == text.substr(last + 1),
                             "the instance begins after the last dot");
        }
    }
    dp::qualified_setting_name again;
    again.parse(name.get_name());
    if (first != std::string::npos && !name.instance.empty()) {
        fuzzing::require(name.get_name() == text && again.get_name() == text,
                         "a name with an instance is written as it was read");
    }
    dp::qualified_setting_name own = name;
    own.parse(own.configuration);
    again.parse(name.configuration);
    fuzzing::require(own.get_name() == again.get_name(), "a part of the name can be parsed");
}

void check_value(const std::string& value) {
    const std::string escaped = dp::add_backslash(value);
    // A newline ends the line, and a NUL is a byte as any other.
    if (value.find('\n') == std::string::npos) {
        const std::string line = "0 1 t set A.B \"" + escaped + "\" \"\"\n";
        std::vector<dp::batch_file_entry> entries;
        dp::batch_file_loader loader(&entries);
        std::istringstream in(line);
        loader.read_file(in, nullptr);
        fuzzing::require(entries.size() == 1 && entries[0].value_in == value,
                         "an escaped value is read back");
    }
    std::string expected = value;
    if (!expected.empty() && expected.front() == '"') {
        expected.erase(expected.begin());
    }
    if (!expected.empty() && expected.back() == '"') {
        expected.pop_back();
    }
    fuzzing::require(dp::strip_quotes(value) == expected, "one quote is removed at each end");
    fuzzing::require(dp::strip_quotes(dp::add_quotes(value)) == value, "quotes are removed again");
}

void check_choices(fuzzing::input in) {
    const std::string text = in.rest();
    const auto choices = dp_service::choice_list::split(text);
    const auto again = dp_service::choice_list::split(dp_service::choice_list::join(choices));
    const bool is_expressible = choices != std::vector<std::string>{""};
    fuzzing::require(!is_expressible || again == choices, "choices survive a round trip");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    check_name(text);
    check_value(text);
    check_choices({data, size});
    return 0;
}
