#include "host/host_registrar.hpp"

#include "batch/qualified_setting_name.hpp"
#include "host/process/service_log.hpp"
#include "transactions/transaction.hpp"

namespace dp_host {

dp::setting* host_registrar::resolve(const dp::qualified_setting_name& name) {
    return find_setting(name.configuration, name.setting);
}

dp::setting* host_registrar::find_setting(const std::string& configuration_name,
                                          const std::string& setting_name) {
    return model_ == nullptr ? nullptr : model_->find(configuration_name, setting_name);
}

void host_registrar::queue_transaction(dp::transaction* trans) {
    queue_.push_back(trans);
}

void host_registrar::add_plugin(dp::plugin* p) {
    plugins_.push_back(p);
    p->on_start(*this);
}

void host_registrar::remove_plugins() {
    while (!plugins_.empty()) {
        plugins_.back()->on_stop(*this);
        plugins_.pop_back();
    }
}

void host_registrar::use_model(const template_model* model) {
    const template_model* const before = model_;
    model_ = model;
    for (dp::plugin* p : plugins_) {
        if (before != nullptr) {
            for (const auto& configuration : before->configurations()) {
                p->on_unregister_configuration(*this, configuration.get());
                p->on_remove_configuration(*this, configuration.get());
            }
        }
        if (model != nullptr) {
            for (const auto& configuration : model->configurations()) {
                p->on_add_configuration(*this, configuration.get());
            }
        }
    }
}

void host_registrar::run_queued() {
    while (!queue_.empty()) {
        dp::transaction* const next = queue_.front();
        queue_.pop_front();
        run(*next);
    }
}

void host_registrar::run(dp::transaction& trans) {
    while (trans.step != 0) {
        const std::int32_t before = trans.step;
        trans.execute_step(*this, plugins_);
        if (trans.step == before) {
            // Plug-ins of this service answer before they return, so no answer will come.
            log_error("a plug-in did not complete its part of a transaction");
            break;
        }
    }
    trans.transaction_complete(*this);
}

}  // namespace dp_host
