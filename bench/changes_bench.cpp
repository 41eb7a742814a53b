// Changes that all fail, and resets to the defaults, for few and for many instances: the cost of
// one should not grow. There is no settings service: its answer is prepared, and the client's pause
// moves it into place.

#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/support/generated_template.hpp"
#include "bench/support/scratch_root.hpp"
#include "bench/support/side_by_side.hpp"
#include "bios/dp_api.h"
#include "platform/sysipc/thread.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

constexpr std::array<unsigned, 4> lengths{100, 1000, 10'000, 100'000};
constexpr unsigned most_items = lengths.back();
constexpr unsigned refused = 48;

std::string answer;  // the file that the next pause moves into place

std::string results(const std::vector<std::string>& names, unsigned status) {
    std::string text;
    unsigned correlator = 100;
    for (const std::string& name : names) {
        text += std::to_string(status) + ' ' + std::to_string(correlator++) + " <cim-0> set " +
                name + " \"x\" \"\" \n";
    }
    return text;
}

/// A server with `count` attributes in one collection, and its answers to changes of all of them.
class server {
  public:
    explicit server(unsigned count)
        : folder_(test::root() + "/server" + std::to_string(count)), requests_(count) {
        std::filesystem::create_directory(folder_);
        auto infos = bench::generated_template(count);
        for (auto& info : infos) {
            info.cfg = "Boot";
            names_.push_back(info.cfg + '.' + info.id);
        }
        for (std::size_t i = 0; i < count; ++i) {
            requests_[i].operation = 2;
            requests_[i].name = names_[i].c_str();
            requests_[i].new_value = "x";
        }
        test::write_file(folder_ + "/template", bench::template_text(infos));
        test::write_file(folder_ + "/settings", bench::settings_text(infos));
        test::write_file(folder_ + "/refused", results(names_, refused));
        test::write_file(folder_ + "/done", results(names_, 0));
    }

    /// Replaces the previous server's files with the files of this one.
    void connect() const {
        const std::string text = test::root() + "/tmp/dp/uefi_info.txt";
        std::filesystem::remove(text);
        std::filesystem::create_symlink(folder_ + "/template", text);
        dp_cim_change_settings_fname((folder_ + "/settings").c_str());
    }

    void fail_changes() {
        answer = folder_ + "/refused";
        const auto count = static_cast<unsigned>(requests_.size());
        bench::require(
            dp_set_bios_attribute_value(requests_.data(), count) == static_cast<int>(count) &&
                requests_.back().status == refused,
            "the refusals did not arrive");
    }

    /// Resets with a client that has read nothing before.
    void reset() const {
        answer = folder_ + "/done";
        dp_api_uninitialize();
        dp_api_initialize();
        bench::require(dp_bios_reset_to_defaults("Boot") == 0, "the reset failed");
    }

  private:
    std::string folder_;
    std::vector<std::string> names_;
    std::vector<dp_transaction> requests_;
};

template <class Work>
void compare(const std::string& title, const std::string& item, std::vector<server>& servers,
             Work work) {
    bench::side_by_side contest(title, item, most_items);
    const auto name = [&](unsigned length) { return std::to_string(length) + " in a call"; };
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        contest.add(
            name(lengths[i]),
            [&server = servers[i], length = lengths[i], work] {
                for (unsigned done = 0; done < most_items; done += length) {
                    work(server);
                }
            },
            [&server = servers[i]] { server.connect(); });
    }
    contest.run();
}

void measure() {
    // The template is older than its text, so the client does not run a tool.
    const std::string original = test::root() + "/var/dp/uefi_template.efi";
    test::write_file(original, "template");
    test::set_mtime(original, 1'000'000'000);
    test::write_file(test::root() + "/tmp/dp/uefi_configs.txt", "Boot\n");
    std::vector<server> servers;
    for (const unsigned length : lengths) {
        servers.emplace_back(length);
    }
    dp_api_initialize();
    compare("changes that all fail", "change", servers, [](server& s) { s.fail_changes(); });
    compare("resets to the defaults, by a client that has read nothing", "instance", servers,
            [](server& s) { s.reset(); });
    dp_api_uninitialize();
}

}  // namespace

namespace sysipc {

// The next call removes the answer again.
void thread::sleep(std::uint32_t /*milliseconds*/) {
    const std::string result = test::root() + "/tmp/dp/batch.out";
    bench::require(link(answer.c_str(), result.c_str()) == 0,
                   "the answer cannot be moved into place");
}

}  // namespace sysipc

int main(int /*argc*/, char** argv) {
    return bench::in_scratch_root(argv, bench::place::memory, measure);
}
