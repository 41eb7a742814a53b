// The template reader beside a reader of the same rules that is made of streams, and beside two
// JSON libraries on the same attributes as JSON Lines, all into a vector of `template_info`.
//
// DP_BENCH_TEMPLATE=FILE measures a template's text of yours instead of generated attributes.

#include <rapidjson/document.h>
#include <simdjson.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "bench/support/generated_template.hpp"
#include "bench/support/json_text.hpp"
#include "bench/support/side_by_side.hpp"
#include "bios/template_info.hpp"
#include "tests/support/memory_file.hpp"
#include "tests/support/plain_template_reader.hpp"

namespace {

constexpr std::size_t attributes = 20'000;

using records = std::vector<template_info>;

// Calls `text` and `number` with every key and its field, in the order of the template's text.
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

std::string json_lines(const records& infos) {
    std::string text;
    for (const template_info& info : infos) {
        bench::json_object object(text);
        const auto add = [&](const char* key, const auto& value) { object.add(key, value); };
        for_each_field(info, add, add);
        object.end();
    }
    return text;
}

void read_with_simdjson(const simdjson::padded_string& text, records& out) {
    simdjson::ondemand::parser parser;
    simdjson::ondemand::document_stream documents = parser.iterate_many(text);
    for (auto document : documents) {
        simdjson::ondemand::object object = document.get_object();
        for_each_field(
            out.emplace_back(),
            [&](const char* key, std::string& to) {
                to = std::string_view(object.find_field(key));
            },
            [&](const char* key, auto& to) {
                to = static_cast<std::remove_reference_t<decltype(to)>>(
                    std::int64_t(object.find_field(key)));
            });
    }
}

void read_with_rapidjson(const std::string& text, records& out) {
    rapidjson::StringStream in(text.c_str());
    rapidjson::MemoryPoolAllocator<> memory;
    while (true) {
        memory.Clear();
        rapidjson::Document object(&memory);
        object.ParseStream<rapidjson::kParseStopWhenDoneFlag>(in);
        if (object.HasParseError()) {
            return;  // the end of the text
        }
        for_each_field(
            out.emplace_back(),
            [&](const char* key, std::string& to) {
                const rapidjson::Value& value = object[key];
                to.assign(value.GetString(), value.GetStringLength());
            },
            [&](const char* key, auto& to) {
                to = static_cast<std::remove_reference_t<decltype(to)>>(object[key].GetInt64());
            });
    }
}

bool equal(const records& a, const records& b) {
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
    std::ostringstream content;
    content << std::ifstream(file, std::ios::binary).rdbuf();
    std::string text;
    bench::require(!content.str().empty(), std::string("nothing to read in ") + file);
    // Short files are read again and again.
    do {
        text += content.str();
    } while (text.size() < attributes * 400);
    return text;
}

}  // namespace

int main() {
    const std::string text = sample();
    const test::memory_file file;
    records expected;
    {
        std::ifstream in = file.hold(text);
        test::read_plainly(in, expected, "");
    }
    const std::string json = json_lines(expected);
    const simdjson::padded_string padded(json);
    std::printf("%zu attributes, %.1f bytes each; as JSON Lines %.1f bytes\n", expected.size(),
                static_cast<double>(text.size()) / static_cast<double>(expected.size()),
                static_cast<double>(json.size()) / static_cast<double>(expected.size()));

    records got;
    const auto start_anew = [&] { records().swap(got); };
    const auto check = [&](const char* who) {
        bench::require(equal(got, expected), who);
        start_anew();
    };
    std::ifstream in;
    const auto start_file_anew = [&] {
        start_anew();
        in = file.hold(text);
    };
    const auto by_stream = [&] { test::read_plainly(in, got, ""); };
    const auto by_reader = [&] { template_info::read_settings(in, got, ""); };
    const auto by_simdjson = [&] { read_with_simdjson(padded, got); };
    const auto by_rapidjson = [&] { read_with_rapidjson(json, got); };
    start_file_anew();
    by_stream();
    check("the stream reader");
    start_file_anew();
    by_reader();
    check("template_info");
    by_simdjson();
    check("simdjson");
    by_rapidjson();
    check("RapidJSON");

    bench::side_by_side contest("reading a template", "attribute", expected.size());
    contest.add("stream reader", by_stream, start_file_anew);
    contest.add("template_info", by_reader, start_file_anew);
    contest.add("simdjson, on demand", by_simdjson, start_anew);
    contest.add("RapidJSON", by_rapidjson, start_anew);
    contest.add(
        "copying the records", [&] { got = expected; }, start_anew);
    contest.expect_faster("template_info", "stream reader", 8);
    contest.expect_faster("template_info", "simdjson, on demand", 1);
    contest.expect_faster("template_info", "RapidJSON", 1);
    contest.run();
    return 0;
}
