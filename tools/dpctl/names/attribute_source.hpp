#ifndef DP_TOOLS_DPCTL_NAMES_ATTRIBUTE_SOURCE_HPP
#define DP_TOOLS_DPCTL_NAMES_ATTRIBUTE_SOURCE_HPP

#include <span>
#include <string>
#include <vector>

#include "bios/dp_api.h"

namespace dpctl {

/// Where collections and attributes come from. The attributes and names that it returns are valid
/// as long as the source.
class attribute_source {
  public:
    attribute_source() = default;
    attribute_source(const attribute_source&) = delete;
    attribute_source& operator=(const attribute_source&) = delete;
    virtual ~attribute_source() = default;

    /// The names of the collections, in their order.
    virtual std::vector<std::string> collections() = 0;

    /// The attributes of a collection, in their order; none for an unknown collection.
    virtual std::span<const dp_attribute> attributes(const std::string& collection) = 0;

    /// The full names of a collection's settings that have a value; none for an unknown collection.
    virtual std::span<const char* const> setting_names(const std::string& collection) = 0;
};

}  // namespace dpctl

#endif
