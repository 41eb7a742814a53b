#include <exception>
#include <iostream>
#include <new>

#include "support/command_line.hpp"
#include "support/program_main.hpp"
#include "tools/dpctl/commands/commands.hpp"
#include "tools/dpctl/output/report.hpp"

namespace {

int run(int argc, char** argv) {
    CLI::App app{"Reads and changes the BIOS setup attributes of the managed server."};
    app.name("dpctl");
    app.set_version_flag("--version", DPCTL_VERSION);
    app.require_subcommand(1);
    app.footer(
        "A setting has two values: the pending one, as last set, and the current one, which is in\n"
        "force since the server's last start. Changes are carried out by the settings service\n"
        "(dp_settingsd); reading needs no service.\n\n"
        "dpctl SUBCOMMAND --help explains each of them, with examples.\n"
        "Exit codes: 0 done, 1 failed, with the reason on standard error, 2 wrong usage.");

    dpctl::job what;
    dpctl::add_collections(app, what);
    dpctl::add_list(app, what);
    dpctl::add_show(app, what);
    dpctl::add_get(app, what);
    dpctl::add_set(app, what);
    dpctl::add_reset(app, what);
    dpctl::add_check(app, what);
    dpctl::add_status(app, what);
    dpctl::add_history(app, what);
#ifdef DPCTL_LISTENS
    dpctl::add_alerts(app, what);
#endif
    dpctl::add_categories(app, what);
    dpctl::add_vet(app, what);
    dpctl::add_complete(app, what);
    if (const auto code = dp_support::parse_command_line(app, argc, argv)) {
        return *code;
    }

    dpctl::report rep(std::cout, std::cerr, what.json);
    try {
        what.run(rep);
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
