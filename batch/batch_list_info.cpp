#include "batch/batch_list_info.hpp"

#include <utility>

namespace dp {
namespace {

// Returns the part of `text` from `at` to the next `separator` or the end. Moves `at` past it.
std::string take_until(const std::string& text, char separator, std::size_t& at) {
    if (at > text.size()) {
        return {};
    }
    const std::size_t end = text.find(separator, at);
    std::string piece = text.substr(at, end - at);
    at = end == std::string::npos ? text.size() + 1 : end + 1;
    return piece;
}

}  // namespace

bool batch_list_info::is_full_form(const std::string& text) {
    return !text.empty() && text.front() == '[' && text.find("value=") != std::string::npos;
}

// The interface fixes the signatures of these member functions.
// NOLINTBEGIN(performance-unnecessary-value-param, readability-convert-member-functions-to-static)

void batch_list_info::parse_selections(std::string text, std::map<std::string, std::string>& sel) {
    sel.clear();
    if (text.empty()) {
        return;
    }
    std::size_t at = 0;
    if (is_full_form(text)) {
        while (at <= text.size()) {
            parse_instance(take_until(text, ']', at), sel);
        }
        return;
    }
    for (unsigned order = 1; at <= text.size(); ++order) {
        sel.insert_or_assign(take_until(text, ',', at), std::to_string(order));
    }
}

void batch_list_info::parse_instance(std::string part, std::map<std::string, std::string>& sel) {
    std::size_t at = 0;
    take_until(part, '\'', at);  // "[value="
    std::string value = take_until(part, '\'', at);
    take_until(part, '\'', at);  // ",order="
    std::string order = take_until(part, '\'', at);
    if (!value.empty()) {
        sel.insert_or_assign(std::move(value), std::move(order));
    }
}

std::string batch_list_info::get_string(std::map<std::string, std::string>& sel) {
    std::string text;
    for (const auto& [value, order] : sel) {
        if (!text.empty()) {
            text += ',';
        }
        text += "[value='";
        text += value;
        text += "',order='";
        text += order;
        text += "']";
    }
    return text;
}

std::string batch_list_info::get_string_terse(std::map<std::string, std::string>& sel) {
    std::map<std::string, std::string> by_order;
    for (const auto& [value, order] : sel) {
        by_order[order] = value;
    }
    std::string text;
    bool first = true;
    for (const auto& [order, value] : by_order) {
        if (!first) {
            text += ',';
        }
        first = false;
        text += value;
    }
    return text;
}

bool batch_list_info::set_current(const std::string& text) {
    parse_selections(text, current_);
    return true;
}

std::string batch_list_info::get_current() {
    return get_string(current_);
}

std::string batch_list_info::get_current_terse() {
    return get_string_terse(current_);
}

std::string batch_list_info::tersify(std::string text) {
    std::map<std::string, std::string> sel;
    parse_selections(std::move(text), sel);
    return get_string_terse(sel);
}

// NOLINTEND(performance-unnecessary-value-param, readability-convert-member-functions-to-static)

}  // namespace dp
