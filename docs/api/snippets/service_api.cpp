#include <service_api/service_status.hpp>
#include <service_api/settings_client.hpp>

#include <iostream>

#include "snippets.hpp"

void snippets::service_api(const std::string& /*folder*/) {
    using dp_service::settings_client;
    //! [example]
    std::vector<settings_client::change> changes(1);
    changes[0].name = "System.AssetTag", changes[0].value = "rack 7";
    const auto result = settings_client().change_settings(changes);
    std::cout << result.reason << '\n';  // empty when the service has answered
    std::cout << dp_service::service_status::explanation(changes[0].status) << '\n';
    //! [example]
}
