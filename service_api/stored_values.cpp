#include "service_api/stored_values.hpp"

#include <cstddef>
#include <utility>
#include <vector>

#include "batch/batch_file_settings_rdr.hpp"
#include "batch/batch_list_info.hpp"
#include "service_api/values_seal.hpp"
#include "support/checked_streams.hpp"

namespace dp_service {

std::optional<stored_values> read_stored_values(const std::string& path) {
    std::vector<std::string> names;
    std::vector<std::string> texts;
    dp::batch_file_settings_rdr reader(&names, &texts);
    dp_support::checked_stringstream lines;
    if (!dp_service::values_seal::is_within_limit(path) || !reader.decompress(path, lines)) {
        return std::nullopt;
    }
    reader.read_file(lines, nullptr);
    stored_values values;
    values.reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        values.insert_or_assign(std::move(names[i]), dp::batch_list_info::is_full_form(texts[i])
                                                         ? dp::batch_list_info().tersify(texts[i])
                                                         : std::move(texts[i]));
    }
    return values;
}

}  // namespace dp_service
