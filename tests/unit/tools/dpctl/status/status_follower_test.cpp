#include "tools/dpctl/status/status_follower.hpp"

#include <gmock/gmock.h>

namespace dpctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Updates a follower with the content of a status file after each write.
class status_follower_test : public testing::Test {
  protected:
    std::vector<std::string> update(const std::string& text, bool is_settled = false) {
        ++time_;
        return update_again(text, is_settled);
    }

    std::vector<std::string> update_again(const std::string& text, bool is_settled) {
        file_snapshot file{"", true, text, "", {}};
        file.version.seconds = time_;
        last_ = follower_.update(file, is_settled);
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
const std::string done = "<T> 0004 DP.DONE 1 0 1";

TEST_F(status_follower_test, returns_each_record_once) {
    EXPECT_THAT(update(""), IsEmpty());
    EXPECT_THAT(update(first + '\n'), ElementsAre(first));
    EXPECT_THAT(update(first + '\n' + start + '\n' + error + '\n'), ElementsAre(start, error));
    EXPECT_THAT(update_again(first + '\n' + start + '\n' + error + '\n', true), IsEmpty());
    EXPECT_THAT(update(first + '\n' + start + '\n' + error + '\n' + done + '\n'),
                ElementsAre(done));
    EXPECT_FALSE(last_.missed);
}

TEST_F(status_follower_test, continues_after_old_records_were_dropped) {
    update(first + '\n' + start + '\n' + error + '\n');
    EXPECT_THAT(update(error + '\n' + done + '\n'), ElementsAre(done));
    EXPECT_FALSE(last_.missed);
}

TEST_F(status_follower_test, reports_that_records_were_missed) {
    update(first + '\n' + start + '\n');
    EXPECT_THAT(update(done + '\n'), ElementsAre(done));
    EXPECT_TRUE(last_.missed);
}

TEST_F(status_follower_test, returns_another_transaction_from_its_start) {
    update(first + '\n' + start + '\n' + error + '\n' + done + '\n');
    const std::string other = "<U> 0002 DP.WORKING 0";
    EXPECT_THAT(update(first + '\n' + other + '\n'), ElementsAre(first, other));
    EXPECT_FALSE(last_.missed);
}

TEST_F(status_follower_test, returns_a_transaction_with_the_same_bytes_again) {
    const std::string all = first + '\n' + start + '\n' + error + '\n' + done + '\n';
    update(all);
    EXPECT_THAT(update(all), IsEmpty());
    EXPECT_TRUE(last_.unsure);
    EXPECT_THAT(update_again(all, true), ElementsAre(first, start, error, done));
    EXPECT_THAT(update_again(all, true), IsEmpty());
}

TEST_F(status_follower_test, returns_a_transaction_with_fewer_records_than_the_previous_one) {
    update(first + '\n' + start + '\n' + error + '\n' + done + '\n');
    EXPECT_THAT(update(first + '\n' + start + '\n'), IsEmpty());
    EXPECT_TRUE(last_.unsure);
    EXPECT_THAT(update_again(first + '\n' + start + '\n', true), ElementsAre(first, start));
    EXPECT_THAT(update(first + '\n' + start + '\n' + error + '\n'), ElementsAre(error));
}

TEST_F(status_follower_test, does_not_mistake_a_half_written_file_for_another_transaction) {
    update(first + '\n' + start + '\n' + error + '\n');
    for (const auto& part : {std::string(), first + '\n', first + '\n' + start + '\n',
                             first + '\n' + start + '\n' + error + '\n',
                             first + '\n' + start + '\n' + error + '\n' + "<T> 00"}) {
        EXPECT_THAT(update(part), IsEmpty()) << part;
        EXPECT_TRUE(last_.unsure) << part;
    }
    EXPECT_THAT(update(first + '\n' + start + '\n' + error + '\n' + done + '\n'),
                ElementsAre(done));
}

TEST_F(status_follower_test, ignores_an_unfinished_transaction_that_is_rewritten) {
    update(first + '\n' + start + '\n');
    EXPECT_THAT(update(first + '\n' + start + '\n', true), IsEmpty());
    EXPECT_FALSE(last_.unsure);
}

TEST_F(status_follower_test, returns_a_file_that_was_removed_and_created_again) {
    update(first + '\n' + start + '\n');
    follower_.update(file_snapshot{}, false);
    EXPECT_THAT(update_again(first + '\n' + start + '\n', false), ElementsAre(first, start));
}

TEST_F(status_follower_test, returns_a_file_again_after_it_was_emptied) {
    update(first + '\n' + start + '\n');
    EXPECT_THAT(update("", true), IsEmpty());
    EXPECT_THAT(update(first + '\n' + start + '\n'), ElementsAre(first, start));
}

}  // namespace
}  // namespace dpctl
