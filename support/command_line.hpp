#ifndef DP_SUPPORT_COMMAND_LINE_HPP
#define DP_SUPPORT_COMMAND_LINE_HPP

#include <functional>
#include <memory>
#include <optional>
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

    /// Hides this subcommand from its program's help.
    void hide();

    /// Called by `parse` when this subcommand was given, after its values were stored.
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

    /// The last part of the help.
    void set_footer(const std::string& text);

    /// Parses the command line. Nothing: continue. Otherwise the exit code to end with: help or
    /// version was requested and printed (`failed` when it could not be printed), or the usage was
    /// wrong and a message is on stderr.
    [[nodiscard]] std::optional<int> parse(int argc, const char* const* argv);

  private:
    explicit command_line(CLI::App& app);

    std::unique_ptr<CLI::App> owned_;  // null in a subcommand, which the program's object owns
    CLI::App& app_;
    std::vector<std::unique_ptr<command_line>> subcommands_;
};

}  // namespace dp_support

#endif
