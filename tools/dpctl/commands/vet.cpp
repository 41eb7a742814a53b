#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/output/vetting.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

constexpr std::size_t vet_label_width = 16;

std::string hexadecimal(std::uint32_t flag) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%02x", flag);
    return text.data();
}

void show(const std::string& command, const vetting& result, report& rep) {
    if (!result.examined.empty() && result.examined != command) {
        rep.item(vet_label_width, "  Examined", in_quotes(result.examined));
    }
    for (std::size_t i = 0; i < result.parameters.size(); ++i) {
        rep.item(vet_label_width, "  Parameter " + std::to_string(i),
                 in_quotes(result.parameters[i]));
    }
    for (const auto& redirection : result.redirections) {
        rep.item(vet_label_width, "  Redirection", describe(redirection));
    }
    if (result.accepted) {
        rep.item(vet_label_width, "  Flag",
                 hexadecimal(result.flag) + ": " + describe_flag(result.flag));
    }
}

void fill(const std::string& command, const vetting& result, json_value& document) {
    document.set("command", command);
    document.set("accepted", result.accepted);
    document.set("looked_at", result.examined);
    document.set("parameters", result.parameters);
    auto& list = document.set("redirections", json_value::array());
    for (const auto& redirection : result.redirections) {
        list.push_back(
            json_value::object({{"source", redirection.source},
                                {"target", redirection.target},
                                {"append", redirection.operation == dp::security_wrap::append}}));
    }
    document.set("flag", result.accepted ? json_value(result.flag) : json_value());
    document.set("reason", result.accepted ? json_value() : json_value(result.reason));
}

void run_vet(const std::string& command, report& rep) {
    const vetting result = vet(command);
    fill(command, result, rep.document());
    if (!result.accepted) {
        rep.problem("refused: " + result.reason);
        if (!result.parameters.empty() || !result.redirections.empty()) {
            rep.line("Before the refusal:");
        }
    } else {
        rep.line("accepted");
    }
    show(command, result, rep);
}

}  // namespace

void add_vet(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "vet",
        {.summary = "Show how the vetter interprets a command line",
         .details =
             "The library vets command lines before a service may run them. Words, words in\n"
             "double quotes and output redirections are accepted; pipes, input redirections\n"
             "and escapes outside quotes are not. dpctl runs nothing and touches no file.\n"
             "\"Examined\" shows the examined part of the line if it is not all of it: one &\n"
             "and spaces at the end are not examined, and each space at the start removes a\n"
             "character from the end. An unclosed quote and a redirection without a target\n"
             "are dropped. The exit code is 0 for an accepted line, 1 for a refused one.\n",
         .examples = {"dpctl vet 'ls -l \"/tmp/a b\" > /tmp/list 2>&1'",
                      "dpctl vet 'sort names | head'    # refused: exit code 1"}});
    const auto text = std::make_shared<std::string>();
    command.add_option("COMMAND_LINE", *text, "The command line, as one argument",
                       {.required = true});
    command.on_selected(
        [&request, text] { request.run = [text](report& rep) { run_vet(*text, rep); }; });
}

}  // namespace dpctl
