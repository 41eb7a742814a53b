#ifndef DP_REDFISH_MODEL_CHANGE_LOG_HPP
#define DP_REDFISH_MODEL_CHANGE_LOG_HPP

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "service_api/change_record.hpp"

namespace dp_redfish {

/// The changes that the settings service made, oldest first, each with an id. Never changes once it
/// is read; any thread may then read it.
class change_log {
  public:
    /// The records of a history file's text.
    static change_log parse(std::string_view text);

    [[nodiscard]] const std::vector<dp_service::change_record>& records() const { return records_; }

    /// By the position of their record. An id remains when older records are dropped from the
    /// history: it is a hash of the record, with a number for equal ones.
    [[nodiscard]] const std::vector<std::string>& ids() const { return ids_; }

    /// The position of the record with this id; nothing when there is none.
    [[nodiscard]] std::optional<std::size_t> find(const std::string& id) const;

    [[nodiscard]] bool is_empty() const { return records_.empty(); }

  private:
    std::vector<dp_service::change_record> records_;
    std::vector<std::string> ids_;
    std::unordered_map<std::string, std::size_t> by_id_;
};

}  // namespace dp_redfish

#endif
