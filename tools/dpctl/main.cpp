#include <exception>
#include <iostream>
#include <new>

#include "support/command_line.hpp"
#include "support/program_main.hpp"
#include "tools/dpctl/commands/commands.hpp"
#include "tools/dpctl/output/report.hpp"

namespace {

int run(int argc, char** argv) {
    dp_support::command_line program(
        "Reads and changes the BIOS setup attributes of the managed server.", "dpctl");
    program.add_version(DPCTL_VERSION);
    program.set_footer(
        "A setting has two values: the pending value, which was set last, and the current value,\n"
        "which is in effect since the server's last start. Changes are made by the settings\n"
        "service (dp_settingsd); reading needs no service.\n\n"
        "dpctl SUBCOMMAND --help explains a subcommand, with examples.\n"
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
    if (const auto code = program.parse(argc, argv)) {
        return *code;
    }

    dpctl::report rep(std::cout, std::cerr, request.json);
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
