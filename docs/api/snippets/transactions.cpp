#include <settings/plugin_list.hpp>
#include <settings/registrar.hpp>
#include <transactions/client_transaction.hpp>

#include <iostream>

#include "snippets.hpp"

namespace {

struct empty_host : dp::registrar {
    dp::setting* resolve(const dp::qualified_setting_name&) override { return nullptr; }
    dp::setting* find_setting(const std::string&, const std::string&) override { return nullptr; }
    void queue_transaction(dp::transaction* trans) override {
        dp::plugin_list none;
        while (trans->step != 0) {
            trans->execute_step(*this, none);
        }
    }
};

}  // namespace

void snippets::transactions(const std::string& /*folder*/) {
    empty_host host;
    //! [example]
    dp::client_transaction trans;
    dp::transaction_command read;
    read.status = 0, read.operation = dp::op_get;
    trans.add_command("Inventory", "Tag", read);
    trans.queue(host);  // a dp::registrar, which runs it now or later
    //! [example]
    std::cout << trans.commands.status << '\n';
}
