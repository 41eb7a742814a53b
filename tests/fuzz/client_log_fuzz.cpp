// Sequences of lines in a client log, compared with a plain model: the newest lines, pruned as
// documented.

#include <string>
#include <vector>

#include "logs/client_log.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/fuzzing_root.hpp"
#include "tests/fuzz/input.hpp"

namespace {

constexpr std::size_t upper_limit = 8192;
constexpr std::size_t lower_limit = 6144;

// Without NULs, the bytes that a line counts are those that it takes in the file.
class log_model {
  public:
    void write_line(const std::string& line) {
        lines_.push_back(line);
        prune(1);
    }

    void prune(std::size_t kept) {
        if (size() <= upper_limit) {
            return;
        }
        while (size() >= lower_limit && lines_.size() > kept) {
            lines_.erase(lines_.begin());
        }
    }

    [[nodiscard]] std::string text() const {
        std::string all;
        for (const auto& line : lines_) {
            all += line + '\n';
        }
        return all;
    }

  private:
    [[nodiscard]] std::size_t size() const { return text().size(); }

    std::vector<std::string> lines_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = fuzzing::scratch_path("/tmp/client.log");
    fuzzing::input in(data, size);
    dp::client_log log(path, false);
    log_model model;
    fuzzing::write_scratch(path, "");
    for (int lines = 0; lines < 64 && !in.is_empty(); ++lines) {
        const std::size_t what = in.byte();
        if (what == 0) {
            log.prune();
            model.prune(0);
            log.write_file();
        } else {
            // Long lines reach the limits with few bytes of input.
            std::string line = in.bytes(what % 16);
            line.resize(line.size() + (what / 16 % 8) * in.byte() * (what > 128 ? 8 : 1), 'x');
            std::erase(line, '\0');
            log.write_line(line);
            model.write_line(line);
        }
        fuzzing::require(fuzzing::read_scratch(path) == model.text(),
                         "the file contains the lines of the model");
    }
    return 0;
}
