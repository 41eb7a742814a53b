#include <unistd.h>

#include <cstddef>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/changes/exchange.hpp"
#include "tools/dpctl/changes/setting_values.hpp"
#include "tools/dpctl/changes/wait_notice.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/known_names.hpp"
#include "tools/dpctl/output/attribute_text.hpp"

namespace dpctl {
namespace {

// One setting that does not stand at its default, or did not before the reset.
struct leftover {
    setting_ref setting;
    reading before;
    reading after;

    [[nodiscard]] bool is_read_only() const { return dpctl::is_read_only(*setting.attribute); }
};

bool is_at_default(const reading& value, const dp_attribute& attribute) {
    return is_removed_by_default(attribute) ? !value.known
                                            : is_value(value, attribute.dft, attribute);
}

std::string default_text(const dp_attribute& attribute) {
    return is_removed_by_default(attribute) ? "-" : value_text({true, false, attribute.dft});
}

// What the reset did to each setting that it concerned; problems for those it should have changed.
void report_results(const std::vector<leftover>& concerned, bool answered, report& rep) {
    auto& list = rep.document()["settings"] = nlohmann::ordered_json::array();
    std::size_t changed = 0;
    for (const auto& one : concerned) {
        const dp_attribute& attribute = *one.setting.attribute;
        const std::string name = one.setting.name();
        const bool done = is_at_default(one.after, attribute);
        const char* outcome = "changed";
        if (done) {
            ++changed;
            rep.line(name + ": " + value_text(one.before) + " -> " + value_text(one.after));
        } else if (one.is_read_only()) {
            outcome = "read_only";
            rep.line(name + ": " + value_text(one.after) +
                     " stays, it is read-only (default: " + default_text(attribute) + ')');
        } else {
            outcome = answered ? "refused" : "no_answer";
            if (answered) {
                rep.problem(name + ": the settings service left it at " + value_text(one.after) +
                            " (default: " + default_text(attribute) + ')');
            }
        }
        list.push_back(
            {{"name", name},
             {"outcome", outcome},
             {"default", is_removed_by_default(attribute) ? nlohmann::ordered_json(nullptr)
                                                          : nlohmann::ordered_json(attribute.dft)},
             {"previous", value_json(one.before)},
             {"pending", value_json(one.after)},
             {"truncated", one.before.cut || one.after.cut}});
    }
    if (changed != 0) {
        rep.line(std::to_string(changed) + (changed == 1 ? " setting is" : " settings are") +
                 " back at the default, pending until the server restarts.");
    }
}

void run(const file_names& files, const std::string& collection, report& rep) {
    session service(files);
    catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }
    const auto* const view = find_collection(names, collection, rep);
    if (view == nullptr) {
        return;
    }
    const auto settings = view->settings_with_values();
    if (settings.empty()) {
        rep.problem("there is nothing to reset: " + service.files().settings +
                    " has no values of collection " + collection);
        return;
    }

    rep.document()["collection"] = collection;
    const auto setting_names = names_of(settings);
    auto before = service.read(setting_names, values_of::pending);
    bool is_needed = false;
    for (std::size_t i = 0; i < settings.size(); ++i) {
        is_needed |= !is_read_only(*settings[i].attribute) &&
                     !is_at_default(before[i], *settings[i].attribute);
    }
    double seconds = 0;
    bool answered = true;
    if (is_needed) {
        if (!can_exchange(rep)) {
            rep.hint("Nothing was changed.");
            return;
        }
        dp_service::exchange_lock lock;
        acquire(lock, rep);
        const wait_notice notice(std::cerr, isatty(STDERR_FILENO) == 1, waiting_for_service);
        // Its result is 3 also when only read-only settings were refused, and the failed commands
        // can't be told apart: the settings file says what became of each.
        answered = service.reset(collection) == 0 || answer_is_there();
        seconds = notice.seconds();
    }
    rep.document()["waited_seconds"] = seconds;
    if (!answered) {
        report_no_answer(rep, seconds);
    }
    auto after = service.read(setting_names, values_of::pending);
    std::vector<leftover> concerned;
    for (std::size_t i = 0; i < settings.size(); ++i) {
        const dp_attribute& attribute = *settings[i].attribute;
        if (!is_at_default(before[i], attribute) || !is_at_default(after[i], attribute)) {
            concerned.push_back({settings[i], std::move(before[i]), std::move(after[i])});
        }
    }
    if (!is_needed) {
        rep.line("All settings of " + collection +
                 " that can be changed stand at their defaults; nothing to do.");
    }
    report_results(concerned, answered, rep);
}

}  // namespace

void add_reset(CLI::App& app, job& what) {
    auto& command =
        add_command(app, what, "reset", "Set the settings of a collection to their defaults",
                    {"dpctl reset Boot", "dpctl reset Boot --json"});
    add_help(command,
             "The defaults are pending until the server restarts. Read-only settings stay as they\n"
             "are, which is no failure. When every other setting stands at its default already,\n"
             "nothing is asked for: this is said, and is no failure.\n"
             "The answer of the settings service is awaited for about 60 seconds.\n");
    const auto collection = add_collection_argument(command);
    add_file_options(command, what);
    command.callback([&what, collection] {
        what.run = [&what, collection](report& rep) { run(what.files, *collection, rep); };
    });
}

}  // namespace dpctl
