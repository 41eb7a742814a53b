#include "support/command_line.hpp"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string_view>
#include <utility>

#include "support/program_main.hpp"
#include "support/suggestions.hpp"
#include "support/terminal.hpp"
#include "support/wrapped_text.hpp"

namespace dp_support {
namespace {

// Wraps the help to the width of the terminal.
class wrapping_formatter final : public CLI::Formatter {
  public:
    /// @param columns  of the terminal; 0: none, the texts are shown as they were written
    explicit wrapping_formatter(std::size_t columns)
        : width_(columns == 0 ? usual_width : columns), is_terminal_(columns != 0) {
        constexpr std::size_t narrow = 24;
        if (width_ < usual_width) {
            column_width(narrow);
        }
    }

    std::string make_option_desc(const CLI::Option* option) const override {
        return in_second_column(option->get_description());
    }
    std::string make_subcommand(const CLI::App* subcommand) const override {
        std::ostringstream out;
        CLI::detail::format_help(out, subcommand->get_display_name(true),
                                 in_second_column(subcommand->get_description()),
                                 get_column_width());
        return out.str();
    }
    std::string make_description(const CLI::App* app) const override {
        return fitted(CLI::Formatter::make_description(app));
    }
    std::string make_footer(const CLI::App* app) const override {
        return fitted(CLI::Formatter::make_footer(app));
    }

  private:
    static constexpr std::size_t usual_width = 80;

    [[nodiscard]] std::string fitted(const std::string& text) const {
        return is_terminal_ ? wrapped_paragraphs(text, width_) : text;
    }

    [[nodiscard]] std::string in_second_column(const std::string& text) const {
        constexpr std::size_t least = 20;
        const std::size_t left = width_ - std::min(width_, get_column_width());
        std::string lines;
        for (const std::string& line : wrapped_lines(text, std::max(least, left))) {
            lines += (lines.empty() ? "" : "\n") + line;
        }
        return lines;
    }

    std::size_t width_;
    bool is_terminal_;
};

// The long name of an option, empty if it has none; with "=" if it has a value.
std::string long_name(const CLI::Option& option) {
    const auto& names = option.get_lnames();
    return names.empty() ? std::string()
                         : "--" + names.front() + (option.get_items_expected_max() == 0 ? "" : "=");
}

// "--wait" of "--wait=" and "--wait=5".
std::string without_value(const std::string& option) {
    return option.substr(0, option.find('='));
}

// "did you mean list?"; empty when no name is similar.
std::string question_about(const std::string& text, const std::vector<std::string>& names) {
    std::vector<std::string> similar;
    for (const std::size_t i :
         similar_names(text, std::vector<std::string_view>(names.begin(), names.end()))) {
        similar.push_back(names[i]);
    }
    return did_you_mean(similar);
}

void apply(const option_rules& rules, CLI::App& app, CLI::Option& option) {
    option.required(rules.required);
    if (!rules.excludes.empty()) {
        // CLI::App::get_option ends the program when memory runs out.
        for (CLI::Option* const other : app.get_options()) {
            if (other->check_name(rules.excludes)) {
                option.excludes(other);
            }
        }
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
    : owned_(std::make_unique<CLI::App>(description, program)), app_(*owned_) {
    // Subcommands inherit it.
    app_.formatter(std::make_shared<wrapping_formatter>(terminal_of(STDOUT_FILENO).columns));
}

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

command_line& command_line::add_help_command() {
    command_line& command = add_subcommand("help", "Explain the program or a subcommand");
    command.add_option("COMMAND", help_topic_, "The name of a subcommand");
    help_command_ = &command;
    return command;
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

std::vector<std::string> command_line::subcommand_names() const {
    std::vector<std::string> names;
    for (const auto& subcommand : subcommands_) {
        if (!subcommand->app_.get_group().empty()) {
            names.push_back(subcommand->app_.get_name());
        }
    }
    return names;
}

std::vector<std::string> command_line::option_names() const {
    std::vector<std::string> names;
    for (const CLI::Option* const option : app_.get_options()) {
        if (std::string name = long_name(*option); !name.empty()) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

const command_line* command_line::find_subcommand(const std::string& name) const {
    const auto found =
        std::find_if(subcommands_.begin(), subcommands_.end(),
                     [&](const auto& subcommand) { return subcommand->app_.get_name() == name; });
    return found == subcommands_.end() ? nullptr : found->get();
}

// CLI11's own help of the program is that of the subcommand that was given.
std::string command_line::own_help() const {
    return app_.get_formatter()->make_help(&app_, app_.get_name(), CLI::AppFormatMode::Normal);
}

parse_end command_line::help_end() const {
    if (help_topic_.empty()) {
        return {parse_end::kinds::help, own_help()};
    }
    const command_line* const topic = find_subcommand(help_topic_);
    if (topic == nullptr) {
        return wrong_usage("There is no subcommand " + help_topic_,
                           {question_about(help_topic_, subcommand_names())});
    }
    return {parse_end::kinds::help, topic->app_.help(app_.get_name())};
}

const command_line* command_line::given_subcommand() const {
    const auto given = std::find_if(subcommands_.begin(), subcommands_.end(),
                                    [](const auto& each) { return each->is_selected(); });
    return given == subcommands_.end() ? nullptr : given->get();
}

// The subcommands that have the option `word`, which may have a value.
std::vector<std::string> command_line::owners_of(const std::string& word) const {
    const std::string wanted = without_value(word);
    std::vector<std::string> owners;
    for (const std::string& name : subcommand_names()) {
        const auto options = find_subcommand(name)->option_names();
        if (std::any_of(options.begin(), options.end(),
                        [&](const std::string& each) { return without_value(each) == wanted; })) {
            owners.push_back(name);
        }
    }
    return owners;
}

// What may have been meant by a word that was not expected.
std::vector<std::string> command_line::hints_for(const std::string& word) const {
    const command_line* const given = given_subcommand();
    const bool is_option = word.starts_with('-');
    if (!is_option && given != nullptr) {
        return {};
    }
    std::vector<std::string> names =
        is_option ? (given == nullptr ? *this : *given).option_names() : subcommand_names();
    for (std::string& name : names) {
        name = without_value(name);
    }
    const std::string wanted = without_value(word);
    std::vector<std::string> hints{question_about(wanted, names)};
    constexpr std::size_t most_owners = 5;
    const auto owners = owners_of(word);
    if (!owners.empty() && owners.size() <= most_owners) {
        hints.push_back(wanted + " is an option of " + enumerate(owners, " and "));
    }
    return hints;
}

parse_end command_line::wrong_usage(const std::string& text, std::vector<std::string> hints) {
    hints.erase(std::remove(hints.begin(), hints.end(), std::string()), hints.end());
    hints.emplace_back("Run with --help for more information.");
    return {parse_end::kinds::wrong_usage, text, std::move(hints)};
}

std::optional<parse_end> command_line::try_parse(int argc, const char* const* argv) {
    try {
        app_.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        return parse_end{parse_end::kinds::help, app_.help()};
    } catch (const CLI::CallForVersion& version) {
        return parse_end{parse_end::kinds::version, version.what()};
    } catch (const usage_error& error) {
        return wrong_usage(error.what(), {});
    } catch (const CLI::ParseError& error) {
        // A misspelled word explains more than the required one that is missing because of it.
        const auto unknown = app_.remaining(true);
        const bool is_required =
            error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
        if (is_required && unknown.empty() && given_subcommand() == nullptr &&
            help_command_ != nullptr) {
            return parse_end{parse_end::kinds::wrong_usage,
                             error.what(),
                             {'"' + app_.get_name() + " help\" lists the subcommands."}};
        }
        if (unknown.empty() ||
            (!is_required &&
             error.get_exit_code() != static_cast<int>(CLI::ExitCodes::ExtrasError))) {
            return wrong_usage(error.what(), {});
        }
        const std::string& word = unknown.front();
        // Only the subcommand before an option of it is missing.
        const bool is_known =
            is_required && given_subcommand() == nullptr && !owners_of(word).empty();
        return wrong_usage(
            is_known ? error.what() : CLI::ExtrasError(app_.get_name(), {word}).what(),
            hints_for(word));
    }
    if (help_command_ != nullptr && help_command_->is_selected()) {
        return help_end();
    }
    return std::nullopt;
}

std::optional<int> command_line::parse(int argc, const char* const* argv) {
    const auto end = try_parse(argc, argv);
    if (!end) {
        return std::nullopt;
    }
    if (end->kind == parse_end::kinds::wrong_usage) {
        std::cerr << end->text << '\n';
        for (const std::string& hint : end->hints) {
            std::cerr << hint << '\n';
        }
        return exit_code::wrong_usage;
    }
    std::cout << end->text << (end->kind == parse_end::kinds::version ? "\n" : "");
    return done_if_written(app_.get_name());
}

}  // namespace dp_support
