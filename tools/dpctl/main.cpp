#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <iostream>
#include <new>
#include <span>
#include <string_view>

#include "support/command_line.hpp"
#include "support/program_main.hpp"
#include "support/terminal.hpp"
#include "tools/dpctl/commands/commands.hpp"
#include "tools/dpctl/output/report.hpp"

namespace {

using dp_support::parse_end;

// Also where the rest of the command line is wrong.
bool asks_for_json(int argc, char** argv) {
    const std::span<char*> words(argv, static_cast<std::size_t>(argc));
    const auto last = std::find(words.begin(), words.end(), std::string_view("--"));
    return std::find(words.begin(), last, std::string_view("--json")) != last;
}

// Prints the help or the version, or what was wrong with the command line.
int report_end(const parse_end& end, dpctl::report& rep) {
    switch (end.kind) {
        case parse_end::kinds::help:
            rep.allow_pager();
            rep.lines(end.text);
            rep.document().set("help", end.text);
            break;
        case parse_end::kinds::version:
            rep.line(end.text);
            rep.document().set("version", end.text);
            break;
        case parse_end::kinds::wrong_usage:
            rep.usage_problem(end.text, end.hints);
            break;
    }
    return rep.finish();
}

int run(int argc, char** argv) {
    dp_support::command_line program(
        "Reads and changes the BIOS setup attributes of the managed server.", "dpctl");
    program.add_version(DPCTL_VERSION);
    program.set_footer(
        "A setting has two values: the pending value, which was set last, and the current value,\n"
        "which is in effect since the server's last start. Changes are made by the settings\n"
        "service (dp_settingsd); reading needs no service.\n\n"
        "\"dpctl help SUBCOMMAND\" explains a subcommand, with examples.\n"
        "Exit codes: 0 done, 1 failed, with the reason on standard error, 2 wrong usage,\n"
        "3 nothing to change or no difference, 4 changed (check).");

    dpctl::invocation request;
    dpctl::add_collections(program, request);
    dpctl::add_list(program, request);
    dpctl::add_show(program, request);
    dpctl::add_get(program, request);
    dpctl::add_set(program, request);
    dpctl::add_revert(program, request);
    dpctl::add_reset(program, request);
    dpctl::add_export(program, request);
    dpctl::add_diff(program, request);
    dpctl::add_plan(program, request);
    dpctl::add_apply(program, request);
    dpctl::add_check(program, request);
    dpctl::add_status(program, request);
    dpctl::add_history(program, request);
#ifdef DPCTL_LISTENS
    dpctl::add_alerts(program, request);
#endif
    dpctl::add_categories(program, request);
    dpctl::add_vet(program, request);
    dpctl::add_complete(program, request);
    program.add_help_command().add_flag("--json", request.json,
                                        "Print one JSON document instead of text");

    const auto end = program.try_parse(argc, argv);
    dpctl::report rep(std::cout, std::cerr, end ? asks_for_json(argc, argv) : request.json,
                      dp_support::terminal_of(STDOUT_FILENO));
    if (end) {
        return report_end(*end, rep);
    }
    try {
        request.run(rep);
    } catch (const std::bad_alloc&) {
        rep.problem("out of memory");
    } catch (const std::exception& error) {
        rep.problem(error.what());
    }
    return rep.finish();
}

}  // namespace

int main(int argc, char** argv) {
    return dp_support::guarded_main("dpctl", run, argc, argv);
}
