#ifndef DP_TESTS_SUPPORT_GENERATED_REGISTRY_HPP
#define DP_TESTS_SUPPORT_GENERATED_REGISTRY_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "service_api/attribute_registry.hpp"
#include "service_api/registry_value.hpp"
#include "tests/support/registry_values.hpp"

namespace test {

/// A registry made by chance, with cycles.
class generated_registry {
  private:
    using registry_property = dp_service::registry_property;
    using registry_term = dp_service::registry_term;

  public:
    explicit generated_registry(std::uint32_t seed) : random_(seed) {
        attributes_ = below(9) + 2;
        registry.attributes.resize(attributes_);
        for (auto& attribute : registry.attributes) {
            attribute.name = "A";
            for (std::size_t i = 0; i < dp_service::registry_property_count; ++i) {
                attribute.properties[i] = value_of(static_cast<registry_property>(i));
            }
        }
        registry.maps.resize(below(25));
        for (auto& map : registry.maps) {
            map.cause = below(attributes_);
            map.attribute = below(attributes_);
            map.property = some_property(below(3) == 0);
            map.value = value_of(map.property);
            map.terms = terms(0);
        }
    }

    dp_service::registry_value value() { return number_value(below(3)); }
    std::uint32_t attribute() { return below(attributes_); }
    std::uint32_t below(std::uint32_t end) { return static_cast<std::uint32_t>(random_() % end); }

    dp_service::attribute_registry registry;

  private:
    dp_service::registry_value value_of(registry_property property) {
        return property == registry_property::read_only ? dp_service::registry_value(below(2) == 0)
                                                        : value();
    }

    registry_property some_property(bool is_current) {
        // Few, so that dependencies meet.
        constexpr std::array<registry_property, 3> others{registry_property::read_only,
                                                          registry_property::upper_bound,
                                                          registry_property::default_value};
        return is_current ? registry_property::current_value : others[below(others.size())];
    }

    std::vector<registry_term> terms(int depth) {
        std::vector<registry_term> result(below(3) + 1);
        for (auto& term : result) {
            term.joined = static_cast<registry_term::joint>(below(3));
            if (depth < 2 && below(5) == 0) {
                term.subexpressions = terms(depth + 1);
            }
            term.attribute = attribute();
            term.property = some_property(below(2) == 0);
            term.condition = static_cast<dp_service::registry_condition>(below(8));
            term.value = value_of(term.property);
        }
        return result;
    }

    std::minstd_rand random_;
    std::uint32_t attributes_ = 0;
};

}  // namespace test

#endif
