#ifndef DP_SUPPORT_COMMAND_LINE_HPP
#define DP_SUPPORT_COMMAND_LINE_HPP

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace dp_support {

/// Which values an option or a positional argument accepts, and how the help shows them.
struct option_rules {
    std::string value_name{};            ///< shown after the option's name; empty: nothing is shown
    bool required = false;               ///< the command line is wrong without it
    bool show_default = false;           ///< the help shows the variable's value as the default
    std::string excludes{};              ///< another option that must not be given with this one
    std::vector<std::string> choices{};  ///< the only values; empty: any
    /// Why a value is wrong; returns an empty text for a valid one. Empty: every value is valid.
    std::function<std::string(const std::string&)> check{};
};

/// The values that a number option accepts, both ends included.
template <class Number>
struct number_range {
    Number least;
    Number greatest;
};

/// Why a program ends after its command line was parsed.
struct parse_end {
    enum class kinds : std::uint8_t { help, version, wrong_usage };

    kinds kind;
    /// The help, each line with its newline. Otherwise a line without one: the version, or what is
    /// wrong.
    std::string text;
    /// What may have been meant, and where to look.
    std::vector<std::string> hints{};
};

/// What the action of a subcommand throws when its options do not fit together.
class usage_error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The command line of a program, or of one of its subcommands. Options are written as
/// "-o,--output", positional arguments as a plain name. `parse` stores the values in the variables
/// that were passed here; they must outlive it. Every command line has the option --help.
class command_line {
  public:
    /// @param program  its name in the help and in messages; empty: as it was called
    explicit command_line(const std::string& description, const std::string& program = "");
    ~command_line();
    command_line(const command_line&) = delete;
    command_line& operator=(const command_line&) = delete;

    /// Adds the option --version, which prints `text`.
    void add_version(const std::string& text);

    /// Adds a subcommand; exactly one must then be given. The reference is valid as long as this
    /// object.
    command_line& add_subcommand(const std::string& name, const std::string& description);

    /// Adds the subcommand "help", which prints the help of the program or of another subcommand.
    /// The reference is valid as long as this object.
    command_line& add_help_command();

    /// Hides this subcommand from its program's help.
    void hide();

    /// Called by `parse` when this subcommand was given, after its values were stored. It may throw
    /// a `usage_error`.
    void on_selected(std::function<void()> action);

    /// Whether `parse` found this subcommand.
    [[nodiscard]] bool is_selected() const;

    /// An option without a value, which sets `target`.
    void add_flag(const std::string& name, bool& target, const std::string& description,
                  const option_rules& rules = {});

    /// A text. For the list: an option may be given several times or have several values, a
    /// positional argument is all the remaining words.
    void add_option(const std::string& name, std::string& target, const std::string& description,
                    const option_rules& rules = {});
    void add_option(const std::string& name, std::optional<std::string>& target,
                    const std::string& description, const option_rules& rules = {});
    void add_option(const std::string& name, std::vector<std::string>& target,
                    const std::string& description, const option_rules& rules = {});

    /// A number. For the list: the option may be given several times, with one number each time,
    /// and the first of them replaces the list.
    void add_option(const std::string& name, unsigned& target, const std::string& description,
                    number_range<unsigned> range, const option_rules& rules = {});
    void add_option(const std::string& name, std::vector<unsigned>& target,
                    const std::string& description, number_range<unsigned> range,
                    const option_rules& rules = {});
    void add_option(const std::string& name, double& target, const std::string& description,
                    number_range<double> range, const option_rules& rules = {});

    /// The last part of the help: paragraphs, which are wrapped on a terminal, and indented lines,
    /// which are not.
    void set_footer(const std::string& text);

    /// The names of the subcommands that are not hidden, in their order.
    [[nodiscard]] std::vector<std::string> subcommand_names() const;

    /// The long options, in their order: "--json"; one that has a value as "--wait=".
    [[nodiscard]] std::vector<std::string> option_names() const;

    /// The subcommand of that name; null if there is none. Valid as long as this object.
    [[nodiscard]] const command_line* find_subcommand(const std::string& name) const;

    /// Parses the command line. Nothing: continue. Prints nothing. The help is wrapped to the
    /// terminal that standard output is.
    [[nodiscard]] std::optional<parse_end> try_parse(int argc, const char* const* argv);

    /// The same, and prints why the program ends. The exit code to end with: `done` for the help
    /// and the version (`failed` when it could not be printed), otherwise `wrong_usage`, with a
    /// message on stderr.
    [[nodiscard]] std::optional<int> parse(int argc, const char* const* argv);

  private:
    explicit command_line(CLI::App& app);

    [[nodiscard]] std::string own_help() const;
    [[nodiscard]] parse_end help_end() const;
    [[nodiscard]] std::vector<std::string> hints_for(const std::string& word) const;
    [[nodiscard]] const command_line* given_subcommand() const;
    [[nodiscard]] std::vector<std::string> owners_of(const std::string& word) const;
    [[nodiscard]] static parse_end wrong_usage(const std::string& text,
                                               std::vector<std::string> hints);

    std::unique_ptr<CLI::App> owned_;  // null in a subcommand, which the program's object owns
    CLI::App& app_;
    std::vector<std::unique_ptr<command_line>> subcommands_;
    const command_line* help_command_ = nullptr;  // one of the subcommands
    std::string help_topic_;
};

}  // namespace dp_support

#endif
