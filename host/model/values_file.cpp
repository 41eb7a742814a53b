#include "host/model/values_file.hpp"

#include <sstream>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_settings_rdr.hpp"
#include "common/file_locks.hpp"
#include "common/quoting.hpp"
#include "host/process/trusted_file.hpp"
#include "settings/configuration.hpp"

namespace dp_host {

void write_values(const value_store& store, std::ostream& out) {
    dp::batch_file_entry entry;
    entry.status = "0";
    entry.detail = "0";
    entry.tid = "uefi";
    entry.operation = "set";
    store.for_each([&](value_store::key at, const std::string& value) {
        entry.name = at.name();
        entry.value_in = dp::add_backslash(value);
        out << entry << '\n';
    });
}

dp_support::result<named_values> read_values(const std::string& path) {
    if (const auto file = open_trusted_file(path); !file) {
        return file.error();
    }
    std::vector<std::string> names;
    std::vector<std::string> texts;
    dp::batch_file_settings_rdr reader(&names, &texts);
    std::stringstream plain;
    {
        const readlock lock(path);
        if (!reader.decompress(path, plain)) {
            return dp_support::failure{"cannot open " + path};
        }
    }
    reader.read_file(plain, nullptr);
    named_values values;
    values.reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        values.emplace_back(std::move(names[i]), std::move(texts[i]));
    }
    return values;
}

}  // namespace dp_host
