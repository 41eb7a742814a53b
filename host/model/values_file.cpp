#include "host/model/values_file.hpp"

#include <sstream>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_settings_rdr.hpp"
#include "common/file_locks.hpp"
#include "common/quoting.hpp"
#include "host/exchange/own_file.hpp"
#include "settings/configuration.hpp"

namespace dp_host {

void write_values(const value_store& store, std::ostream& out) {
    dp::batch_file_entry entry;
    entry.status = "0";
    entry.detail = "0";
    entry.tid = "uefi";
    entry.operation = "set";
    store.for_each([&](value_store::place at, const std::string& value) {
        entry.name.configuration = at.setting->configuration->name;
        entry.name.setting = at.setting->name;
        entry.name.instance = at.instance == dp::no_instance ? "" : std::to_string(at.instance);
        entry.value_in = dp::add_backslash(value);
        out << entry << '\n';
    });
}

std::string read_values(const std::string& path, named_values& values, bool& exists) {
    const own_file file = open_own_file(path);
    exists = !file.missing;
    if (!file.problem.empty()) {
        return file.missing ? "" : file.problem;
    }
    std::vector<std::string> names;
    std::vector<std::string> texts;
    dp::batch_file_settings_rdr reader(&names, &texts);
    std::stringstream plain;
    {
        const readlock lock(path);
        if (!reader.decompress(path, plain)) {
            return "cannot open " + path;
        }
    }
    reader.read_file(plain, nullptr);
    values.reserve(values.size() + names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        values.emplace_back(std::move(names[i]), std::move(texts[i]));
    }
    return {};
}

}  // namespace dp_host
