#include <iostream>
#include <string>

#include "support/command_line.hpp"
#include "support/output_files.hpp"
#include "support/program_main.hpp"
#include "support/read_file.hpp"
#include "support/template_expansion.hpp"

// Stand-in for the board's template reader, with the command lines that the library runs:
//   dpspy -sf  -i TEMPLATE -o OUT
//   dpspy -sc -i TEMPLATE -o OUT

namespace {

int fail(const std::string& reason) {
    std::cerr << "dpspy: " << reason << '\n';
    return dp_support::exit_code::failed;
}

/// The names of the configurations, one per line.
std::string configuration_list(const std::string& text) {
    std::string list;
    for (const auto& name : dp_support::configuration_names(text)) {
        if (name.find('\n') != std::string::npos) {
            std::cerr
                << "dpspy: the name of a configuration contains a newline; it is not listed\n";
            continue;
        }
        list += name + '\n';
    }
    return list;
}

int run(int argc, char** argv) {
    dp_support::command_line program(
        "Expands a BIOS template into its attribute text (-sf), or lists the configurations in "
        "it,\n"
        "one per line in order of first appearance (-sc).");
    bool show = false;
    bool configurations = false;
    bool full_text = false;
    std::string input;
    std::string output;
    program.add_flag("-s", show, "Show the content of the template", {.required = true});
    program.add_flag("-f", full_text, "The attribute text");
    program.add_flag("-c", configurations, "The list of configurations", {.excludes = "-f"});
    program.add_option("-i", input, "The template, compressed or as attribute text",
                       {.value_name = "TEMPLATE", .required = true});
    program.add_option("-o", output, "The file to write; it is replaced completely or not at all",
                       {.value_name = "OUT", .required = true});
    program.set_footer("Exit codes: 0 done, 1 failed, 2 wrong usage.");
    if (const auto code = program.parse(argc, argv)) {
        return *code;
    }
    if (!full_text && !configurations) {
        std::cerr << "dpspy: one of -sf and -sc is required\n";
        return dp_support::exit_code::wrong_usage;
    }

    const auto content = dp_support::read_file(input, dp_support::template_size_limit);
    if (!content) {
        return fail(content.reason());
    }
    const auto text = dp_support::expand_template(*content);
    if (!text) {
        return fail(input + ": " + text.reason());
    }
    const auto written =
        dp_support::replace_file(output, full_text ? *text : configuration_list(*text));
    return written ? dp_support::exit_code::done : fail(written.reason());
}

}  // namespace

int main(int argc, char** argv) {
    return dp_support::guarded_main("dpspy", run, argc, argv);
}
