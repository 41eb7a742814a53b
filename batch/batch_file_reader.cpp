#include "batch/batch_file_reader.hpp"

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <istream>
#include <ostream>
#include <string_view>
#include <vector>

#include "batch/assign_text.hpp"
#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/dropped_line_listener.hpp"
#include "batch/line_reader.hpp"
#include "batch/line_scanner.hpp"
#include "batch/parse_name.hpp"
#include "batch/plain_line.hpp"
#include "common/log.hpp"
#include "platform/sysipc/efi_decompressor.hpp"

namespace dp {
namespace {

using namespace std::string_view_literals;

bool is_empty_or_comment(std::string_view line) {
    return line.empty() || line.front() == '#' ||
           line.find_first_not_of(' ') == std::string_view::npos;
}

void log_entry(const batch_file_entry& entry) {
    const auto& name = entry.name;
    log_line(log_level::trace_4, "LOG", "batch_file_reader::read_file, tid=", entry.tid,
             ", setting_name=", name.setting, name.instance.empty() ? "" : ".", name.instance,
             ", setting_value_in=", entry.value_in);
}

// Fast path for the common line form. Returns false and consumes nothing for any other form, and
// for a line of more than `longest_line` bytes.
bool read_plain_line(line_reader& lines, std::size_t longest_line, batch_file_entry& entry) {
    plain_line parts;
    if (!parts.split(lines.buffered()) || parts.operation == "command"sv ||
        parts.size - 1 > longest_line) {
        return false;
    }
    lines.consume(parts.size);
    assign_short_text(entry.status, parts.status);
    assign_short_text(entry.detail, parts.detail);
    assign_short_text(entry.operation, parts.operation);
    parse_name(parts.name, entry.name);
    assign_text(entry.tid, parts.tid);
    assign_text(entry.value_in, parts.value_in);
    assign_text(entry.value_out, parts.value_out);
    return true;
}

// Reads a line of any form. Returns false when it must be dropped.
bool read_any_line(std::string_view line, batch_file_entry& entry) {
    line_scanner words(line);
    for (std::string* const word : {&entry.status, &entry.detail, &entry.tid, &entry.operation}) {
        words.take_word(*word);
    }
    if (entry.operation == "command"sv) {
        words.take_word(entry.command);
    }
    if (const std::string_view name = words.take_word(); !name.empty()) {
        parse_name(name, entry.name);
    }
    words.take_value(entry.value_in);
    words.take_value(entry.value_out);
    words.take_word();
    return words.empty();
}

// `dropped` may be null.
int read_lines(std::istream& in, registrar* reg, batch_file_intf* processor,
               dropped_line_listener* dropped, std::size_t longest_line) {
    if (processor == nullptr) {
        return 0;
    }
    int count = 0;
    // One entry for the whole file: a line that lacks words keeps the previous line's words.
    batch_file_entry entry;
    entry.name.parse({});
    line_reader lines(in);
    for (;;) {
        const bool logs = log_enabled(log_level::trace_4);
        std::string_view line;
        bool is_whole = true;
        bool accepted = read_plain_line(lines, longest_line, entry);
        if (!accepted) {
            if (!lines.next(line, longest_line, is_whole)) {
                break;
            }
            if (is_empty_or_comment(line)) {
                continue;
            }
            accepted = is_whole && read_any_line(line, entry);
        }
        if (logs && is_whole) {
            log_entry(entry);
        }
        if (accepted) {
            processor->process_entry(entry, reg);
            ++count;
            // The processor may have ended the stream while lines are still buffered.
            if (!in.good()) {
                break;
            }
        } else if (dropped != nullptr) {
            dropped->on_dropped_line(line);
        }
    }
    return count;
}

}  // namespace

batch_file_reader::batch_file_reader(batch_file_intf* entry_processor)
    : processor(entry_processor) {}

int batch_file_reader::read_file(std::istream& in, registrar* reg) {
    return read_lines(in, reg, processor, nullptr, std::string_view::npos);
}

// NOLINTNEXTLINE(readability-make-member-function-const): the processor changes, as in read_file.
int batch_file_reader::read_file_reporting_dropped_lines(std::istream& in, registrar* reg,
                                                         dropped_line_listener& dropped,
                                                         std::uint32_t longest_line) {
    return read_lines(in, reg, processor, &dropped, longest_line);
}

// The interface fixes the signature of this member function.
// NOLINTNEXTLINE(performance-unnecessary-value-param,readability-convert-member-functions-to-static)
bool batch_file_reader::decompress(std::string file_name, std::ostream& out) {
    std::ifstream in(file_name, std::ios::binary);
    if (!in) {
        return false;
    }
    const std::vector<unsigned char> plain = sysipc::efi_decompressor::decompress(in);
    if (!plain.empty()) {
        // The bytes are text, and the standard stream writes chars.
        out.write(reinterpret_cast<const char*>(plain.data()),
                  static_cast<std::streamsize>(plain.size()));
        return true;
    }
    in.clear();
    in.seekg(0);
    // Inserting an empty file would mark `out` as failed.
    if (in.peek() != std::ifstream::traits_type::eof()) {
        out << in.rdbuf();
    }
    return true;
}

}  // namespace dp
