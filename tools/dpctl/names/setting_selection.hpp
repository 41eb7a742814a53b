#ifndef DP_TOOLS_DPCTL_NAMES_SETTING_SELECTION_HPP
#define DP_TOOLS_DPCTL_NAMES_SETTING_SELECTION_HPP

#include <string>
#include <vector>

#include "tools/dpctl/names/catalog.hpp"

namespace dpctl {

class report;

/// The settings with values that a person selects: those of collections, and those that names or
/// patterns of names select, each setting once, or with `all` every one. A name that is not known
/// is reported.
std::vector<setting_ref> select_settings(catalog& names, const std::vector<std::string>& texts,
                                         bool all, report& rep);

}  // namespace dpctl

#endif
