#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/known_names.hpp"
#include "tools/dpctl/changes/wait_notice.hpp"

namespace dpctl {
namespace {

// The library looks at a file again when its last look is more than 4 seconds old.
constexpr std::chrono::seconds until_looked_at_again(5);
constexpr unsigned shortest_watch = 6;
constexpr unsigned longest_watch = 24 * 60 * 60;

struct need {
    int code;
    const char* word;
    const char* text;
};

constexpr std::array<need, 3> needs{{
    {4, "collections", "the template names other collections"},
    {5, "settings", "the settings file lists other settings, or in another order"},
    {6, "build_id", "another BIOS build is installed"},
}};

// Asks until the library says that nothing (more) changed: it tells a change once, and one at a
// time.
void gather(session& service, const std::string& collection, std::vector<need>& found) {
    for (std::size_t asked = 0; asked < needs.size(); ++asked) {
        const int code = service.need_reinit(collection);
        const auto* const one =
            std::find_if(needs.begin(), needs.end(), [&](const need& n) { return n.code == code; });
        if (one == needs.end()) {
            return;
        }
        if (std::none_of(found.begin(), found.end(),
                         [&](const need& n) { return n.code == code; })) {
            found.push_back(*one);
        }
    }
}

// Watches until there is a change, also one that was found already, or the time is up.
void watch(session& service, const std::string& collection, unsigned seconds,
           std::vector<need>& found) {
    using std::chrono::steady_clock;
    constexpr std::chrono::seconds pause(1);
    const auto end = steady_clock::now() + std::chrono::seconds(seconds);
    while (found.empty() && steady_clock::now() < end) {
        std::this_thread::sleep_for(pause);
        gather(service, collection, found);
    }
}

// An update replaces one file after another: what the library has just looked at may be replaced
// only now.
void complete(session& service, const std::string& collection, std::vector<need>& found) {
    std::this_thread::sleep_for(until_looked_at_again);
    gather(service, collection, found);
}

void run(const file_names& files, const std::string& collection, unsigned seconds, report& rep) {
    session service(files);
    catalog names(service);
    if (!have_collections(names, service, rep) ||
        find_collection(names, collection, rep) == nullptr) {
        return;
    }
    // What comes later is held against this look; who waits for the notice may go on then.
    std::vector<need> found;
    gather(service, collection, found);
    double waited = 0;
    {
        const wait_notice notice(std::cerr, isatty(STDERR_FILENO) == 1,
                                 "watching for changes (for " + std::to_string(seconds) + " s)");
        watch(service, collection, seconds, found);
        waited = notice.seconds();
        if (!found.empty()) {
            complete(service, collection, found);
        }
    }

    auto& document = rep.document();
    document["collection"] = collection;
    document["changed"] = !found.empty();
    auto& list = document["reasons"] = nlohmann::ordered_json::array();
    for (const need& one : found) {
        list.push_back({{"code", one.code}, {"reason", one.word}, {"message", one.text}});
    }
    document["waited_seconds"] = waited;

    const std::string passed = std::to_string(std::lround(waited)) + " s";
    if (found.empty()) {
        rep.line(collection + ": nothing changed within " + passed +
                 "; what programs know of it still holds.");
        return;
    }
    rep.line(collection + ": changed after " + passed + ":");
    for (const need& one : found) {
        rep.line("  " + std::to_string(one.code) + "  " + one.text);
    }
    rep.line("Programs that hold the BIOS service open need to initialise it anew");
    rep.line("(dp_api_uninitialize, dp_api_initialize). dpctl does so with every run.");
}

}  // namespace

void add_check(CLI::App& app, job& what) {
    auto& command = add_command(
        app, what, "check", "Watch whether what programs know of a collection goes out of date",
        {"dpctl check Boot", "dpctl check Boot --wait 60    # and update the BIOS meanwhile"});
    add_help(command,
             "Looks at the collection now and compares with it what follows, until something\n"
             "changes or the time is up, and once more 5 seconds after a change: an update\n"
             "replaces one file after another. The reasons, as dp_bios_need_reinit numbers them:\n"
             "  4  the template names other collections\n"
             "  5  the settings file lists other settings\n"
             "  6  another BIOS build is installed\n"
             "Both a change and none are success.\n");
    const auto collection = add_collection_argument(command);
    const auto seconds = std::make_shared<unsigned>(shortest_watch);
    command.add_option("--wait", *seconds, "How long to watch")
        ->type_name("SECONDS")
        ->capture_default_str()
        ->check(CLI::Range(shortest_watch, longest_watch));
    add_file_options(command, what);
    command.callback([&what, collection, seconds] {
        what.run = [&what, collection, seconds](report& rep) {
            run(what.files, *collection, *seconds, rep);
        };
    });
}

}  // namespace dpctl
