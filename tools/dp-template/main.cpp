#include <iostream>
#include <map>
#include <optional>
#include <string>

#include "platform/posix/efi_compressor.hpp"
#include "support/command_line.hpp"
#include "support/output_files.hpp"
#include "support/program_main.hpp"
#include "support/read_file.hpp"
#include "tools/dp-template/carried_text.hpp"
#include "tools/dp-template/json_document.hpp"
#include "tools/dp-template/registry_compiler.hpp"

// Compiles a Redfish AttributeRegistry into a template and the files of first values.

namespace {

using dp_tools::finding;

/// Greatest size of a registry.
constexpr std::size_t registry_limit = std::size_t{32} << 20;

struct options {
    std::string registry;
    std::string output;
    std::optional<std::string> settings;
    std::optional<std::string> current;
    std::optional<std::string> text;
    std::optional<std::string> collection;
    bool skip_unfit = false;
};

std::string check_collection(const std::string& name) {
    const std::string problem = dp_tools::name_problem(name);
    return problem.empty() ? "" : "the name " + dp_tools::shown(name) + " " + problem;
}

void describe(CLI::App& app, options& chosen) {
    app.description(
        "Compiles a Redfish AttributeRegistry (JSON) into a compressed BIOS template, and the\n"
        "settings and current-values files that a server starts with.");
    app.add_option("REGISTRY", chosen.registry, "The registry")->required();
    app.add_option("-o,--output", chosen.output, "The template, compressed")
        ->type_name("FILE")
        ->required();
    app.add_option("--settings", chosen.settings,
                   "A settings file: every attribute's CurrentValue, else its DefaultValue")
        ->type_name("FILE");
    app.add_option("--current", chosen.current, "A current-values file with the same values")
        ->type_name("FILE");
    app.add_option("--text", chosen.text, "The template's attribute text, not compressed")
        ->type_name("FILE");
    app.add_option("--collection", chosen.collection,
                   "Put all attributes into this collection instead of one for each menu")
        ->type_name("NAME")
        ->check(check_collection);
    app.add_flag("--skip-unfit", chosen.skip_unfit,
                 "Leave out attributes that can't be carried instead of failing");
    app.footer(
        "Collections: the menu path elements that all attributes share are dropped, the next one\n"
        "names the collection, without blanks and other characters that a name can't carry. If "
        "two\n"
        "menus would get the same name, the later one gets a number behind it, with a warning.\n"
        "Attributes without a menu path belong to BIOS.\n"
        "\n"
        "Values: Booleans become enumerations of False and True. A bound, length or pattern that "
        "is\n"
        "missing or null (a greatest length of 0, too) does not bound; a step that is missing or "
        "0\n"
        "is 1. An attribute without default has an empty one. ReadOnly and Immutable attributes "
        "are\n"
        "read-only. The help text goes to the template's fds. Passwords are left out.\n"
        "\n"
        "Messages go to stderr, one a line, with the place in the registry:\n"
        "  FILE:LINE:COLUMN: JSON-POINTER: what is wrong\n"
        "Attributes that the template, the batch format or the service can't carry are unfit: "
        "they\n"
        "are all listed, and nothing is written unless --skip-unfit is given. Output files appear\n"
        "together or not at all.\n"
        "\n"
        "Exit codes: 0 done, 1 failed, 2 wrong usage.");
}

/// The word in front of a message; an error goes without.
std::string label(finding::severity weight, bool skip_unfit) {
    switch (weight) {
        case finding::severity::broken:
            return "";
        case finding::severity::unfit:
            return skip_unfit ? "warning: left out: " : "";
        case finding::severity::warning:
            return "warning: ";
        case finding::severity::notice:
            return "notice: ";
    }
    return "";
}

/// Prints the findings; whether the registry can be used.
bool report(const options& chosen, const dp_tools::text_places& places,
            const dp_tools::compiled_registry& compiled) {
    bool usable = chosen.skip_unfit || compiled.unfit == 0;
    for (const auto& found : compiled.findings) {
        const auto place = places.of(found.offset);
        std::cerr << chosen.registry << ':' << place.line << ':' << place.column << ": "
                  << label(found.weight, chosen.skip_unfit) << found.pointer
                  << (found.pointer.empty() ? "" : ": ") << found.message << '\n';
        usable = usable && found.weight != finding::severity::broken;
    }
    if (!chosen.skip_unfit && compiled.unfit > 0) {
        std::cerr << "dp-template: " << chosen.registry << ": " << compiled.unfit
                  << " unfit attributes, nothing written; --skip-unfit leaves them out\n";
    }
    return usable;
}

/// What was made of the registry, on one line.
void summarise(const dp_tools::compiled_registry& compiled, std::size_t text_size,
               std::size_t image_size) {
    std::vector<std::pair<std::string, std::size_t>> counts;
    std::map<std::string, std::size_t> index;
    for (const auto& attribute : compiled.attributes) {
        const auto place = index.try_emplace(attribute.info.cfg, counts.size()).first;
        if (place->second == counts.size()) {
            counts.emplace_back(attribute.info.cfg, 0);
        }
        ++counts[place->second].second;
    }
    std::cout << compiled.attributes.size() << " attributes in " << counts.size()
              << (counts.size() == 1 ? " collection (" : " collections (");
    for (const auto& [name, count] : counts) {
        std::cout << (name == counts.front().first ? "" : ", ") << name << ' ' << count;
    }
    std::cout << "), template " << image_size << " bytes for " << text_size << " of text";
    if (compiled.unfit > 0) {
        std::cout << ", " << compiled.unfit << " unfit left out";
    }
    if (compiled.passwords > 0) {
        std::cout << ", " << compiled.passwords
                  << (compiled.passwords == 1 ? " password left out" : " passwords left out");
    }
    std::cout << '\n';
}

bool write_outputs(const options& chosen, const dp_tools::compiled_registry& compiled,
                   const std::string& text, const std::string& image) {
    const std::string values = dp_tools::settings_text(compiled.attributes);
    dp_support::output_files files;
    files.protect(chosen.registry);
    auto done = files.stage(chosen.output, image);
    for (const auto& path : {chosen.settings, chosen.current}) {
        if (done && path) {
            done = files.stage(*path, values);
        }
    }
    if (done && chosen.text) {
        done = files.stage(*chosen.text, text);
    }
    done = done.and_then([&] { return files.commit(); });
    if (!done) {
        std::cerr << "dp-template: " << done.reason() << '\n';
    }
    return done.ok();
}

int compile(const options& chosen) {
    const auto input = dp_support::read_file(chosen.registry, registry_limit);
    if (!input) {
        std::cerr << "dp-template: " << input.reason() << '\n';
        return dp_support::exit_code::failed;
    }
    const dp_tools::text_places places(*input);
    const auto document = dp_tools::parse_json(*input);
    if (!document.error.empty()) {
        const auto place = places.of(document.error_offset);
        std::cerr << chosen.registry << ':' << place.line << ':' << place.column
                  << ": not JSON: " << document.error << '\n';
        return dp_support::exit_code::failed;
    }
    const auto compiled = dp_tools::compile_registry(document.root, chosen.collection);
    if (!report(chosen, places, compiled)) {
        return dp_support::exit_code::failed;
    }
    if (compiled.attributes.empty()) {
        std::cerr << "dp-template: " << chosen.registry
                  << ": no attribute to put into a template\n";
        return dp_support::exit_code::failed;
    }
    const std::string text = dp_tools::template_text(compiled.attributes);
    const std::string image = dp_platform::efi_compress(text);
    if (!write_outputs(chosen, compiled, text, image)) {
        return dp_support::exit_code::failed;
    }
    summarise(compiled, text.size(), image.size());
    return dp_support::done_if_written("dp-template");
}

int run(int argc, char** argv) {
    CLI::App app;
    options chosen;
    describe(app, chosen);
    if (const auto code = dp_support::parse_command_line(app, argc, argv)) {
        return *code;
    }
    return compile(chosen);
}

}  // namespace

int main(int argc, char** argv) {
    return dp_support::guarded_main("dp-template", run, argc, argv);
}
