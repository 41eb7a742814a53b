#ifndef DP_TESTS_UNIT_HOST_SAMPLE_SERVICE_HPP
#define DP_TESTS_UNIT_HOST_SAMPLE_SERVICE_HPP

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "batch/batch_file_entry.hpp"
#include "host/exchange/batch_transaction.hpp"
#include "host/history/value_change.hpp"
#include "host/host_registrar.hpp"
#include "host/model/values_file.hpp"
#include "host/store_plugin.hpp"
#include "settings/configuration.hpp"
#include "tests/support/sample_template.hpp"
#include "transactions/transaction_command.hpp"

namespace test {

/// A registrar with a store plug-in that serves the defaults of the sample template. Persisting
/// writes to a text, or fails.
class sample_service : public testing::Test {
  protected:
    sample_service()
        : plugin([this](const dp::setting_transaction&, const auto& made) {
              ++persist_calls;
              changes = made;
              if (memory_is_full) {
                  throw std::bad_alloc();
              }
              if (!disk_is_full) {
                  on_disk = text();
              }
              return disk_is_full
                         ? dp_support::result<>(dp_support::failure{"the disk is full", ENOSPC})
                         : dp_support::result<>();
          }) {
        model = *dp_host::template_model::make(sample_template(), &plugin);
        store = std::make_unique<dp_host::value_store>(*model);
        store->add_defaults([](const dp::setting&) { return true; });
        plugin.serve(*model, *store, nullptr);
        registrar.add_plugin(&plugin);
        registrar.use_model(model.get());
    }

    std::string text() const {
        std::ostringstream out;
        dp_host::write_set_lines(*store, out);
        return out.str();
    }

    dp::transaction_command command(const std::string& operation, const std::string& name,
                                    const std::string& value = "") {
        dp::batch_file_entry entry;
        entry.status = "0";
        entry.detail = "0";
        entry.tid = "<test-1>";
        entry.operation = operation;
        entry.name.parse(name);
        entry.value_in = value;
        return {&registrar, entry};
    }

    /// Runs the commands as one transaction.
    void run(std::vector<dp::transaction_command>& commands) {
        dp_host::batch_transaction transaction(commands);
        transaction.queue(registrar);
        registrar.run_queued();
        EXPECT_TRUE(transaction.is_complete());
    }

    /// Runs one command alone and returns it.
    dp::transaction_command run_one(const std::string& operation, const std::string& name,
                                    const std::string& value = "") {
        std::vector<dp::transaction_command> commands{command(operation, name, value)};
        run(commands);
        return commands.front();
    }

    std::string value_of(const std::string& name) {
        const auto result = run_one("get", name);
        return result.status == 0 ? result.value_out : "status " + std::to_string(result.status);
    }

    bool disk_is_full = false;
    bool memory_is_full = false;
    int persist_calls = 0;
    std::string on_disk;
    std::vector<dp_host::value_change> changes;  // that were to be persisted last
    dp_host::host_registrar registrar;
    dp_host::store_plugin plugin;
    std::unique_ptr<dp_host::template_model> model;
    std::unique_ptr<dp_host::value_store> store;
};

}  // namespace test

#endif
