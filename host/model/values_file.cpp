#include "host/model/values_file.hpp"

#include <cerrno>
#include <sstream>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_settings_rdr.hpp"
#include "common/quoting.hpp"
#include "host/process/bounded_lock.hpp"
#include "host/process/text_of.hpp"
#include "host/process/trusted_file.hpp"
#include "service_api/values_seal.hpp"
#include "settings/configuration.hpp"

namespace dp_host {

std::size_t write_set_lines(const value_store& store, std::ostream& out) {
    std::size_t count = 0;
    dp::batch_file_entry entry;
    entry.status = "0";
    entry.detail = "0";
    entry.tid = "uefi";
    entry.operation = "set";
    store.for_each([&](value_store::key at, const std::string& value) {
        entry.name = at.name();
        entry.value_in = dp::add_backslash(value);
        out << entry << '\n';
        ++count;
    });
    return count;
}

std::string write_values(const value_store& store, std::ostream& out) {
    std::ostringstream text;
    text << dp_service::values_seal::begin_line << '\n';
    const std::size_t count = write_set_lines(store, text);
    const std::string end = dp_service::values_seal::end_line(text.view(), count);
    out << text.view() << end << '\n';
    return end.substr(end.rfind(' ') + 1);
}

dp_support::result<values_content> read_values(const std::string& path) {
    if (const auto file = open_trusted_file(path); !file) {
        return file.error();
    }
    if (!dp_service::values_seal::is_within_limit(path)) {
        return dp_support::failure{
            text_of(path, " is larger than ", dp_service::values_seal::size_limit, " bytes"),
            EFBIG};
    }
    std::vector<std::string> names;
    std::vector<std::string> texts;
    dp::batch_file_settings_rdr reader(&names, &texts);
    std::stringstream plain;
    {
        const auto lock = bounded_lock::acquire(path, bounded_lock::kind::shared);
        if (!lock) {
            return lock.error();
        }
        if (!reader.decompress(path, plain)) {
            return dp_support::failure{"cannot open " + path};
        }
    }
    auto examined = dp_service::values_seal::examine(plain.view());
    if (examined.found == dp_service::values_seal::completeness::damaged) {
        return dp_support::failure{path + " is damaged: " + examined.problem, EBADMSG};
    }
    reader.read_file(plain, nullptr);
    values_content content;
    content.version = std::move(examined.version);
    content.values.reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        content.values.emplace_back(std::move(names[i]), std::move(texts[i]));
    }
    return content;
}

}  // namespace dp_host
