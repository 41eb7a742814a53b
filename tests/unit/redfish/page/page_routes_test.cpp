#include "redfish/page/page_routes.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>

#include "redfish/page/page_files.hpp"
#include "redfish/protocol/gateway.hpp"
#include "tests/support/redfish_exchange.hpp"

namespace {

using dp_redfish::page_file;
using dp_redfish::page_files;
using test::get;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string source_of(const page_file& file) {
    std::ifstream source(DP_SOURCE_DIR "/redfish/page/files/" + std::string(file.name),
                         std::ios::binary);
    return {std::istreambuf_iterator<char>(source), {}};
}

// The page as its browsers see it, without a login.
class page_routes_test : public testing::Test {
  protected:
    page_routes_test() {
        add_page_routes(routes_);
        access.next = {dp_redfish::access_control::decision::states::known, {}};
    }

    test::fixed_access access;

  private:
    dp_redfish::route_table routes_;

  protected:
    dp_redfish::gateway page{routes_, access};
};

TEST_F(page_routes_test, have_the_bytes_of_all_files) {
    ASSERT_FALSE(page_files().empty());
    for (const page_file& file : page_files()) {
        SCOPED_TRACE(file.name);
        EXPECT_EQ(file.content, source_of(file));
        const bool is_at_root = file.name == "index.html" || file.name == "robots.txt";
        const std::string path =
            file.name == "index.html" ? "" : (is_at_root ? "" : "page/") + std::string(file.name);
        const auto answer = get(page, "/" + path);
        EXPECT_EQ(answer.status, 200U);
        EXPECT_EQ(answer.text, file.content);
    }
    EXPECT_EQ(access.asked, 0);
}

TEST_F(page_routes_test, have_the_types_that_browsers_insist_on) {
    EXPECT_EQ(get(page, "/").header("Content-Type"), "text/html; charset=utf-8");
    EXPECT_EQ(get(page, "/page/main.js").header("Content-Type"), "text/javascript; charset=utf-8");
    EXPECT_EQ(get(page, "/page/style.css").header("Content-Type"), "text/css; charset=utf-8");
    EXPECT_EQ(get(page, "/page/icon.svg").header("Content-Type"), "image/svg+xml");
    EXPECT_EQ(get(page, "/favicon.ico").text, get(page, "/page/icon.svg").text);
    EXPECT_THAT(get(page, "/robots.txt").text, HasSubstr("Disallow: /\n"));
}

TEST_F(page_routes_test, allow_the_document_its_own_files_only) {
    EXPECT_THAT(get(page, "/").header("Content-Security-Policy"),
                AllOf(HasSubstr("default-src 'none'"), HasSubstr("script-src 'self';"),
                      HasSubstr("require-trusted-types-for 'script'"),
                      HasSubstr("frame-ancestors 'none'"), Not(HasSubstr("unsafe"))));
    // The others keep the policy of all answers.
    EXPECT_THAT(get(page, "/page/main.js").header("Content-Security-Policy"), IsEmpty());
}

TEST_F(page_routes_test, need_not_be_sent_again_unless_they_change) {
    const auto first = get(page, "/page/style.css");
    auto request = test::request_of("GET", "/page/style.css");
    request.headers["If-None-Match"] = first.header("ETag");
    const auto second = test::exchange(page, std::move(request));
    EXPECT_EQ(second.status, 304U);
    EXPECT_EQ(second.text, "");
    EXPECT_NE(first.header("ETag"), get(page, "/").header("ETag"));
}

TEST_F(page_routes_test, have_no_other_files_and_no_other_methods) {
    EXPECT_EQ(get(page, "/page/index.html").status, 404U);
    EXPECT_EQ(get(page, "/page/page_routes.cpp").status, 404U);
    const auto refused = test::exchange(page, test::request_of("POST", "/"));
    EXPECT_EQ(refused.status, 405U);
    EXPECT_EQ(refused.header("Allow"), "GET, HEAD");
}

TEST(page_files, name_no_address_of_another_server) {
    for (const page_file& file : page_files()) {
        std::string content(file.content);
        // A name of XML, which is not fetched.
        const std::string name = "http://www.w3.org/2000/svg";
        for (std::size_t at = content.find(name); at != std::string::npos;
             at = content.find(name)) {
            content.erase(at, name.size());
        }
        EXPECT_THAT(content, AllOf(Not(HasSubstr("http:")), Not(HasSubstr("https:")),
                                   Not(HasSubstr("innerHTML")), Not(HasSubstr("@import"))))
            << file.name;
    }
}

}  // namespace
