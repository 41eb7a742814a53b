#include "tools/dp-template/json_document.hpp"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

namespace dp_tools {
namespace {

using nlohmann::json;

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

/// Where the parser is in the text, and where the token began that it is about to report.
struct reading_state {
    std::string_view text;
    std::size_t position = 0;
    std::size_t token = 0;
    bool between_tokens = true;

    void advance() {
        constexpr std::string_view separators = " \t\r\n,:";
        if (between_tokens && separators.find(text[position]) == std::string_view::npos) {
            token = position;
            between_tokens = false;
        }
        ++position;
    }
};

/// Feeds the parser and tells the state what it has taken.
class tracking_iterator {
  public:
    // The names that std::iterator_traits wants.
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    tracking_iterator(reading_state& state, bool at_end) : state_(&state), at_end_(at_end) {}

    reference operator*() const { return state_->text[state_->position]; }
    tracking_iterator& operator++() {
        state_->advance();
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
    [[nodiscard]] bool done() const { return at_end_ || state_->position >= state_->text.size(); }

    reading_state* state_;
    bool at_end_;
};

/// Builds the values.
class builder final : public json::json_sax_t {
  public:
    builder(reading_state& state, json_document& document) : state_(state), document_(document) {}

    bool null() override { return add(json_kind::null) != nullptr; }
    bool boolean(bool value) override {
        json_value* added = add(json_kind::boolean);
        if (added != nullptr) {
            added->truth = value;
        }
        return added != nullptr;
    }
    bool number_integer(number_integer_t value) override {
        json_value* added = add(json_kind::integer);
        if (added != nullptr) {
            added->integer = value;
            added->text = std::to_string(value);
        }
        return added != nullptr;
    }
    bool number_unsigned(number_unsigned_t value) override {
        if (std::in_range<number_integer_t>(value)) {
            return number_integer(static_cast<number_integer_t>(value));
        }
        return number_float(static_cast<double>(value), std::to_string(value));
    }
    bool number_float(number_float_t value, const string_t& digits) override {
        json_value* added = add(json_kind::real);
        if (added != nullptr) {
            added->real = value;
            added->text = digits;
        }
        return added != nullptr;
    }
    bool string(string_t& value) override {
        json_value* added = add(json_kind::text);
        if (added != nullptr) {
            added->text = std::move(value);
        }
        return added != nullptr;
    }
    bool binary(binary_t& /*value*/) override { return false; }
    bool start_object(std::size_t /*elements*/) override { return open(json_kind::object); }
    bool start_array(std::size_t /*elements*/) override { return open(json_kind::array); }
    bool key(string_t& value) override {
        state_.between_tokens = true;
        name_ = std::move(value);
        return true;
    }
    bool end_object() override {
        auto& members = open_.back()->items;
        std::stable_sort(members.begin(), members.end(),
                         [](const json_value& a, const json_value& b) { return a.name < b.name; });
        return end_array();
    }
    bool end_array() override {
        state_.between_tokens = true;
        open_.pop_back();
        return true;
    }
    bool parse_error(std::size_t position, const std::string& /*last_token*/,
                     const json::exception& exception) override {
        // "[json.exception...] parse error at line 1, column 2: what is wrong - last read: ..."
        std::string_view what = exception.what();
        const auto place = what.find("column ");
        const auto reason = what.find(": ", place == std::string_view::npos ? 0 : place);
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

    json_value* add(json_kind kind) {
        if (++count_ > json_value_limit) {
            fail(state_.token, "more than " + std::to_string(json_value_limit) + " values");
            return nullptr;
        }
        json_value* value = &document_.root;
        if (!open_.empty()) {
            value = &open_.back()->items.emplace_back();
        }
        value->kind = kind;
        value->offset = state_.token;
        value->name = std::exchange(name_, {});
        state_.between_tokens = true;
        return value;
    }

    bool open(json_kind kind) {
        if (open_.size() == json_depth_limit) {
            return fail(state_.token,
                        "nested deeper than " + std::to_string(json_depth_limit) + " levels");
        }
        json_value* value = add(kind);
        if (value == nullptr) {
            return false;
        }
        // The pointers stay good: a list grows only while it is the innermost open one.
        open_.push_back(value);
        return true;
    }

    reading_state& state_;
    json_document& document_;
    std::vector<json_value*> open_;
    std::string name_;
    std::size_t count_ = 0;
};

}  // namespace

const json_value* json_value::find(std::string_view member_name) const {
    if (kind != json_kind::object) {
        return nullptr;
    }
    const auto behind = std::upper_bound(
        items.begin(), items.end(), member_name,
        [](std::string_view wanted, const json_value& member) { return wanted < member.name; });
    if (behind == items.begin() || std::prev(behind)->name != member_name) {
        return nullptr;
    }
    return &*std::prev(behind);
}

std::vector<const json_value*> json_value::repeated_members() const {
    std::vector<const json_value*> repeated;
    if (kind == json_kind::object) {
        for (std::size_t i = 1; i < items.size(); ++i) {
            if (items[i].name == items[i - 1].name) {
                repeated.push_back(&items[i]);
            }
        }
    }
    return repeated;
}

json_document parse_json(std::string_view text) {
    json_document document;
    reading_state state{text};
    if (text.starts_with(byte_order_mark)) {
        state.position = byte_order_mark.size();
    }
    const std::size_t skipped = state.position;
    builder handler(state, document);
    json::sax_parse(tracking_iterator(state, false), tracking_iterator(state, true), &handler);
    if (!document.error.empty()) {
        document.error_offset = std::min(document.error_offset + skipped, text.size());
    }
    return document;
}

text_places::text_places(std::string_view text) : line_starts_{0} {
    for (auto end = text.find('\n'); end != std::string_view::npos;
         end = text.find('\n', end + 1)) {
        line_starts_.push_back(end + 1);
    }
}

text_place text_places::of(std::size_t offset) const {
    const auto behind = std::upper_bound(line_starts_.begin(), line_starts_.end(), offset);
    const auto line = static_cast<std::size_t>(behind - line_starts_.begin());
    return {line, offset - line_starts_[line - 1] + 1};
}

}  // namespace dp_tools
