#include <sys/stat.h>

#include <iostream>
#include <map>
#include <optional>
#include <string>

#include "platform/posix/efi_compressor.hpp"
#include "service_api/attribute_registry.hpp"
#include "support/command_line.hpp"
#include "support/folder_of.hpp"
#include "support/json.hpp"
#include "support/line_index.hpp"
#include "support/output_files.hpp"
#include "support/program_main.hpp"
#include "support/read_file.hpp"
#include "tools/dp-template/encodable_text.hpp"
#include "tools/dp-template/kept_registry.hpp"
#include "tools/dp-template/registry_compiler.hpp"

// Compiles a Redfish AttributeRegistry into a template and the files with the initial values.

namespace {

using dp_support::exit_code::failed;
using dp_tools::finding;

/// Greatest size of a registry in bytes. What is written of it is not longer, but ends with a
/// newline.
constexpr std::size_t registry_limit = dp_service::registry_size_limit - 1;

struct options {
    std::string registry;
    std::string output;
    std::optional<std::string> settings;
    std::optional<std::string> current;
    std::optional<std::string> text;
    std::optional<std::string> kept_registry;
    std::optional<std::string> collection;
    bool skip_unfit = false;
};

std::string why_not_a_collection(const std::string& name) {
    const std::string problem = dp_tools::name_problem(name);
    return problem.empty() ? "" : "the name " + dp_tools::quoted_for_message(name) + " " + problem;
}

void add_options(dp_support::command_line& program, options& chosen) {
    program.add_option("REGISTRY", chosen.registry, "The registry",
                       {.value_name = "TEXT", .required = true});
    program.add_option("-o,--output", chosen.output, "The template, compressed",
                       {.value_name = "FILE", .required = true});
    program.add_option("--settings", chosen.settings,
                       "A settings file with each attribute's CurrentValue, or else DefaultValue",
                       {.value_name = "FILE"});
    program.add_option("--current", chosen.current, "A current-values file with the same values",
                       {.value_name = "FILE"});
    program.add_option("--text", chosen.text, "The template's attribute text, not compressed",
                       {.value_name = "FILE"});
    program.add_option("--registry", chosen.kept_registry,
                       "The registry as install and update take it; uefi_registry.json beside the\n"
                       "template if not given",
                       {.value_name = "FILE"});
    program.add_option("--collection", chosen.collection,
                       "Put all attributes into this collection instead of one for each menu",
                       {.value_name = "NAME", .check = why_not_a_collection});
    program.add_flag("--skip-unfit", chosen.skip_unfit,
                     "Leave out attributes that cannot be encoded instead of failing");
    program.set_footer(
        "Collections: the menu path elements that all attributes share are ignored, the next one\n"
        "names the collection, without spaces and other characters that a name cannot contain. If\n"
        "two menus would get the same name, a number is appended to the later one, with a "
        "warning.\n"
        "Attributes without a menu path belong to BIOS.\n"
        "\n"
        "Values: Booleans become enumerations of False and True. A missing or null bound, length "
        "or\n"
        "pattern (and a greatest length of 0) is no limit; a missing step, or 0, is 1. An "
        "attribute\n"
        "without a default has an empty one. ReadOnly and Immutable attributes are read-only. The\n"
        "help text is stored in the template's fds. Passwords are left out.\n"
        "\n"
        "The registry is written with everything that it says, but without passwords and unfit\n"
        "attributes. Dependencies that cannot be evaluated are reported and ignored.\n"
        "\n"
        "Messages are written to stderr, one per line, with the place in the registry:\n"
        "  FILE:LINE:COLUMN: JSON-POINTER: what is wrong\n"
        "Attributes that cannot be encoded in the template or a batch line, or that the service\n"
        "does not support, are unfit: they are all listed, and nothing is written without\n"
        "--skip-unfit. Either all output files are written or none.\n"
        "\n"
        "Exit codes: 0 done, 1 failed, 2 wrong usage.");
}

/// The label before a message; errors have none.
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

/// Prints the findings. Whether the registry can be used.
bool report(const options& chosen, const dp_support::line_index& lines,
            const dp_tools::compiled_registry& compiled) {
    bool usable = chosen.skip_unfit || compiled.unfit == 0;
    for (const auto& found : compiled.findings) {
        const auto place = lines.position_of(found.offset);
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

/// Prints what was compiled, on one line.
void print_summary(const dp_tools::compiled_registry& compiled, std::size_t text_size,
                   std::size_t image_size) {
    std::vector<std::pair<std::string, std::size_t>> counts;
    std::map<std::string, std::size_t> index;
    for (const auto& attribute : compiled.attributes) {
        const auto position = index.try_emplace(attribute.info.cfg, counts.size()).first;
        if (position->second == counts.size()) {
            counts.emplace_back(attribute.info.cfg, 0);
        }
        ++counts[position->second].second;
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

/// Where the registry is written; nothing when it was not asked for and the template is not written
/// to a file either.
std::optional<std::string> registry_path(const options& chosen) {
    struct stat status {};
    if (chosen.kept_registry ||
        (stat(chosen.output.c_str(), &status) == 0 && !S_ISREG(status.st_mode))) {
        return chosen.kept_registry;
    }
    return dp_support::folder_of(chosen.output) + "/uefi_registry.json";
}

/// Replaces all output files or none.
dp_support::result<> write_outputs(const options& chosen,
                                   const dp_tools::compiled_registry& compiled,
                                   const std::string& text, const std::string& image,
                                   const std::string& registry) {
    const std::string values = dp_tools::settings_text(compiled.attributes);
    dp_support::output_files files;
    files.protect(chosen.registry);
    auto outcome = files.stage(chosen.output, image);
    for (const auto& path : {chosen.settings, chosen.current}) {
        if (path) {
            outcome = outcome.and_then([&] { return files.stage(*path, values); });
        }
    }
    if (chosen.text) {
        outcome = outcome.and_then([&] { return files.stage(*chosen.text, text); });
    }
    if (const auto path = registry_path(chosen)) {
        outcome = outcome.and_then([&] { return files.stage(*path, registry); });
    }
    return outcome.and_then([&] { return files.commit(); });
}

int fail(const std::string& reason) {
    std::cerr << "dp-template: " << reason << '\n';
    return failed;
}

int compile(const options& chosen) {
    const auto input = dp_support::read_file(chosen.registry, registry_limit);
    if (!input) {
        return fail(input.reason());
    }
    const dp_support::line_index lines(*input);
    const auto document = dp_support::parse_json(*input);
    if (!document.error.empty()) {
        const auto place = lines.position_of(document.error_offset);
        std::cerr << chosen.registry << ':' << place.line << ':' << place.column
                  << ": not JSON: " << document.error << '\n';
        return failed;
    }
    auto compiled = dp_tools::compile_registry(document.root, chosen.collection);
    const std::string registry = compiled.attributes.empty()
                                     ? std::string()
                                     : dp_tools::kept_registry(document.root, compiled);
    if (!report(chosen, lines, compiled)) {
        return failed;
    }
    if (compiled.attributes.empty()) {
        return fail(chosen.registry + ": there are no attributes for a template");
    }
    const std::string text = dp_tools::template_text(compiled.attributes);
    const std::string image = dp_platform::efi_compress(text);
    if (const auto written = write_outputs(chosen, compiled, text, image, registry); !written) {
        return fail(written.reason());
    }
    print_summary(compiled, text.size(), image.size());
    return dp_support::done_if_written("dp-template");
}

int run(int argc, char** argv) {
    dp_support::command_line program(
        "Compiles a Redfish AttributeRegistry (JSON) into a compressed BIOS template, and the\n"
        "settings and current-values files of a new server.");
    options chosen;
    add_options(program, chosen);
    if (const auto code = program.parse(argc, argv)) {
        return *code;
    }
    return compile(chosen);
}

}  // namespace

int main(int argc, char** argv) {
    return dp_support::guarded_main("dp-template", run, argc, argv);
}
