#include "redfish/access/identity.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "redfish/access/role_names.hpp"

namespace {

using dp_redfish::has_privilege;
using dp_redfish::privileges;
using dp_redfish::roles;

TEST(has_privilege, an_administrator_has_all) {
    for (const auto needed : {privileges::none, privileges::login, privileges::configure_self,
                              privileges::configure_components, privileges::configure_users,
                              privileges::configure_manager}) {
        EXPECT_TRUE(has_privilege(roles::administrator, needed));
    }
}

TEST(has_privilege, an_operator_changes_components_and_itself) {
    EXPECT_TRUE(has_privilege(roles::operator_role, privileges::login));
    EXPECT_TRUE(has_privilege(roles::operator_role, privileges::configure_self));
    EXPECT_TRUE(has_privilege(roles::operator_role, privileges::configure_components));
    EXPECT_FALSE(has_privilege(roles::operator_role, privileges::configure_users));
    EXPECT_FALSE(has_privilege(roles::operator_role, privileges::configure_manager));
}

TEST(has_privilege, a_reader_changes_only_itself) {
    EXPECT_TRUE(has_privilege(roles::read_only, privileges::login));
    EXPECT_TRUE(has_privilege(roles::read_only, privileges::configure_self));
    EXPECT_FALSE(has_privilege(roles::read_only, privileges::configure_components));
    EXPECT_FALSE(has_privilege(roles::read_only, privileges::configure_users));
    EXPECT_FALSE(has_privilege(roles::read_only, privileges::configure_manager));
}

TEST(role_name, names_are_those_of_the_predefined_roles_and_found_again) {
    EXPECT_EQ(role_name(roles::administrator), "Administrator");
    EXPECT_EQ(role_name(roles::operator_role), "Operator");
    EXPECT_EQ(role_name(roles::read_only), "ReadOnly");
    for (const roles role : dp_redfish::all_roles) {
        EXPECT_EQ(dp_redfish::find_role(role_name(role)), role);
    }
    EXPECT_FALSE(dp_redfish::find_role("administrator"));
    EXPECT_FALSE(dp_redfish::find_role(""));
}

TEST(privilege_names, are_those_of_the_predefined_roles) {
    using list = std::vector<std::string>;
    EXPECT_EQ(dp_redfish::privilege_names(roles::administrator),
              (list{"Login", "ConfigureManager", "ConfigureUsers", "ConfigureComponents",
                    "ConfigureSelf"}));
    EXPECT_EQ(dp_redfish::privilege_names(roles::operator_role),
              (list{"Login", "ConfigureComponents", "ConfigureSelf"}));
    EXPECT_EQ(dp_redfish::privilege_names(roles::read_only), (list{"Login", "ConfigureSelf"}));
}

}  // namespace
