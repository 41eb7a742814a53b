#ifndef DP_TOOLS_DP_TEMPLATE_JSON_DOCUMENT_HPP
#define DP_TOOLS_DP_TEMPLATE_JSON_DOCUMENT_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace dp_tools {

enum class json_kind : std::uint8_t { null, boolean, integer, real, text, array, object };

/// One value of a JSON text, with its place in it: messages say where a value stands.
struct json_value {
    json_kind kind = json_kind::null;
    bool truth = false;             ///< of a boolean
    std::size_t offset = 0;         ///< of its first byte in the text
    std::int64_t integer = 0;       ///< of an integer that fits; others are kind real
    double real = 0;                ///< of a real number
    std::string name;               ///< of an object's member
    std::string text;               ///< of a text; for numbers their digits
    std::vector<json_value> items;  ///< of an array in their order, of an object by name

    /// The object's member `member_name`, or null; the last one when it stands there twice.
    [[nodiscard]] const json_value* find(std::string_view member_name) const;

    /// The members that repeat the name of an earlier one.
    [[nodiscard]] std::vector<const json_value*> repeated_members() const;
};

struct json_document {
    json_value root;
    std::string error;             ///< empty when the text is one JSON value
    std::size_t error_offset = 0;  ///< of the first byte that does not belong
};

/// Limits that keep a hostile text from eating the memory: levels of nesting and number of values.
inline constexpr std::size_t json_depth_limit = 64;
inline constexpr std::size_t json_value_limit = 2'000'000;

/// Reads one JSON text; a byte order mark may lead it.
json_document parse_json(std::string_view text);

/// Line and column of a byte, both from 1; columns count bytes.
struct text_place {
    std::size_t line;
    std::size_t column;
};

/// Finds places in a text that outlives it.
class text_places {
  public:
    explicit text_places(std::string_view text);
    [[nodiscard]] text_place of(std::size_t offset) const;

  private:
    std::vector<std::size_t> line_starts_;
};

}  // namespace dp_tools

#endif
