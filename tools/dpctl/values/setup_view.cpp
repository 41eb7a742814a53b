#include "tools/dpctl/values/setup_view.hpp"

#include <cstdint>
#include <variant>

#include "service_api/attribute_description.hpp"

namespace dpctl {

using dp_service::registry_property;
using dp_service::registry_value;

setup_view::setup_view(session& service, catalog& names, report& rep)
    : state_(service, names, rep) {
    if (state_.rules() != nullptr) {
        menus_ = std::make_unique<const registry_menus>(*state_.registry(), *state_.rules());
    }
}

const registry_value* setup_view::find(const setting_ref& setting, registry_property which) const {
    const auto index = state_.index_of(setting);
    return index ? &state_.rules()->property(*index, which) : nullptr;
}

std::size_t setup_view::position(const setting_ref& setting) const {
    const auto index = state_.index_of(setting);
    return index ? menus_->position(*index) : SIZE_MAX;
}

std::string setup_view::menu(const setting_ref& setting) const {
    const auto index = state_.index_of(setting);
    return index ? menus_->title(*index) : std::string();
}

std::string setup_view::text(const setting_ref& setting, registry_property which) const {
    const registry_value* const value = find(setting, which);
    const auto* const text = value == nullptr ? nullptr : std::get_if<std::string>(value);
    return text == nullptr ? std::string() : *text;
}

bool setup_view::flag(const setting_ref& setting, registry_property which) const {
    const registry_value* const value = find(setting, which);
    const auto* const truth = value == nullptr ? nullptr : std::get_if<bool>(value);
    return truth != nullptr && *truth;
}

std::optional<std::int64_t> setup_view::number(const setting_ref& setting,
                                               registry_property which) const {
    const registry_value* const value = find(setting, which);
    const auto* const number = value == nullptr ? nullptr : std::get_if<std::int64_t>(value);
    return number == nullptr ? std::nullopt : std::optional(*number);
}

bool setup_view::is_hidden(const setting_ref& setting) const {
    const auto index = state_.index_of(setting);
    return index && (menus_->is_hidden(*index) || flag(setting, registry_property::hidden));
}

std::string setup_view::why_read_only(const setting_ref& setting) const {
    if (dp_service::is_read_only(*setting.attribute)) {
        return "read-only";
    }
    const auto index = state_.index_of(setting);
    if (!index) {
        return {};
    }
    for (const auto which : {registry_property::read_only, registry_property::immutable}) {
        const auto* const cause = state_.rules()->cause(*index, which);
        if (cause != nullptr && flag(setting, which)) {
            return (which == registry_property::read_only ? "read-only because "
                                                          : "immutable because ") +
                   state_.rules()->condition_text(*cause);
        }
    }
    return {};
}

}  // namespace dpctl
