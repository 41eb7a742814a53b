// Compares adding a line to a full log with the rewrite of the file that it implies: the same
// bytes, written by hand with a flush after each line. The lower limit writes the text as a whole.

#include <fcntl.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/scratch_root.hpp"
#include "bench/support/side_by_side.hpp"
#include "logs/client_log.hpp"
#include "logs/process_log.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

constexpr int cycles = 10;

/// Replaces the content of the file with `text`, as a whole or line by line.
void rewrite(const std::string& path, std::string_view text, bool line_by_line) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    bench::require(file >= 0, "cannot open a file");
    while (!text.empty()) {
        const std::size_t size = line_by_line ? text.find('\n') + 1 : text.size();
        bench::require(write(file, text.data(), size) == static_cast<ssize_t>(size),
                       "cannot write a file");
        text.remove_prefix(size);
    }
    close(file);
}

/// Adds lines until the log drops its oldest ones. Returns the content of its file after each line.
std::vector<std::string> texts_of_a_cycle(const std::string& path,
                                          const std::function<void()>& add_line) {
    std::vector<std::string> texts;
    do {
        add_line();
        texts.push_back(test::read_file(path));
    } while (texts.size() == 1 || texts.back().size() > texts[texts.size() - 2].size());
    return texts;
}

// `add_line` adds lines of equal length, so that the file always grows and shrinks in the same way.
void compare(const char* title, const std::string& path, const std::function<void()>& add_line) {
    texts_of_a_cycle(path, add_line);
    const std::vector<std::string> texts = texts_of_a_cycle(path, add_line);
    const std::vector<std::string> again = texts_of_a_cycle(path, add_line);
    bench::require(texts.size() == again.size() && texts[0].size() == again[0].size(),
                   "the cycles of the log");
    const std::string other = path + ".other";
    const auto by_hand = [&](bool line_by_line) {
        for (int i = 0; i < cycles; ++i) {
            for (const std::string& text : texts) {
                rewrite(other, text, line_by_line);
            }
        }
    };
    const std::size_t lines = cycles * texts.size();
    bench::side_by_side contest(title, "line", lines);
    contest.add("the rewrite by hand", [&] { by_hand(true); });
    contest.add("log", [&] {
        for (std::size_t i = 0; i < lines; ++i) {
            add_line();
        }
    });
    contest.add("limit: the text as a whole", [&] { by_hand(false); });
    contest.run();
}

void measure() {
    const std::string path = test::root() + "/tmp/log";
    dp::client_log client(path, false);
    const std::string line(63, 'x');
    compare("client log, lines of 64 bytes", path, [&] { client.write_line(line); });
    dp::process_log process(path, false);
    const std::string text(20, 'x');
    compare("process log, status records of 64 bytes", path,
            [&] { process.log_message("transaction12", text, text.substr(0, 9)); });
}

}  // namespace

int main(int /*argc*/, char** argv) {
    return bench::in_scratch_root(argv, bench::place::memory, measure);
}
