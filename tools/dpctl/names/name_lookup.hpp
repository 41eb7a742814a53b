#ifndef DP_TOOLS_DPCTL_NAMES_NAME_LOOKUP_HPP
#define DP_TOOLS_DPCTL_NAMES_NAME_LOOKUP_HPP

#include <optional>
#include <string>
#include <vector>

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

/// The collections of these names without repetitions, or all when there are no names. Unknown
/// names are reported as by `find_collection`; the list has the others.
std::vector<const collection_view*> find_collections(catalog& names, const session& service,
                                                     const std::vector<std::string>& wanted,
                                                     report& rep);

/// The setting of that name. An unknown name is reported with suggestions, after `place`, as
/// "state.json:3: ". Call it only if `have_collections`.
std::optional<setting_ref> find_setting(catalog& names, const std::string& text, report& rep,
                                        const std::string& place = {});

/// The settings that `text` names: an attribute without an instance has all its settings, and a
/// pattern all that match. When there are none, that is reported, and the list is empty.
std::vector<setting_ref> find_settings(catalog& names, const std::string& text, report& rep);

/// The attributes that `text` names, or the instance that it names, as `find_setting`; of a pattern
/// all attributes that match, or else all instances.
std::vector<setting_ref> find_attributes(catalog& names, const std::string& text, report& rep);

}  // namespace dpctl

#endif
