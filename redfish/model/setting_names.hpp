#ifndef DP_REDFISH_MODEL_SETTING_NAMES_HPP
#define DP_REDFISH_MODEL_SETTING_NAMES_HPP

#include "redfish/model/server_snapshot.hpp"

namespace dp_redfish {

/// Gives the settings of a catalog their names and fills its index. A setting has the name of its
/// attribute; with its collection before it, "Boot_Mode", if several collections have the
/// attribute; with its instance after it, "Speed_2", if it has one. Without a registry, characters
/// that Redfish does not permit become "_". Names that are equal then get a number.
void name_settings(settings_catalog& catalog);

}  // namespace dp_redfish

#endif
