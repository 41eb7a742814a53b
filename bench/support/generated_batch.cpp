#include "bench/support/generated_batch.hpp"

#include <algorithm>
#include <array>
#include <random>
#include <sstream>

#include "bench/support/json_text.hpp"
#include "bench/support/memory_stream.hpp"
#include "tests/support/reference_batch_reader.hpp"

namespace bench {

std::vector<dp::batch_file_entry> generated_batch(std::size_t count) {
    static constexpr std::array<const char*, 6> collections{
        "BootOptions", "Processor", "Memory", "DevicesAndIOPorts", "Power", "OperatingModes"};
    static constexpr std::array<const char*, 6> settings{
        "HyperThreadingTechnology", "LegacyBootProtocol",    "SocketsInUse",
        "MemoryPatrolScrub",        "AdjacentCachePrefetch", "MemoryLatency"};
    static constexpr std::array<const char*, 5> values{"Enabled", "Disabled", "UEFI Only",
                                                       "Maximum Performance", "42"};
    std::mt19937 random(1);
    std::vector<dp::batch_file_entry> entries(count);
    for (std::size_t i = 0; i < count; ++i) {
        dp::batch_file_entry& entry = entries[i];
        entry.status = "0";
        entry.detail = "0";
        entry.tid = "<cim-" + std::to_string(random() % 1000) + ">";
        entry.operation = "set";
        entry.name.configuration = collections[random() % collections.size()];
        entry.name.setting = settings[random() % settings.size()] + std::to_string(i);
        if (random() % 4 == 0) {
            entry.name.instance = std::to_string(random() % 64);
        }
        entry.value_in = values[random() % values.size()];
    }
    return entries;
}

std::vector<dp::batch_file_entry> read_with_streams(const std::string& text) {
    std::vector<dp::batch_file_entry> entries;
    memory_stream in(text);
    test::reference_read_batch(in, [&](const auto& entry) { entries.push_back(entry); });
    return entries;
}

std::string batch_text(const std::vector<dp::batch_file_entry>& entries) {
    std::ostringstream text;
    for (const auto& entry : entries) {
        text << entry << '\n';
    }
    return text.str();
}

const std::vector<named_field>& batch_fields() {
    using entry = dp::batch_file_entry;
    static const std::vector<named_field> fields{
        {"status", [](entry& e) -> std::string& { return e.status; }},
        {"detail", [](entry& e) -> std::string& { return e.detail; }},
        {"tid", [](entry& e) -> std::string& { return e.tid; }},
        {"operation", [](entry& e) -> std::string& { return e.operation; }},
        {"command", [](entry& e) -> std::string& { return e.command; }},
        {"configuration", [](entry& e) -> std::string& { return e.name.configuration; }},
        {"setting", [](entry& e) -> std::string& { return e.name.setting; }},
        {"instance", [](entry& e) -> std::string& { return e.name.instance; }},
        {"value_in", [](entry& e) -> std::string& { return e.value_in; }},
        {"value_out", [](entry& e) -> std::string& { return e.value_out; }},
    };
    return fields;
}

std::string json_lines(const std::vector<dp::batch_file_entry>& entries) {
    std::string text;
    for (dp::batch_file_entry entry : entries) {
        json_object object(text);
        for (const named_field& field : batch_fields()) {
            object.add(field.key, field.of(entry));
        }
        object.end();
    }
    return text;
}

bool equal(const std::vector<dp::batch_file_entry>& a, const std::vector<dp::batch_file_entry>& b) {
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(), [](dp::batch_file_entry x, dp::batch_file_entry y) {
            return std::all_of(batch_fields().begin(), batch_fields().end(),
                               [&](const named_field& f) { return f.of(x) == f.of(y); });
        });
}

}  // namespace bench
