#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/terminal.hpp"
#include "tools/dpctl/changes/wait_notice.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

// The library examines a file again when its last examination is more than 4 seconds ago.
constexpr std::chrono::seconds until_next_examination(5);
constexpr unsigned shortest_watch = 6;
constexpr unsigned longest_watch = 24 * 60 * 60;

struct change_reason {
    int code;
    const char* word;
    const char* text;
};

constexpr std::array<change_reason, 3> change_reasons{{
    {4, "collections", "the template has different collections"},
    {5, "settings", "the settings file lists other settings, or in another order"},
    {6, "build_id", "another BIOS build is installed"},
}};

// Asks until the library reports no further change: it reports each change once, one per call.
void gather(session& service, const std::string& collection, std::vector<change_reason>& found) {
    for (std::size_t calls = 0; calls < change_reasons.size(); ++calls) {
        const int code = service.need_reinit(collection);
        const auto has_code = [code](const change_reason& reason) { return reason.code == code; };
        const auto* const reason =
            std::find_if(change_reasons.begin(), change_reasons.end(), has_code);
        if (reason == change_reasons.end()) {
            return;
        }
        if (std::none_of(found.begin(), found.end(), has_code)) {
            found.push_back(*reason);
        }
    }
}

// Watches until a change has been found or the time is up.
void watch(session& service, const std::string& collection, unsigned seconds,
           std::vector<change_reason>& found) {
    using std::chrono::steady_clock;
    constexpr std::chrono::seconds pause(1);
    const auto end = steady_clock::now() + std::chrono::seconds(seconds);
    while (found.empty() && steady_clock::now() < end) {
        std::this_thread::sleep_for(pause);
        gather(service, collection, found);
    }
}

// An update replaces one file after another: a file that the library has just examined may only be
// replaced now.
void gather_later_changes(session& service, const std::string& collection,
                          std::vector<change_reason>& found) {
    std::this_thread::sleep_for(until_next_examination);
    gather(service, collection, found);
}

void run_check(const file_names& files, const std::string& collection, unsigned seconds,
               report& rep) {
    session service(files, rep);
    catalog names(service);
    if (find_collection(names, service, collection, rep) == nullptr) {
        return;
    }
    // Later states are compared with this one. A program that waits for the notice may make changes
    // after it.
    std::vector<change_reason> found;
    gather(service, collection, found);
    double waited = 0;
    {
        const wait_notice notice(std::cerr, dp_support::terminal_of(STDERR_FILENO),
                                 "watching for changes (for " + std::to_string(seconds) + " s)");
        watch(service, collection, seconds, found);
        waited = notice.seconds();
        if (!found.empty()) {
            gather_later_changes(service, collection, found);
        }
    }

    auto& document = rep.document();
    document.set("collection", collection);
    document.set("changed", !found.empty());
    auto& list = document.set("reasons", json_value::array());
    for (const auto& reason : found) {
        list.push_back(json_value::object(
            {{"code", reason.code}, {"reason", reason.word}, {"message", reason.text}}));
    }
    document.set("waited_seconds", waited);

    const std::string elapsed = std::to_string(std::lround(waited)) + " s";
    if (found.empty()) {
        rep.line(collection + ": no changes within " + elapsed +
                 "; what programs have read is still valid.");
        return;
    }
    rep.end_with(exit_code::changed);
    rep.line(collection + ": changed after " + elapsed + ":");
    for (const auto& reason : found) {
        rep.line("  " + std::to_string(reason.code) + "  " + reason.text);
    }
    rep.line("Programs that use the BIOS attribute service must initialize it again");
    rep.line("(dp_api_uninitialize, dp_api_initialize). dpctl does so each time it runs.");
}

}  // namespace

void add_check(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "check",
        {.summary = "Watch whether programs need to read a collection again",
         .details =
             "Examines the collection now and compares later states with it, until a change or\n"
             "until the time is up, and once more 5 seconds after a change: an update replaces\n"
             "one file after another. The reasons have the numbers of dp_bios_need_reinit:\n"
             "  4  the template has different collections\n"
             "  5  the settings file lists other settings\n"
             "  6  another BIOS build is installed\n",
         .examples = {"dpctl check Boot",
                      "dpctl check Boot --wait 60    # and update the BIOS meanwhile"},
         .further_exit_codes = "4 changed"});
    const auto collection = add_collection_argument(command);
    const auto seconds = std::make_shared<unsigned>(shortest_watch);
    command.add_option("--wait", *seconds, "How long to watch",
                       {.least = shortest_watch, .greatest = longest_watch},
                       {.value_name = "SECONDS", .show_default = true});
    add_file_options(command, request);
    command.on_selected([&request, collection, seconds] {
        request.run = [&request, collection, seconds](report& rep) {
            run_check(request.files, *collection, *seconds, rep);
        };
    });
}

}  // namespace dpctl
