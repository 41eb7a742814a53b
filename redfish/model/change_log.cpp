#include "redfish/model/change_log.hpp"

#include <utility>

#include "service_api/fnv1a_64.hpp"
#include "support/complete_lines.hpp"

namespace dp_redfish {

change_log change_log::parse(std::string_view text) {
    change_log log;
    std::unordered_map<std::string, std::size_t> count;  // of equal records
    dp_support::for_each_complete_line(text, [&](std::string_view line) {
        auto record = dp_service::change_record::parse(std::string(line));
        if (!record) {
            return;
        }
        dp_service::fnv1a_64 hash;
        hash.add(line);
        std::string id = hash.str();
        if (const std::size_t number = ++count[id]; number > 1) {
            id += '-' + std::to_string(number);
        }
        log.by_id_.emplace(id, log.records_.size());
        log.ids_.push_back(std::move(id));
        log.records_.push_back(*std::move(record));
    });
    return log;
}

std::optional<std::size_t> change_log::find(const std::string& id) const {
    const auto found = by_id_.find(id);
    return found == by_id_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace dp_redfish
