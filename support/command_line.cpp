#include "support/command_line.hpp"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "support/program_main.hpp"

namespace dp_support {
namespace {

// Prints the help that was requested, or what was wrong.
int exit_with(const CLI::App& app, const CLI::ParseError& error) {
    return app.exit(error) == 0 ? done_if_written(app.get_name()) : exit_code::wrong_usage;
}

void apply(const option_rules& rules, CLI::App& app, CLI::Option& option) {
    option.required(rules.required);
    if (!rules.excludes.empty()) {
        option.excludes(app.get_option(rules.excludes));
    }
    if (!rules.choices.empty()) {
        option.check(CLI::IsMember(rules.choices));
    }
    if (rules.check) {
        option.check(rules.check);
    }
    if (rules.show_default) {
        option.capture_default_str();
    }
}

template <class Target>
CLI::Option& add_value(CLI::App& app, const std::string& name, Target& target,
                       const std::string& description, const option_rules& rules) {
    CLI::Option& option = *app.add_option(name, target, description)->type_name(rules.value_name);
    apply(rules, app, option);
    return option;
}

// The range check accepts a NaN.
std::string why_not_a_number(const std::string& text) {
    return std::isnan(std::strtod(text.c_str(), nullptr)) ? text + " is not a number"
                                                          : std::string();
}

}  // namespace

command_line::command_line(const std::string& description, const std::string& program)
    : owned_(std::make_unique<CLI::App>(description, program)), app_(*owned_) {}

command_line::command_line(CLI::App& app) : app_(app) {}

command_line::~command_line() = default;

void command_line::add_version(const std::string& text) {
    app_.set_version_flag("--version", text);
}

command_line& command_line::add_subcommand(const std::string& name,
                                           const std::string& description) {
    app_.require_subcommand(1);
    // The constructor is private.
    subcommands_.push_back(
        std::unique_ptr<command_line>(new command_line(*app_.add_subcommand(name, description))));
    return *subcommands_.back();
}

void command_line::hide() {
    app_.group("");
}

void command_line::on_selected(std::function<void()> action) {
    app_.callback(std::move(action));
}

bool command_line::is_selected() const {
    return app_.parsed();
}

void command_line::add_flag(const std::string& name, bool& target, const std::string& description,
                            const option_rules& rules) {
    apply(rules, app_, *app_.add_flag(name, target, description));
}

void command_line::add_option(const std::string& name, std::string& target,
                              const std::string& description, const option_rules& rules) {
    add_value(app_, name, target, description, rules);
}

void command_line::add_option(const std::string& name, std::optional<std::string>& target,
                              const std::string& description, const option_rules& rules) {
    add_value(app_, name, target, description, rules);
}

void command_line::add_option(const std::string& name, std::vector<std::string>& target,
                              const std::string& description, const option_rules& rules) {
    add_value(app_, name, target, description, rules);
}

void command_line::add_option(const std::string& name, unsigned& target,
                              const std::string& description, number_range<unsigned> range,
                              const option_rules& rules) {
    add_value(app_, name, target, description, rules)
        .check(CLI::Range(range.least, range.greatest));
}

void command_line::add_option(const std::string& name, std::vector<unsigned>& target,
                              const std::string& description, number_range<unsigned> range,
                              const option_rules& rules) {
    add_value(app_, name, target, description, rules)
        .allow_extra_args(false)
        ->take_all()
        ->check(CLI::Range(range.least, range.greatest));
}

void command_line::add_option(const std::string& name, double& target,
                              const std::string& description, number_range<double> range,
                              const option_rules& rules) {
    add_value(app_, name, target, description, rules)
        .check(CLI::Range(range.least, range.greatest))
        ->check(why_not_a_number);
}

void command_line::set_footer(const std::string& text) {
    app_.footer(text);
}

std::optional<int> command_line::parse(int argc, const char* const* argv) {
    try {
        app_.parse(argc, argv);
    } catch (const CLI::RequiredError& error) {
        // A misspelled word explains more than the required one that is missing because of it.
        const auto unknown = app_.remaining(true);
        if (!unknown.empty()) {
            return exit_with(app_, CLI::ExtrasError(app_.get_name(), {unknown.front()}));
        }
        return exit_with(app_, error);
    } catch (const CLI::ParseError& error) {
        return exit_with(app_, error);
    }
    return std::nullopt;
}

}  // namespace dp_support
