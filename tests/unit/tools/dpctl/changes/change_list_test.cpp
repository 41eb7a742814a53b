#include "tools/dpctl/changes/change_list.hpp"

#include <gmock/gmock.h>

namespace dpctl {
namespace {

using dp_service::change_record;
using testing::ElementsAre;

std::vector<std::string> targets(const std::vector<change_record>& changes) {
    std::vector<std::string> names;
    for (const auto& change : changes) {
        names.push_back(change.target);
    }
    return names;
}

TEST(read_changes, ignores_foreign_lines_and_an_incomplete_last_line) {
    const change_record change{"cim-0", "Tue Nov 14 22:13:20 2023", "Boot.Tag", "a \\ \"b\""};
    const change_record deleted{"cim-1", "Tue Nov 14 22:13:21 2023", "Ports.Speed.2", {}};
    const auto content = read_changes(change.line() + "\nrubbish\n\n" + deleted.line() + '\n' +
                                      deleted.line().substr(0, deleted.line().size() - 1));
    EXPECT_THAT(targets(content.changes), ElementsAre("Boot.Tag", "Ports.Speed.2"));
    EXPECT_EQ(content.changes[0].value, "a \\ \"b\"");
    EXPECT_EQ(content.changes[1].value, std::nullopt);
    EXPECT_EQ(content.foreign_lines, 1U);
    EXPECT_TRUE(content.is_incomplete);
    EXPECT_FALSE(read_changes(change.line() + '\n').is_incomplete);
}

TEST(is_named, accepts_a_collection_an_attribute_and_an_instance) {
    for (const char* const name :
         {"Ports", "Ports.", "Ports.Speed", "Ports.Speed.2", "Speed", "Speed.2"}) {
        EXPECT_TRUE(is_named("Ports.Speed.2", name)) << name;
    }
    for (const char* const name : {"Port", "ports", "Ports.Spee", "Ports.Speed.1", "2", "Speed.1",
                                   "Ports.Speed.2.3", "Ports.Speed.22"}) {
        EXPECT_FALSE(is_named("Ports.Speed.2", name)) << name;
    }
}

TEST(select_changes, selects_by_name_and_keeps_the_last) {
    const std::vector<change_record> changes{{"t", "1", "A.X", "1"},
                                             {"t", "2", "B.X", "1"},
                                             {"t", "3", "A.Y", "1"},
                                             {"t", "4", "C.Z", "1"}};
    EXPECT_EQ(select_changes(changes, {}, 0).size(), 4U);
    EXPECT_THAT(targets(select_changes(changes, {}, 1)), ElementsAre("C.Z"));
    EXPECT_THAT(targets(select_changes(changes, {"A"}, 0)), ElementsAre("A.X", "A.Y"));
    EXPECT_THAT(targets(select_changes(changes, {"X", "A"}, 2)), ElementsAre("B.X", "A.Y"));
    EXPECT_THAT(targets(select_changes(changes, {"A"}, 9)), ElementsAre("A.X", "A.Y"));
    EXPECT_TRUE(select_changes(changes, {"D"}, 1).empty());
}

}  // namespace
}  // namespace dpctl
