#include "support/json.hpp"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <unordered_set>

namespace dp_support {
namespace {

using nlohmann::json;

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

// Where the parser is in the text, and where the token that it reports next begins.
struct parser_position {
    std::string_view text;
    std::size_t offset = 0;
    std::size_t token = 0;
    bool between_tokens = true;

    void advance() {
        constexpr std::string_view separators = " \t\r\n,:";
        if (between_tokens && separators.find(text[offset]) == std::string_view::npos) {
            token = offset;
            between_tokens = false;
        }
        ++offset;
    }
};

// Feeds the parser and advances the position with it.
class tracking_iterator {
  public:
    // The names that std::iterator_traits requires.
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    tracking_iterator(parser_position& position, bool at_end)
        : position_(&position), at_end_(at_end) {}

    reference operator*() const { return position_->text[position_->offset]; }
    tracking_iterator& operator++() {
        position_->advance();
        return *this;
    }
    tracking_iterator operator++(int) {
        tracking_iterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const tracking_iterator& other) const { return done() == other.done(); }
    bool operator!=(const tracking_iterator& other) const { return !(*this == other); }

  private:
    [[nodiscard]] bool done() const {
        return at_end_ || position_->offset >= position_->text.size();
    }

    parser_position* position_;
    bool at_end_;
};

// Builds the values.
class document_builder final : public json::json_sax_t {
  public:
    document_builder(parser_position& position, json_document& document)
        : position_(position), document_(document) {}

    bool null() override { return add({}); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override {
        json_value added = value;
        added.text = std::to_string(value);
        return add(std::move(added));
    }
    bool number_unsigned(number_unsigned_t value) override {
        if (std::in_range<number_integer_t>(value)) {
            return number_integer(static_cast<number_integer_t>(value));
        }
        return number_float(static_cast<double>(value), std::to_string(value));
    }
    bool number_float(number_float_t value, const string_t& digits) override {
        json_value added = value;
        added.text = digits;
        return add(std::move(added));
    }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t& /*value*/) override { return false; }
    bool start_object(std::size_t /*elements*/) override { return open(json_value::object()); }
    bool start_array(std::size_t /*elements*/) override { return open(json_value::array()); }
    bool key(string_t& value) override {
        position_.between_tokens = true;
        name_ = std::move(value);
        return true;
    }
    bool end_object() override { return end_array(); }
    bool end_array() override {
        position_.between_tokens = true;
        open_.pop_back();
        return true;
    }
    bool parse_error(std::size_t position, const std::string& /*last_token*/,
                     const json::exception& exception) override {
        // "[json.exception...] parse error at line 1, column 2: what is wrong - last read: ..."
        std::string_view what = exception.what();
        const auto column = what.find("column ");
        const auto reason = what.find(": ", column == std::string_view::npos ? 0 : column);
        if (reason != std::string_view::npos) {
            what.remove_prefix(reason + 2);
        }
        constexpr std::size_t longest = 200;
        return fail(position == 0 ? 0 : position - 1,
                    what.size() > longest ? std::string(what.substr(0, longest)) + "..."
                                          : std::string(what));
    }

  private:
    bool fail(std::size_t offset, std::string reason) {
        document_.error = std::move(reason);
        document_.error_offset = offset;
        return false;
    }

    bool add(json_value value) {
        if (++count_ > json_value_limit) {
            return fail(position_.token,
                        "more than " + std::to_string(json_value_limit) + " values");
        }
        value.offset = position_.token;
        value.name = std::exchange(name_, {});
        position_.between_tokens = true;
        if (open_.empty()) {
            document_.root = std::move(value);
        } else {
            open_.back()->items.push_back(std::move(value));
        }
        return true;
    }

    bool open(json_value value) {
        if (open_.size() == json_depth_limit) {
            return fail(position_.token,
                        "nested deeper than " + std::to_string(json_depth_limit) + " levels");
        }
        if (!add(std::move(value))) {
            return false;
        }
        // The pointers remain valid: a list grows only while it is the innermost open one.
        open_.push_back(open_.empty() ? &document_.root : &open_.back()->items.back());
        return true;
    }

    parser_position& position_;
    json_document& document_;
    std::vector<json_value*> open_;
    std::string name_;
    std::size_t count_ = 0;
};

// Writes a value; `indentation` is its level, -1 for one line.
class writer {
  public:
    explicit writer(std::string& out) : out_(out) {}

    void write(const json_value& value, int level) {
        switch (value.kind) {
            case json_kind::null:
                out_ += "null";
                return;
            case json_kind::boolean:
                out_ += value.truth ? "true" : "false";
                return;
            case json_kind::integer:
                out_ += std::to_string(value.integer);
                return;
            case json_kind::real:
                // The digits of a number that was parsed may say more than its 64 bits.
                out_ += value.text.empty() ? json(value.real).dump() : value.text;
                return;
            case json_kind::text:
                write_text(value.text);
                return;
            case json_kind::array:
                write_items(value, level, '[', ']');
                return;
            case json_kind::object:
                write_items(value, level, '{', '}');
                return;
        }
    }

  private:
    void write_text(const std::string& text) {
        out_ += json(text).dump(-1, ' ', false, json::error_handler_t::replace);
    }

    void write_items(const json_value& value, int level, char open, char close) {
        out_ += open;
        const int inner = level < 0 ? level : level + 1;
        bool is_first = true;
        for (const auto& item : value.items) {
            if (!std::exchange(is_first, false)) {
                out_ += ',';
            }
            break_line(inner);
            if (value.kind == json_kind::object) {
                write_text(item.name);
                out_ += level < 0 ? ":" : ": ";
            }
            write(item, inner);
        }
        if (!value.items.empty()) {
            break_line(level);
        }
        out_ += close;
    }

    void break_line(int level) {
        if (level >= 0) {
            out_ += '\n';
            out_.append(static_cast<std::size_t>(level) * 2, ' ');
        }
    }

    std::string& out_;
};

json_value empty_value(json_kind kind) {
    json_value value;
    value.kind = kind;
    return value;
}

}  // namespace

json_value::json_value(const std::vector<std::string>& texts)
    : kind(json_kind::array), items(texts.begin(), texts.end()) {}

std::string kind_name(json_kind kind) {
    switch (kind) {
        case json_kind::null:
            return "null";
        case json_kind::boolean:
            return "true or false";
        case json_kind::integer:
        case json_kind::real:
            return "a number";
        case json_kind::text:
            return "a text";
        case json_kind::array:
            return "a list";
        case json_kind::object:
            return "an object";
    }
    return "";
}

json_value json_value::array() {
    return empty_value(json_kind::array);
}

json_value json_value::object() {
    return empty_value(json_kind::object);
}

json_value json_value::object(std::initializer_list<json_member> members) {
    json_value value = object();
    value.items.reserve(members.size());
    for (const auto& member : members) {
        value.items.push_back(member.value);
        value.items.back().name = member.name;
    }
    return value;
}

const json_value* json_value::find(std::string_view member_name) const {
    if (kind != json_kind::object) {
        return nullptr;
    }
    const auto found = std::find_if(items.rbegin(), items.rend(), [&](const json_value& member) {
        return member.name == member_name;
    });
    return found == items.rend() ? nullptr : &*found;
}

std::vector<const json_value*> json_value::repeated_members() const {
    std::vector<const json_value*> repeated;
    if (kind == json_kind::object) {
        std::unordered_set<std::string_view> known;
        for (const auto& member : items) {
            if (!known.insert(member.name).second) {
                repeated.push_back(&member);
            }
        }
    }
    return repeated;
}

json_value& json_value::set(std::string_view member_name, json_value value) {
    value.name = member_name;
    const auto found = std::find_if(items.begin(), items.end(), [&](const json_value& member) {
        return member.name == member_name;
    });
    if (found == items.end()) {
        return items.emplace_back(std::move(value));
    }
    return *found = std::move(value);
}

void json_value::merge(json_value other) {
    for (auto& member : other.items) {
        const std::string member_name = member.name;
        set(member_name, std::move(member));
    }
}

void json_value::push_back(json_value item) {
    items.push_back(std::move(item));
}

std::string to_text(const json_value& value, json_layout layout) {
    std::string text;
    writer(text).write(value, layout == json_layout::indented ? 0 : -1);
    return text;
}

json_document parse_json(std::string_view text) {
    json_document document;
    parser_position position{text};
    if (text.starts_with(byte_order_mark)) {
        position.offset = byte_order_mark.size();
    }
    const std::size_t skipped = position.offset;
    document_builder builder(position, document);
    json::sax_parse(tracking_iterator(position, false), tracking_iterator(position, true),
                    &builder);
    if (!document.error.empty()) {
        document.error_offset = std::min(document.error_offset + skipped, text.size());
    }
    return document;
}

}  // namespace dp_support
