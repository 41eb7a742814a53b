#include "host/model/carry_over.hpp"

#include "host/model/attribute_mapping.hpp"
#include "host/process/text_of.hpp"
#include "settings/configuration.hpp"

namespace dp_host {
namespace {

template_element& element_of(const template_model& model, const dp::setting& s) {
    return *model.attributes()[model.position_of(&s)].element;
}

// Whether the template determines the value of its attribute, because nobody else can set it.
bool is_determined_by(const template_model& model, const dp::setting& s) {
    template_element& element = element_of(model, s);
    return element.is_read_only() && !element.default_value().empty();
}

std::string quoted(const std::string& value) {
    return '"' + value + '"';
}

}  // namespace

std::string carry_over_report::summary() const {
    return text_of("kept ", kept, kept == 1 ? " value" : " values", ", converted ",
                   converted.size(), ", lost ", lost.size());
}

std::vector<std::string> carry_over_report::lines() const {
    std::vector<std::string> texts{summary()};
    for (const entry& value : converted) {
        texts.push_back("converted " + value.name + ' ' + quoted(value.value) + " to " +
                        value.new_name);
    }
    for (const entry& value : lost) {
        std::string text = "lost " + value.name + ' ' + quoted(value.value);
        if (value.new_name.empty()) {
            text += ": there is no such attribute any more";
        } else if (!value.now) {
            text += ": there is no such instance any more";
        } else {
            text += ": not valid any more; " + value.new_name + " is " + quoted(*value.now);
        }
        texts.push_back(std::move(text));
    }
    return texts;
}

carry_over_report carry_over(const template_model& previous, const value_store& before,
                             const template_model& model, value_store& after) {
    const attribute_mapping mapping(previous, model);
    carry_over_report report;
    std::vector<value_store::key> replaced;  // of the lost values
    before.for_each([&](value_store::key at, const std::string& value) {
        dp::setting* const setting = mapping.after(*at.setting);
        if (setting != nullptr && is_determined_by(model, *setting)) {
            return;
        }
        carry_over_report::entry entry{at.name().get_name(), value, {}, std::nullopt};
        if (setting == nullptr) {
            report.lost.push_back(std::move(entry));
            replaced.emplace_back();
            return;
        }
        const value_store::key to{setting, at.instance};
        entry.new_name = to.name().get_name();
        if (after.load(to.name(), value, false) != value_store::load_result::loaded) {
            report.lost.push_back(std::move(entry));
            replaced.push_back(to);
        } else if (entry.new_name == entry.name) {
            ++report.kept;
        } else {
            entry.now = value;
            report.converted.push_back(std::move(entry));
        }
    });
    after.add_defaults([&](const dp::setting& s) {
        return mapping.before(s) == nullptr || is_determined_by(model, s);
    });
    for (std::size_t i = 0; i < replaced.size(); ++i) {
        const std::string* const now =
            replaced[i].setting == nullptr ? nullptr : after.find(replaced[i]);
        if (now != nullptr) {
            report.lost[i].now = *now;
        }
    }
    return report;
}

}  // namespace dp_host
