// Compares the template reader with a reader that uses streams, and with two JSON libraries that
// read the same attributes as JSON Lines. All fill a vector of `template_info`.
//
// DP_BENCH_TEMPLATE=FILE measures your own template's text instead of generated attributes.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "bench/support/generated_template.hpp"
#include "bench/support/json_peers.hpp"
#include "bench/support/json_text.hpp"
#include "bench/support/repeated_file.hpp"
#include "bench/support/side_by_side.hpp"
#include "bios/template_info.hpp"
#include "tests/support/memory_file.hpp"
#include "tests/support/reference_template_reader.hpp"

namespace {

constexpr std::size_t attributes = 20'000;

using attribute_list = std::vector<template_info>;

// Calls `text` or `number` with every key and its field, in the order of the template's text.
template <class Info, class Text, class Number>
void for_each_field(Info& info, Text text, Number number) {
    text("id", info.id);
    text("cfg", info.cfg);
    text("cfgname", info.cfgname);
    text("cfgsetn", info.cfgsetn);
    text("grp", info.grp);
    text("spif", info.spif);
    text("grif", info.grif);
    text("gspif", info.gspif);
    text("ggrif", info.ggrif);
    text("mri", info.mri);
    text("dsc", info.dsc);
    text("fds", info.fds);
    number("flg", info.flg);
    text("dft", info.dft);
    number("mni", info.mni);
    number("mxi", info.mxi);
    text("mfg", info.mfg);
    text("dfa", info.dfa);
    number("type", info.type);
    if ((info.flg & template_info::rec_flag) != 0) {
        text("rec", info.rec);
    }
    if (info.type == template_info::type_numeric) {
        number("min", info.min);
        number("max", info.max);
        number("stp", info.stp);
    } else if (info.type == template_info::type_string) {
        number("minc", info.minc);
        number("maxc", info.maxc);
        text("reg", info.reg);
    } else if (info.type != template_info::type_no_range) {
        number("num", info.num);
        text("chc", info.chc);
    }
}

std::string json_lines(const attribute_list& infos) {
    std::string text;
    for (const template_info& info : infos) {
        bench::json_object object(text);
        const auto add = [&](const char* key, const auto& value) { object.add(key, value); };
        for_each_field(info, add, add);
        object.end();
    }
    return text;
}

void read_with_simdjson(const simdjson::padded_string& text, attribute_list& out) {
    bench::for_each_simdjson_object(text, [&](simdjson::ondemand::object& object) {
        for_each_field(
            out.emplace_back(),
            [&](const char* key, std::string& to) {
                to = std::string_view(object.find_field(key));
            },
            [&](const char* key, auto& to) {
                to = static_cast<std::remove_reference_t<decltype(to)>>(
                    std::int64_t(object.find_field(key)));
            });
    });
}

void read_with_rapidjson(const std::string& text, attribute_list& out) {
    bench::for_each_rapidjson_object(text, [&](const rapidjson::Document& object) {
        for_each_field(
            out.emplace_back(),
            [&](const char* key, std::string& to) {
                const rapidjson::Value& value = object[key];
                to.assign(value.GetString(), value.GetStringLength());
            },
            [&](const char* key, auto& to) {
                to = static_cast<std::remove_reference_t<decltype(to)>>(object[key].GetInt64());
            });
    });
}

bool equal(const attribute_list& a, const attribute_list& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const template_info& x, const template_info& y) {
                          return test::fields(x) == test::fields(y);
                      });
}

std::string sample() {
    const char* const file = std::getenv("DP_BENCH_TEMPLATE");
    if (file == nullptr) {
        return bench::template_text(bench::generated_template(attributes));
    }
    return bench::repeated_file(file, attributes * 400, '\0');
}

}  // namespace

int main() {
    const std::string text = sample();
    const test::memory_file file;
    attribute_list expected;
    {
        std::ifstream in = file.open_with(text);
        test::reference_read_template(in, expected, "");
    }
    const std::string json = json_lines(expected);
    const simdjson::padded_string padded(json);
    std::printf("%zu attributes, %.1f bytes each; as JSON Lines %.1f bytes\n", expected.size(),
                static_cast<double>(text.size()) / static_cast<double>(expected.size()),
                static_cast<double>(json.size()) / static_cast<double>(expected.size()));

    attribute_list got;
    const auto clear = [&] { attribute_list().swap(got); };
    const auto check = [&](const char* who) {
        bench::require(equal(got, expected), who);
        clear();
    };
    std::ifstream in;
    const auto clear_and_rewind = [&] {
        clear();
        in = file.open_with(text);
    };
    const auto by_stream = [&] { test::reference_read_template(in, got, ""); };
    const auto by_reader = [&] { template_info::read_settings(in, got, ""); };
    const auto by_simdjson = [&] { read_with_simdjson(padded, got); };
    const auto by_rapidjson = [&] { read_with_rapidjson(json, got); };
    clear_and_rewind();
    by_stream();
    check("the stream reader");
    clear_and_rewind();
    by_reader();
    check("template_info");
    by_simdjson();
    check("simdjson");
    by_rapidjson();
    check("RapidJSON");

    bench::side_by_side contest("reading a template", "attribute", expected.size());
    contest.add("stream reader", by_stream, clear_and_rewind);
    contest.add("template_info", by_reader, clear_and_rewind);
    contest.add("simdjson, on demand", by_simdjson, clear);
    contest.add("RapidJSON", by_rapidjson, clear);
    contest.add(
        "copying the attributes", [&] { got = expected; }, clear);
    contest.expect_faster("template_info", "stream reader", 8);
    contest.expect_faster("template_info", "simdjson, on demand", 1);
    contest.expect_faster("template_info", "RapidJSON", 1);
    contest.run();
    return 0;
}
