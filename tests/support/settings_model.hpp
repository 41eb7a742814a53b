#ifndef DP_TESTS_SUPPORT_SETTINGS_MODEL_HPP
#define DP_TESTS_SUPPORT_SETTINGS_MODEL_HPP

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "batch/qualified_setting_name.hpp"
#include "settings/configuration.hpp"
#include "settings/instance_number.hpp"
#include "settings/plugin.hpp"
#include "settings/plugin_list.hpp"
#include "settings/registrar.hpp"
#include "settings/setting.hpp"
#include "settings/setting_element.hpp"
#include "transactions/client_transaction.hpp"

// A minimal host: classes that a settings service derives from the library's interfaces.
namespace test {

/// The cache entry of a single-valued setting with an unknown value.
inline dp::setting::cache::entry single_entry() {
    dp::setting::cache::entry e;
    e.instance = dp::no_instance;
    return e;
}

class configuration final : public dp::configuration {
  public:
    explicit configuration(std::string configuration_name)
        : dp::configuration(std::move(configuration_name)) {}
};

/// An element whose functions a test replaces; the others are those of the base class.
class element final : public dp::setting_element {
  public:
    bool map_value(std::string* value) override {
        return on_map ? on_map(value) : setting_element::map_value(value);
    }
    std::string default_value() override { return default_text; }
    std::int32_t validate(const std::string& value) override {
        return on_validate ? on_validate(value) : setting_element::validate(value);
    }

    std::function<bool(std::string*)> on_map;
    std::function<std::int32_t(const std::string&)> on_validate;
    std::string default_text;
};

/// A plug-in whose `process_transaction` a test replaces; otherwise it is that of the base class.
class plugin final : public dp::plugin {
  public:
    explicit plugin(std::string plugin_name, types plugin_type = settings_owner)
        : dp::plugin(std::move(plugin_name), plugin_type) {}
    void on_start(dp::registrar&) override {}
    void process_transaction(dp::registrar& reg, dp::transaction* trans) override {
        if (on_process) {
            on_process(reg, trans);
        } else {
            dp::plugin::process_transaction(reg, trans);
        }
    }
    void on_stop(dp::registrar&) override {}

    std::function<void(dp::registrar&, dp::transaction*)> on_process;
};

/// A registrar that finds the settings of its configurations and stores queued transactions.
class registrar final : public dp::registrar {
  public:
    dp::setting* resolve(const dp::qualified_setting_name& name) override {
        return find_setting(name.configuration, name.setting);
    }
    dp::setting* find_setting(const std::string& configuration_name,
                              const std::string& setting_name) override {
        for (const auto* config : configurations) {
            if (config->name == configuration_name) {
                return config->find_setting(setting_name);
            }
        }
        return nullptr;
    }
    void queue_transaction(dp::transaction* trans) override { queued.push_back(trans); }

    std::vector<dp::configuration*> configurations;
    std::vector<dp::transaction*> queued;
};

/// Runs a client transaction from queuing to completion. The plug-ins answer at once.
inline void run_transaction(dp::client_transaction& trans, registrar& reg,
                            dp::plugin_list& plugins) {
    trans.queue(reg);
    while (trans.step != 0) {
        trans.execute_step(reg, plugins);
    }
    trans.transaction_complete(reg);
}

}  // namespace test

#endif
