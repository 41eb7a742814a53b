#ifndef DP_REDFISH_RESOURCES_REQUEST_MEMBERS_HPP
#define DP_REDFISH_RESOURCES_REQUEST_MEMBERS_HPP

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "redfish/protocol/messages.hpp"
#include "support/json.hpp"

namespace dp_redfish {

/// Reads the members of a request's body, each by its name, and collects what is wrong with them.
/// Members "@odata.*" are ignored, as Redfish has it.
class request_members {
  public:
    /// @param body  an object; must outlive this
    explicit request_members(const dp_support::json_value& body) : body_(body) {}

    /// Whether the body has the member.
    [[nodiscard]] bool has(std::string_view name) const { return body_.find(name) != nullptr; }

    /// The value of a member; nothing when it is missing or, which is recorded, of another type.
    std::optional<std::string_view> text(std::string_view name);
    std::optional<bool> boolean(std::string_view name);
    std::optional<std::int64_t> integer(std::string_view name, std::int64_t least,
                                        std::int64_t greatest);
    /// A text that messages do not show.
    std::optional<std::string_view> secret(std::string_view name);
    /// The member as it is; null when it is missing.
    const dp_support::json_value* any(std::string_view name);

    /// Records members that clients may not set.
    void read_only(std::initializer_list<std::string_view> names);
    /// Ignores members that the service sets itself.
    void ignore(std::initializer_list<std::string_view> names);
    /// Records a member as missing.
    void require(std::initializer_list<std::string_view> names);
    /// Records the members that nothing asked for. Call it last.
    void unknown();

    /// Records a message about a member.
    void wrong(std::string_view name, message what);

    /// Why the request as a whole cannot be done.
    [[nodiscard]] const std::vector<message>& errors() const { return errors_; }
    /// Members that cannot be set. A change does the others.
    [[nodiscard]] const std::vector<message>& not_settable() const { return not_settable_; }
    /// All messages, for a request that is refused.
    [[nodiscard]] std::vector<message> all() const;

  private:
    void wrong_type(const dp_support::json_value& member, bool is_secret);

    const dp_support::json_value& body_;
    std::set<std::string, std::less<>> known_;
    std::vector<message> errors_;
    std::vector<message> not_settable_;
};

/// Adds "@Message.ExtendedInfo" to the resource, with a message for each member that was not set.
void annotate(dp_support::json_value& resource, const request_members& members);

}  // namespace dp_redfish

#endif
