#include "host/exchange/peer.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

namespace {

TEST(peer, is_identified_by_the_kernel) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const auto found = dp_host::peer_of(ends[0]);
    close(ends[0]);
    close(ends[1]);
    ASSERT_TRUE(found) << found.reason();
    EXPECT_EQ(found->uid, geteuid());
    EXPECT_EQ(found->gid, getegid());
    EXPECT_EQ(found->pid, getpid());
    EXPECT_TRUE(found->is_in_group(getegid()));
    EXPECT_NE(found->program.find("host_tests"), std::string::npos) << found->program;
}

TEST(peer, is_one_word) {
    const dp_host::peer somebody{1, 2, 3, {4}, "/usr/bin/dpctl"};
    EXPECT_EQ(somebody.str(), "uid=1,gid=2,pid=3,program=/usr/bin/dpctl");
    EXPECT_EQ(somebody.str("eve"), "uid=1,gid=2,pid=3,for=eve,program=/usr/bin/dpctl");
    EXPECT_TRUE(somebody.is_in_group(4));
    EXPECT_FALSE(somebody.is_in_group(5));
}

TEST(peer, has_a_program_that_is_no_other_part_of_the_word) {
    EXPECT_EQ(dp_host::program_word("/x,id=1,uid=0"), "/x?id=1?uid=0");
    EXPECT_EQ(dp_host::program_word("/a b\n\xC3\x7F"), "/a?b???");
    EXPECT_EQ(dp_host::program_word(""), "?");
}

TEST(peer, is_not_found_without_a_socket) {
    EXPECT_FALSE(dp_host::peer_of(-1));
}

}  // namespace
