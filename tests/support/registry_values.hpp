#ifndef DP_TESTS_SUPPORT_REGISTRY_VALUES_HPP
#define DP_TESTS_SUPPORT_REGISTRY_VALUES_HPP

#include <cstdint>
#include <string>

#include "service_api/registry_value.hpp"

namespace test {

/// Values of an attribute registry; without these names a literal is easily of another kind.
inline dp_service::registry_value number_value(std::int64_t value) {
    return value;
}
inline dp_service::registry_value text_value(const char* value) {
    return std::string(value);
}

}  // namespace test

#endif
