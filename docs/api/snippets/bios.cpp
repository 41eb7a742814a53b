#include <bios/dp_api.h>

#include <iostream>

#include "snippets.hpp"

void snippets::bios(const std::string& /*folder*/) {
    //! [example]
    dp_api_initialize();
    dp_transaction read{0, 1, "System.AssetTag", nullptr, ""};
    const int failed = dp_get_bios_attribute_value(&read, 1, 0);  // 0: the pending value
    std::cout << (failed == 0 ? read.value : "no value") << ", status " << read.status << '\n';
    dp_api_uninitialize();
    //! [example]
}
