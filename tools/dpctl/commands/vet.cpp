#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/output/text.hpp"
#include "tools/dpctl/output/vetting.hpp"

namespace dpctl {
namespace {

void item(report& rep, std::string_view label, const std::string& text) {
    constexpr std::size_t label_width = 14;
    const std::size_t missing = label_width - std::min(label_width, label.size());
    rep.line("  " + std::string(label) + std::string(missing, ' ') + text);
}

std::string hexadecimal(std::uint32_t flag) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%02x", flag);
    return text.data();
}

void show(const std::string& command, const vetting& result, report& rep) {
    if (!result.looked_at.empty() && result.looked_at != command) {
        item(rep, "Looked at", in_quotes(result.looked_at));
    }
    for (std::size_t i = 0; i < result.parameters.size(); ++i) {
        item(rep, "Parameter " + std::to_string(i), in_quotes(result.parameters[i]));
    }
    for (const auto& redirection : result.redirections) {
        item(rep, "Redirection", describe(redirection));
    }
    if (result.accepted) {
        item(rep, "Flag", hexadecimal(result.flag) + ": " + describe_flag(result.flag));
    }
}

void fill(const std::string& command, const vetting& result, nlohmann::ordered_json& document) {
    document["command"] = command;
    document["accepted"] = result.accepted;
    document["looked_at"] = result.looked_at;
    document["parameters"] = result.parameters;
    auto& list = document["redirections"] = nlohmann::ordered_json::array();
    for (const auto& one : result.redirections) {
        list.push_back({{"source", one.source},
                        {"target", one.target},
                        {"append", one.operation == dp::security_wrap::append}});
    }
    document["flag"] =
        result.accepted ? nlohmann::ordered_json(result.flag) : nlohmann::ordered_json(nullptr);
    document["reason"] =
        result.accepted ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(result.reason);
}

void run(const std::string& command, report& rep) {
    const vetting result = vet(command);
    fill(command, result, rep.document());
    if (!result.accepted) {
        rep.problem("refused: " + result.reason);
        if (!result.parameters.empty() || !result.redirections.empty()) {
            rep.line("Read before that:");
        }
    } else {
        rep.line("accepted");
    }
    show(command, result, rep);
}

}  // namespace

void add_vet(CLI::App& app, job& what) {
    auto& command = add_command(app, what, "vet", "Show what the vetter makes of a command line",
                                {"dpctl vet 'ls -l \"/tmp/a b\" > /tmp/list 2>&1'",
                                 "dpctl vet 'sort names | head'    # refused: exit code 1"});
    add_help(
        command,
        "The library vets command lines before a service may run them: words, words in double\n"
        "quotes and output redirections pass; pipes, input redirection and escapes outside\n"
        "quotes do not. Nothing is run and no file is touched here.\n"
        "\"Looked at\" shows the part of the line that counts where that is not all of it: one\n"
        "& and blanks at the end do not count, and every blank in front costs a character at\n"
        "the end. A quote that is not closed and a redirection without a target are dropped.\n"
        "An accepted line is exit code 0, a refused one 1.\n");
    const auto text = std::make_shared<std::string>();
    command.add_option("COMMAND_LINE", *text, "The command line, as one argument")
        ->type_name("")
        ->required();
    command.callback([&what, text] { what.run = [text](report& rep) { run(*text, rep); }; });
}

}  // namespace dpctl
