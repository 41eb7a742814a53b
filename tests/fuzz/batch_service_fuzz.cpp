// Arbitrary bytes as a batch that the service runs, with a disk that may be full: every line that
// is not empty or a comment gets one answer, and nothing is stored that was not answered as done.

#include <cerrno>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_loader.hpp"
#include "host/exchange/run_batch.hpp"
#include "host/host_registrar.hpp"
#include "host/model/value_store.hpp"
#include "host/model/values_file.hpp"
#include "host/store_plugin.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/fuzzing_root.hpp"
#include "tests/fuzz/input.hpp"
#include "tests/support/sample_template.hpp"

namespace {

// A service with the default values of the sample template, and a disk in memory.
class service {
  public:
    explicit service(bool is_disk_full)
        : plugin_([this, is_disk_full](const dp::setting_transaction&, const auto& /*changes*/) {
              if (is_disk_full) {
                  return dp_support::result<>(dp_support::failure{"the disk is full", ENOSPC});
              }
              disk = text();
              return dp_support::result<>();
          }) {
        model_ = *dp_host::template_model::make(test::sample_template(), &plugin_);
        store_ = std::make_unique<dp_host::value_store>(*model_);
        store_->add_defaults([](const dp::setting&) { return true; });
        plugin_.serve(*model_, *store_, nullptr);
        registrar.add_plugin(&plugin_);
        registrar.use_model(model_.get());
        disk = text();
    }
    ~service() {
        registrar.use_model(nullptr);
        registrar.remove_plugins();
    }
    service(const service&) = delete;
    service& operator=(const service&) = delete;

    [[nodiscard]] std::string text() const {
        std::ostringstream out;
        dp_host::write_values(*store_, out);
        return out.str();
    }

    dp_host::host_registrar registrar;
    std::string disk;

  private:
    dp_host::store_plugin plugin_;
    std::unique_ptr<dp_host::template_model> model_;
    std::unique_ptr<dp_host::value_store> store_;
};

std::size_t lines_of(const std::string& text) {
    std::size_t lines = 0;
    for (const char c : text) {
        lines += c == '\n' ? 1U : 0U;
    }
    return lines;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzing::input in(data, size);
    const bool is_disk_full = in.byte() == 'F';
    const std::string batch = in.rest();
    const std::string path = fuzzing::scratch_path("/tmp/dp/batch.run");
    const std::string answer_path = fuzzing::scratch_path("/tmp/dp/batch.out");
    fuzzing::write_scratch(path, batch);

    service tested(is_disk_full);
    const std::string before = tested.disk;
    {
        dp_support::staged_file answer(answer_path, dp_support::staged_file::volatile_file);
        if (dp_host::run_batch(path, tested.registrar, answer)) {
            fuzzing::require(answer.replace().ok(), "an answer can be written");
        } else {
            return 0;  // a compressed image that cannot be expanded
        }
    }
    const std::string text = fuzzing::read_scratch(answer_path);
    fuzzing::require(text.empty() || text.back() == '\n', "an answer is made of whole lines");
    fuzzing::require(lines_of(text) <= lines_of(batch) + 1 || batch.size() > 8,
                     "a line has one answer");
    fuzzing::require(tested.text() == tested.disk, "memory and disk agree after a batch");
    fuzzing::require(!is_disk_full || tested.disk == before, "a full disk keeps the old values");

    std::vector<dp::batch_file_entry> entries;
    dp::batch_file_loader loader(&entries);
    std::istringstream answers(text);
    loader.read_file(answers, nullptr);
    if (tested.disk != before) {
        bool has_success = false;
        for (const auto& entry : entries) {
            has_success = has_success || entry.status == "0";
        }
        fuzzing::require(has_success, "no change without a command that was answered as done");
    }
    return 0;
}
