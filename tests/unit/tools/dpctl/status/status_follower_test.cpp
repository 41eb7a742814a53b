#include "tools/dpctl/status/status_follower.hpp"

#include <gmock/gmock.h>

namespace dpctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Looks at texts one after another, each the file's content after another writing.
class follower : public testing::Test {
  protected:
    std::vector<std::string> look(const std::string& text, bool is_settled = false) {
        ++time_;
        return look_again(text, is_settled);
    }

    std::vector<std::string> look_again(const std::string& text, bool is_settled) {
        steady_file file{"", true, text, "", {}};
        file.state.seconds = time_;
        last_ = follower_.look(file, is_settled);
        std::vector<std::string> lines;
        for (const auto& record : last_.records) {
            lines.push_back(record.line);
        }
        return lines;
    }

    status_follower follower_;
    status_follower::news last_;
    std::int64_t time_ = 0;
};

const std::string first = "<dp-status> 0001 DP.MESSAGE init ";
const std::string start = "<T> 0002 DP.WORKING 0";
const std::string error = "<T> 0003 DP.ERROR A.B 16";
const std::string over = "<T> 0004 DP.DONE 1 0 1";

TEST_F(follower, tells_each_record_once) {
    EXPECT_THAT(look(""), IsEmpty());
    EXPECT_THAT(look(first + '\n'), ElementsAre(first));
    EXPECT_THAT(look(first + '\n' + start + '\n' + error + '\n'), ElementsAre(start, error));
    EXPECT_THAT(look_again(first + '\n' + start + '\n' + error + '\n', true), IsEmpty());
    EXPECT_THAT(look(first + '\n' + start + '\n' + error + '\n' + over + '\n'), ElementsAre(over));
    EXPECT_FALSE(last_.missed);
}

TEST_F(follower, goes_on_where_old_records_were_dropped) {
    look(first + '\n' + start + '\n' + error + '\n');
    EXPECT_THAT(look(error + '\n' + over + '\n'), ElementsAre(over));
    EXPECT_FALSE(last_.missed);
}

TEST_F(follower, says_when_records_came_and_went) {
    look(first + '\n' + start + '\n');
    EXPECT_THAT(look(over + '\n'), ElementsAre(over));
    EXPECT_TRUE(last_.missed);
}

TEST_F(follower, tells_another_transaction_from_its_beginning) {
    look(first + '\n' + start + '\n' + error + '\n' + over + '\n');
    const std::string other = "<U> 0002 DP.WORKING 0";
    EXPECT_THAT(look(first + '\n' + other + '\n'), ElementsAre(first, other));
    EXPECT_FALSE(last_.missed);
}

TEST_F(follower, tells_a_transaction_that_left_the_same_bytes) {
    const std::string all = first + '\n' + start + '\n' + error + '\n' + over + '\n';
    look(all);
    EXPECT_THAT(look(all), IsEmpty());
    EXPECT_TRUE(last_.unsure);
    EXPECT_THAT(look_again(all, true), ElementsAre(first, start, error, over));
    EXPECT_THAT(look_again(all, true), IsEmpty());
}

TEST_F(follower, tells_one_that_has_not_come_as_far_as_the_one_before) {
    look(first + '\n' + start + '\n' + error + '\n' + over + '\n');
    EXPECT_THAT(look(first + '\n' + start + '\n'), IsEmpty());
    EXPECT_TRUE(last_.unsure);
    EXPECT_THAT(look_again(first + '\n' + start + '\n', true), ElementsAre(first, start));
    EXPECT_THAT(look(first + '\n' + start + '\n' + error + '\n'), ElementsAre(error));
}

TEST_F(follower, does_not_take_a_half_written_file_for_another_transaction) {
    look(first + '\n' + start + '\n' + error + '\n');
    for (const auto& part : {std::string(), first + '\n', first + '\n' + start + '\n',
                             first + '\n' + start + '\n' + error + '\n',
                             first + '\n' + start + '\n' + error + '\n' + "<T> 00"}) {
        EXPECT_THAT(look(part), IsEmpty()) << part;
        EXPECT_TRUE(last_.unsure) << part;
    }
    EXPECT_THAT(look(first + '\n' + start + '\n' + error + '\n' + over + '\n'), ElementsAre(over));
}

TEST_F(follower, tells_nothing_of_an_unfinished_transaction_written_again) {
    look(first + '\n' + start + '\n');
    EXPECT_THAT(look(first + '\n' + start + '\n', true), IsEmpty());
    EXPECT_FALSE(last_.unsure);
}

TEST_F(follower, tells_a_file_that_went_and_came_back) {
    look(first + '\n' + start + '\n');
    follower_.look(steady_file{}, false);
    EXPECT_THAT(look_again(first + '\n' + start + '\n', false), ElementsAre(first, start));
}

TEST_F(follower, tells_a_file_that_was_emptied_for_good) {
    look(first + '\n' + start + '\n');
    EXPECT_THAT(look("", true), IsEmpty());
    EXPECT_THAT(look(first + '\n' + start + '\n'), ElementsAre(first, start));
}

}  // namespace
}  // namespace dpctl
