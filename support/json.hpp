#ifndef DP_SUPPORT_JSON_HPP
#define DP_SUPPORT_JSON_HPP

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dp_support {

enum class json_kind : std::uint8_t { null, boolean, integer, real, text, array, object };

/// The kind for a person: "a text", "a list".
std::string kind_name(json_kind kind);

struct json_member;

/// A JSON value: built to be written, or read by `parse_json`. Values convert implicitly, so that
/// objects can be written as lists of members. Texts are UTF-8; other bytes are allowed and are
/// written as U+FFFD.
struct json_value {
    // NOLINTBEGIN(google-explicit-constructor)
    json_value() = default;
    json_value(std::nullptr_t) {}
    template <std::same_as<bool> Boolean>
    json_value(Boolean value) : kind(json_kind::boolean), truth(value) {}
    template <std::integral Integer>
    requires(!std::same_as<Integer, bool>) json_value(Integer value)
        : kind(json_kind::integer), integer(static_cast<std::int64_t>(value)) {}
    json_value(double value) : kind(json_kind::real), real(value) {}
    json_value(std::string value) : kind(json_kind::text), text(std::move(value)) {}
    json_value(std::string_view value) : kind(json_kind::text), text(value) {}
    json_value(const char* value) : kind(json_kind::text), text(value) {}
    json_value(const std::vector<std::string>& texts);
    /// null when `value` is empty.
    template <class Value>
    json_value(const std::optional<Value>& value)
        : json_value(value ? json_value(*value) : json_value()) {}
    // NOLINTEND(google-explicit-constructor)

    static json_value array();
    static json_value object();
    static json_value object(std::initializer_list<json_member> members);

    /// The member `member_name` of an object, or null. The last one when the name is repeated.
    [[nodiscard]] const json_value* find(std::string_view member_name) const;

    /// The members of an object whose name an earlier member has too.
    [[nodiscard]] std::vector<const json_value*> repeated_members() const;

    /// Sets a member of an object; a new one becomes the last. The reference to the member is valid
    /// until another member is added.
    json_value& set(std::string_view member_name, json_value value);

    /// Sets all members of another object.
    void merge(json_value other);

    /// Adds an item to an array.
    void push_back(json_value item);

    json_kind kind = json_kind::null;
    bool truth = false;             ///< of a boolean
    std::size_t offset = 0;         ///< of the value's first byte in the text that was parsed
    std::int64_t integer = 0;       ///< of an integer
    double real = 0;                ///< of a real number, or of an integer beyond 64 bits
    std::string name;               ///< of an object's member
    std::string text;               ///< of a text; the digits of a number that was parsed
    std::vector<json_value> items;  ///< of an array, or the members of an object, in their order
};

/// A member of an object that is built.
struct json_member {
    std::string_view name;
    json_value value;
};

enum class json_layout {
    one_line,  ///< without any white space
    indented,  ///< an item or member a line, indented by two spaces a level
};

/// The JSON text of `value`, without a newline at its end. A real number that was parsed keeps its
/// digits.
std::string to_text(const json_value& value, json_layout layout);

/// What a JSON text contains, or why it is not one.
struct json_document {
    json_value root;
    std::string error;             ///< empty when the text is one JSON value
    std::size_t error_offset = 0;  ///< of the first wrong byte
};

/// Limits of `parse_json`, so that a hostile text does not exhaust the memory.
inline constexpr std::size_t json_depth_limit = 64;  ///< levels of nesting
inline constexpr std::size_t json_value_limit = 2'000'000;

/// Parses one JSON text; a byte order mark before it is skipped. An integer beyond 64 bits is a
/// real number.
json_document parse_json(std::string_view text);

}  // namespace dp_support

#endif
