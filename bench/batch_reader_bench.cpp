// Compares the batch reader with what one would use instead: a stream for each line, and three JSON
// libraries that read the same entries as JSON Lines. All fill a vector of entries with ten
// strings. The lower limits are a single pass over the bytes, and a copy of the fields.
//
// DP_BENCH_BATCH=FILE measures your own batch file instead of generated lines.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "batch/batch_file_checker.hpp"
#include "batch/batch_file_loader.hpp"
#include "bench/support/generated_batch.hpp"
#include "bench/support/json_peers.hpp"
#include "bench/support/memory_stream.hpp"
#include "bench/support/repeated_file.hpp"
#include "bench/support/side_by_side.hpp"
#include "tests/support/reference_batch_reader.hpp"

namespace {

constexpr std::size_t lines = 200'000;

using entries = std::vector<dp::batch_file_entry>;

void read_with_simdjson(const simdjson::padded_string& text, entries& out) {
    bench::for_each_simdjson_object(text, [&](simdjson::ondemand::object& object) {
        dp::batch_file_entry& entry = out.emplace_back();
        // The order of the text is the fastest one.
        const auto take = [&](std::string& to, const char* key) {
            to = std::string_view(object.find_field(key));
        };
        take(entry.status, "status");
        take(entry.detail, "detail");
        take(entry.tid, "tid");
        take(entry.operation, "operation");
        take(entry.command, "command");
        take(entry.name.configuration, "configuration");
        take(entry.name.setting, "setting");
        take(entry.name.instance, "instance");
        take(entry.value_in, "value_in");
        take(entry.value_out, "value_out");
    });
}

// `text_of` converts the result of `object[key]` to a text.
template <class Object, class TextOf>
void take_fields(Object& object, dp::batch_file_entry& entry, TextOf text_of) {
    entry.status = text_of(object["status"]);
    entry.detail = text_of(object["detail"]);
    entry.tid = text_of(object["tid"]);
    entry.operation = text_of(object["operation"]);
    entry.command = text_of(object["command"]);
    entry.name.configuration = text_of(object["configuration"]);
    entry.name.setting = text_of(object["setting"]);
    entry.name.instance = text_of(object["instance"]);
    entry.value_in = text_of(object["value_in"]);
    entry.value_out = text_of(object["value_out"]);
}

void read_with_rapidjson(const std::string& text, entries& out) {
    bench::for_each_rapidjson_object(text, [&](const rapidjson::Document& object) {
        take_fields(object, out.emplace_back(), [](const rapidjson::Value& value) {
            return std::string_view(value.GetString(), value.GetStringLength());
        });
    });
}

void read_with_nlohmann(const std::string& text, entries& out) {
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        auto object = nlohmann::json::parse(text.begin() + static_cast<std::ptrdiff_t>(begin),
                                            text.begin() + static_cast<std::ptrdiff_t>(end));
        take_fields(object, out.emplace_back(), [](const nlohmann::json& value) {
            return std::string_view(value.get_ref<const std::string&>());
        });
        begin = end + 1;
    }
}

std::size_t count_lines(const std::string& text) {
    std::size_t count = 0;
    for (const char* at = text.data(); at != nullptr; ++count) {
        const char* const last = text.data() + text.size();
        at = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(last - at)));
        at = at == nullptr ? nullptr : at + 1;
    }
    return count - 1;
}

void copy_fields(const entries& from, char* to) {
    const auto copy = [&](const std::string& field) {
        std::memcpy(to, field.data(), field.size());
        to += field.size();
    };
    for (const dp::batch_file_entry& entry : from) {
        copy(entry.status);
        copy(entry.detail);
        copy(entry.tid);
        copy(entry.operation);
        copy(entry.command);
        copy(entry.name.configuration);
        copy(entry.name.setting);
        copy(entry.name.instance);
        copy(entry.value_in);
        copy(entry.value_out);
    }
    bench::keep(*to);
}

/// Sets `text` to the lines to read; returns their entries.
entries sample(std::string& text) {
    const char* const file = std::getenv("DP_BENCH_BATCH");
    if (file == nullptr) {
        entries expected = bench::generated_batch(lines);
        text = bench::batch_text(expected);
        return expected;
    }
    text = bench::repeated_file(file, lines * 70, '\n');
    return bench::read_with_streams(text);
}

}  // namespace

int main() {
    std::string text;
    const entries expected = sample(text);
    const std::string json = bench::json_lines(expected);
    const simdjson::padded_string padded(json);
    std::string copied(text.size(), '\0');
    std::printf("%zu commands, %.1f bytes a line; as JSON Lines %.1f bytes\n", expected.size(),
                static_cast<double>(text.size()) / static_cast<double>(expected.size()),
                static_cast<double>(json.size()) / static_cast<double>(expected.size()));

    entries got;
    // Each contender starts with an empty vector without capacity.
    const auto clear = [&] { entries().swap(got); };
    const auto check = [&](const char* who) {
        bench::require(bench::equal(got, expected), who);
        clear();
    };

    unsigned good = 0;
    const auto check_by_stream = [&] {
        bench::memory_stream in(text);
        dp::batch_file_checker checker;
        test::reference_read_batch(in, [&](auto& entry) { checker.process_entry(entry, nullptr); });
        good = checker.good;
    };
    const auto check_by_reader = [&] {
        bench::memory_stream in(text);
        dp::batch_file_checker checker;
        dp::batch_file_reader(&checker).read_file(in, nullptr);
        good = checker.good;
    };
    check_by_stream();
    const unsigned expected_good = good;
    check_by_reader();
    bench::require(good == expected_good, "batch_file_checker and the stream reader");

    bench::side_by_side counting("checking a batch file", "line", expected.size());
    counting.add("stream reader", check_by_stream);
    counting.add("batch_file_reader, checker", check_by_reader);
    counting.add("limit: memchr for newlines", [&] { bench::keep(count_lines(text)); });
    counting.expect_faster("batch_file_reader, checker", "stream reader", 8);
    counting.run();

    const auto load_by_stream = [&] {
        bench::memory_stream in(text);
        test::reference_read_batch(in, [&](auto& entry) { got.push_back(entry); });
    };
    const auto load_by_reader = [&] {
        bench::memory_stream in(text);
        got.reserve(expected.size());
        dp::batch_file_loader(&got).read_file(in, nullptr);
    };
    const auto load_by_simdjson = [&] { read_with_simdjson(padded, got); };
    const auto load_by_rapidjson = [&] { read_with_rapidjson(json, got); };
    const auto load_by_nlohmann = [&] { read_with_nlohmann(json, got); };
    load_by_stream();
    check("the stream reader");
    load_by_reader();
    check("batch_file_loader");
    load_by_simdjson();
    check("simdjson");
    load_by_rapidjson();
    check("RapidJSON");
    load_by_nlohmann();
    check("nlohmann");

    bench::side_by_side storing("loading a batch file into entries of ten strings", "line",
                                expected.size());
    storing.add("stream reader", load_by_stream, clear);
    storing.add("batch_file_loader", load_by_reader, clear);
    storing.add("simdjson, on demand", load_by_simdjson, clear);
    storing.add("RapidJSON", load_by_rapidjson, clear);
    storing.add("nlohmann", load_by_nlohmann, clear);
    storing.add(
        "copying the entries", [&] { got = expected; }, clear);
    storing.add("limit: copying the fields' bytes", [&] { copy_fields(expected, copied.data()); });
    storing.expect_faster("batch_file_loader", "stream reader", 2.5);
    storing.expect_faster("batch_file_loader", "simdjson, on demand", 1.4);
    storing.run();
    return 0;
}
