#include "redfish/http/gzip.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "redfish/http/compressed_texts.hpp"
#include "tests/unit/redfish/http/gunzip.hpp"

namespace {

using dp_redfish::accepts_gzip;
using dp_redfish::compressed_texts;
using dp_redfish::gzip_encoder;

std::string numbered_lines(std::size_t size) {
    std::string text;
    for (int i = 0; text.size() < size; ++i) {
        text += "line " + std::to_string(i * 7919 % 10007) + "\n";
    }
    return text;
}

TEST(gzip_encoder, makes_what_decoders_read) {
    const std::string text = numbered_lines(300'000);
    gzip_encoder whole;
    whole.append(text);
    const std::string compressed = whole.finish();
    EXPECT_LT(compressed.size(), text.size() / 2);
    EXPECT_EQ(test::gunzip(compressed), text);
}

TEST(gzip_encoder, takes_pieces_of_any_size) {
    const std::string text = numbered_lines(100'000);
    gzip_encoder pieces;
    for (std::size_t i = 0, size = 1; i < text.size(); i += size++) {
        pieces.append(std::string_view(text).substr(i, size));
    }
    EXPECT_EQ(test::gunzip(pieces.finish()), text);
    gzip_encoder nothing;
    EXPECT_EQ(test::gunzip(nothing.finish()), "");
}

TEST(accepts_gzip, reads_the_field_of_the_request) {
    for (const char* const field :
         {"gzip", "deflate, gzip", "GZIP;q=0.5", "br;q=1.0, gzip;q=0.8, *;q=0.1", "*", "x-gzip",
          "identity;q=0, gzip ; q=0.001"}) {
        EXPECT_TRUE(accepts_gzip(field)) << field;
    }
    for (const char* const field : {"", "identity", "deflate, br", "gzip;q=0", "gzip;q=0.000",
                                    "*;q=0", "gzip ; q=0, *", "gzipped", ",,", "deflate;gzip"}) {
        EXPECT_FALSE(accepts_gzip(field)) << field;
    }
}

TEST(compressed_texts, keep_the_form_of_one_object) {
    compressed_texts texts;
    const auto text = std::make_shared<const std::string>("text");
    const auto other_owner = text;
    const auto equal = std::make_shared<const std::string>(*text);
    const auto form = std::make_shared<const std::string>("form");
    EXPECT_EQ(texts.find(text), nullptr);
    texts.add(text, form);
    EXPECT_EQ(texts.find(text), form);
    EXPECT_EQ(texts.find(equal), nullptr);
}

TEST(compressed_texts, do_not_keep_texts_that_only_the_caller_has) {
    compressed_texts texts;
    const auto text = std::make_shared<const std::string>("text");
    texts.add(text, std::make_shared<const std::string>("form"));
    EXPECT_EQ(texts.find(text), nullptr);
}

TEST(compressed_texts, forget_what_nobody_has) {
    compressed_texts texts;
    auto text = std::make_shared<const std::string>("text");
    auto other_owner = text;
    const auto form = std::make_shared<const std::string>("form");
    texts.add(text, form);
    text = std::make_shared<const std::string>("another text");
    other_owner = text;
    texts.add(text, std::make_shared<const std::string>("other"));
    EXPECT_EQ(form.use_count(), 1);
}

TEST(compressed_texts, forget_the_oldest_of_many) {
    compressed_texts texts;
    std::vector<std::shared_ptr<const std::string>> all;
    for (int i = 0; i < 20; ++i) {
        const auto text = std::make_shared<const std::string>("text");
        all.push_back(text);
        texts.add(text, std::make_shared<const std::string>("form"));
    }
    EXPECT_EQ(texts.find(all.front()), nullptr);
    EXPECT_NE(texts.find(all.back()), nullptr);
}

}  // namespace
