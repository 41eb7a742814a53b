#ifndef DP_TOOLS_DPCTL_NAMES_NAME_LOOKUP_HPP
#define DP_TOOLS_DPCTL_NAMES_NAME_LOOKUP_HPP

#include <optional>
#include <string>

#include "tools/dpctl/names/catalog.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/values/session.hpp"

namespace dpctl {

/// Whether there are any collections. If not, reports that and the likely cause.
bool have_collections(const catalog& names, const session& service, report& rep);

/// The collection of that name; null if there is none, which is reported: that there are no
/// collections at all, or the unknown name with suggestions.
const collection_view* find_collection(catalog& names, const session& service,
                                       const std::string& name, report& rep);

/// The setting of that name. An unknown name is reported with suggestions, after `place`, as
/// "state.json:3: ". Call it only if `have_collections`.
std::optional<setting_ref> find_setting(catalog& names, const std::string& text, report& rep,
                                        const std::string& place = {});

}  // namespace dpctl

#endif
