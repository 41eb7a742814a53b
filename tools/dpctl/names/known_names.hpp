#ifndef DP_TOOLS_DPCTL_NAMES_KNOWN_NAMES_HPP
#define DP_TOOLS_DPCTL_NAMES_KNOWN_NAMES_HPP

#include <optional>
#include <string>

#include "tools/dpctl/names/catalog.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/changes/session.hpp"

namespace dpctl {

/// Whether there are collections at all; if not, that is reported, and what may be the matter.
bool have_collections(const catalog& names, const session& service, report& rep);

/// The collection or setting of that name; a name that is not known is reported, and near ones.
const collection_view* find_collection(catalog& names, const std::string& name, report& rep);
std::optional<setting_ref> find_setting(catalog& names, const std::string& text, report& rep);

}  // namespace dpctl

#endif
