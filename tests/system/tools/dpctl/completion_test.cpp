#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

#include "common/file_locks.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/sample_server_files.hpp"

// Runs the bash completion as readline does: with the line, the cursor and the words, which bash
// also splits at "=" and ":".

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

std::string shell_quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return result + "'";
}

// The completions of the last of `words`. There are no spaces around the words "=" and ":".
std::vector<std::string> complete(std::vector<std::string> words,
                                  const std::string& word_breaks = " \t\n\"'><=;|&(:") {
    const std::string dpctl = test::program_path("dpctl");
    words.insert(words.begin(), dpctl);
    std::string line;
    std::string list;
    const auto is_break = [](const std::string& word) { return word == "=" || word == ":"; };
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i != 0 && !is_break(words[i]) && !is_break(words[i - 1])) {
            line += ' ';
        }
        // An empty word after "=" is the end of the line.
        line += words[i];
        list += shell_quoted(words[i]) + ' ';
    }
    const std::string script =
        "source " + shell_quoted(DP_SOURCE_DIR "/tools/dpctl/dpctl.bash-completion") +
        "\nCOMP_WORDBREAKS=$'" +
        [&] {
            std::string escaped;
            for (const char c : word_breaks) {
                escaped += c == '\'' ? "\\'" : std::string(1, c);
            }
            return escaped;
        }() +
        "'\nCOMP_LINE=" + shell_quoted(line) + "\nCOMP_POINT=" + std::to_string(line.size()) +
        "\nCOMP_WORDS=(" + list + ")\nCOMP_CWORD=" + std::to_string(words.size() - 1) +
        "\n_dpctl\n"
        "for reply in \"${COMPREPLY[@]}\"; do echo \"$reply\"; done\n";
    const auto result = test::run_program("/bin/bash", {"--norc", "-c", script});
    EXPECT_EQ(result.err, "");
    std::vector<std::string> replies;
    std::istringstream in(result.out);
    std::string reply;
    while (std::getline(in, reply)) {
        replies.push_back(reply);
    }
    return replies;
}

class bash_completion : public testing::Test {
  protected:
    bash_completion() { server_.install(test::sample_settings()); }

    test::server_files server_;
};

TEST_F(bash_completion, offers_subcommands) {
    EXPECT_THAT(complete({"s"}), UnorderedElementsAre("show", "set", "status"));
    EXPECT_THAT(complete({"c"}), UnorderedElementsAre("collections", "check", "categories"));
    EXPECT_THAT(complete({"a"}), UnorderedElementsAre("alerts", "apply"));
    EXPECT_THAT(complete({"v"}), ElementsAre("vet"));
    EXPECT_THAT(complete({"--v"}), ElementsAre("--version"));
    EXPECT_THAT(complete({""}), testing::Contains("collections"));
    EXPECT_THAT(complete({""}), testing::Not(testing::Contains("complete")));
}

TEST_F(bash_completion, waits_for_no_lock) {
    const std::string settings = test::root() + "/var/dp/uefi_settings.txt";
    const test::child_process writer([&](const test::child_process::parent_channel& parent) {
        const writelock lock(settings);
        parent.send('l');
        static_cast<void>(parent.receive());
        return 0;
    });
    ASSERT_EQ(writer.receive(), 'l');
    // The completion of a name reads the names of the settings; the lock is kept until the end.
    EXPECT_THAT(complete({"get", "Boot.M"}), IsEmpty());
    EXPECT_THAT(complete({"list", "Bo"}), ElementsAre("Boot"));
}

TEST_F(bash_completion, offers_options) {
    EXPECT_THAT(complete({"get", "--c"}), UnorderedElementsAre("--current-file", "--current"));
    EXPECT_THAT(complete({"list", "--c"}), UnorderedElementsAre("--changed", "--current-file"));
    EXPECT_THAT(complete({"list", "--sort", ""}), ElementsAre("menu", "name"));
    EXPECT_THAT(complete({"list", "--match", ""}), IsEmpty());
    EXPECT_THAT(complete({"list", "--lock-timeout", "3", "Bo"}), ElementsAre("Boot"));
    EXPECT_THAT(complete({"show", "--l"}), ElementsAre("--lock-timeout"));
    EXPECT_THAT(complete({"check", "Boot", "--w"}), ElementsAre("--wait"));
    EXPECT_THAT(complete({"alerts", "--"}),
                UnorderedElementsAre("--help", "--json", "--queue", "--count", "--wait"));
    EXPECT_THAT(complete({"vet", "--"}), UnorderedElementsAre("--help", "--json"));
    EXPECT_THAT(complete({"categories", "--j"}), ElementsAre("--json"));
    EXPECT_THAT(complete({"status", "--f"}), UnorderedElementsAre("--follow", "--file"));
    EXPECT_THAT(complete({"history", "--"}),
                UnorderedElementsAre("--help", "--json", "--last", "--file"));
}

TEST_F(bash_completion, offers_the_topics_of_the_help) {
    EXPECT_THAT(complete({"help", "sh"}), ElementsAre("show"));
    EXPECT_THAT(complete({"help", "show", ""}), IsEmpty());
    EXPECT_THAT(complete({"he"}), ElementsAre("help"));
}

TEST_F(bash_completion, offers_collections) {
    EXPECT_THAT(complete({"list", ""}), ElementsAre("Boot", "Memory"));
    EXPECT_THAT(complete({"reset", "--json", "Mem"}), ElementsAre("Memory", "Memory."));
    EXPECT_THAT(complete({"check", "--wait", "9", "B"}), ElementsAre("Boot"));
    EXPECT_THAT(complete({"list", "Boot", ""}), ElementsAre("Memory"));
    EXPECT_THAT(complete({"check", "Boot", ""}), IsEmpty());
}

TEST_F(bash_completion, offers_nothing_for_a_number_or_a_command_line) {
    EXPECT_THAT(complete({"alerts", "--queue", ""}), IsEmpty());
    EXPECT_THAT(complete({"alerts", "--count", ""}), IsEmpty());
    EXPECT_THAT(complete({"alerts", "--queue", "8", "--c"}), ElementsAre("--count"));
    EXPECT_THAT(complete({"alerts", ""}), IsEmpty());
    EXPECT_THAT(complete({"vet", ""}), IsEmpty());
    EXPECT_THAT(complete({"categories", ""}), IsEmpty());
}

TEST_F(bash_completion, offers_names) {
    EXPECT_THAT(complete({"get", ""}), ElementsAre("Boot.", "Memory."));
    EXPECT_THAT(complete({"show", "Boot.D"}), ElementsAre("Boot.Delay"));
    EXPECT_THAT(complete({"get", "Boot.Mode", "Boot.O"}),
                ElementsAre("Boot.Order.1", "Boot.Order.2"));
    EXPECT_THAT(complete({"set", "Boot.D"}), ElementsAre("Boot.Delay="));
    EXPECT_THAT(complete({"set", "B"}), ElementsAre("Boot."));
    EXPECT_THAT(complete({"get", "Nix."}), IsEmpty());
    EXPECT_THAT(complete({"get", "Del"}), ElementsAre("Delay"));
    EXPECT_THAT(complete({"set", "Del"}), ElementsAre("Delay="));
    EXPECT_THAT(complete({"set", "Delay=5", "Speed", "="}), IsEmpty());
    EXPECT_THAT(complete({"history", "--last", "3", "Boot.D"}), ElementsAre("Boot.Delay"));
    EXPECT_THAT(complete({"history", "--last", ""}), IsEmpty());
    EXPECT_THAT(complete({"status", ""}), IsEmpty());
}

TEST_F(bash_completion, offers_the_values_of_an_enumeration) {
    EXPECT_THAT(complete({"set", "Boot.Mode", "="}), ElementsAre("Legacy", "UEFI", "Fast\\ Boot"));
    EXPECT_THAT(complete({"set", "Boot.Mode", "=", "U"}), ElementsAre("UEFI"));
    EXPECT_THAT(complete({"set", "Boot.Delay", "=", "5", "Memory.Mode", "=", ""}),
                ElementsAre("A", "B"));
    EXPECT_THAT(complete({"set", "Boot.Delay", "=", "1"}), IsEmpty());
}

TEST_F(bash_completion, offers_values_with_spaces) {
    EXPECT_THAT(complete({"set", "Boot.Mode", "=", "Fast\\ "}), ElementsAre("Fast\\ Boot"));
    EXPECT_THAT(complete({"set", "Boot.Mode", "=", "'Fast B"}), ElementsAre("Fast Boot"));
    EXPECT_THAT(complete({"set", "Boot.Mode", "=", "\"Fa"}), ElementsAre("Fast Boot"));
}

TEST_F(bash_completion, completes_words_in_quotes) {
    EXPECT_THAT(complete({"set", "'Boot.Mode=F"}), ElementsAre("Boot.Mode=Fast Boot"));
    EXPECT_THAT(complete({"set", "\"Boot.D"}), ElementsAre("Boot.Delay="));
    EXPECT_THAT(complete({"get", "'Boot.D"}), ElementsAre("Boot.Delay"));
}

TEST_F(bash_completion, offers_whole_words_if_bash_does_not_split_them) {
    EXPECT_THAT(complete({"set", "Boot.Mode=U"}, " \t\n"), ElementsAre("Boot.Mode=UEFI"));
}

TEST_F(bash_completion, offers_files_after_options_for_files) {
    test::write_file(test::root() + "/other.txt", "");
    EXPECT_THAT(complete({"list", "--settings-file", "oth"}), ElementsAre("other.txt"));
}

TEST_F(bash_completion, uses_the_given_files) {
    test::write_file(test::root() + "/other.txt", test::value_line("Boot.Order.9", "x"));
    EXPECT_THAT(complete({"get", "--settings-file", "other.txt", "Boot.O"}),
                ElementsAre("Boot.Order.9"));
}

TEST_F(bash_completion, does_not_run_text_from_a_template) {
    server_.install(
        {{"Boot.$(touch${IFS}run)", {{"type", "1"}, {"chc", "`touch run`,;touch run"}}, "a", "a"}});
    EXPECT_THAT(complete({"set", "Boot."}), ElementsAre("Boot.\\$\\(touch\\$\\{IFS\\}run\\)="));
    EXPECT_THAT(complete({"set", "Boot.$(touch${IFS}run)", "=", ""}),
                ElementsAre("\\`touch\\ run\\`", "\\;touch\\ run"));
    EXPECT_NE(test::run_program("/bin/sh", {"-c", "test -e run"}).exit_code, 0);
}

TEST_F(bash_completion, offers_nothing_without_a_server) {
    test::clean_root();
    EXPECT_THAT(complete({"list", ""}), IsEmpty());
    EXPECT_THAT(complete({"set", "Boot.Mode", "=", ""}), IsEmpty());
}

}  // namespace
