#include "batch/batch_file_reader.hpp"

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <istream>
#include <ostream>
#include <string_view>
#include <vector>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/batch_line.hpp"
#include "batch/dropped_line_listener.hpp"
#include "batch/line_source.hpp"
#include "batch/name_parts.hpp"
#include "batch/plain_line.hpp"
#include "batch/stored_text.hpp"
#include "common/log.hpp"
#include "platform/sysipc/efi_decompressor.hpp"

namespace dp {
namespace {

using namespace std::string_view_literals;

bool holds_no_command(std::string_view line) {
    return line.empty() || line.front() == '#' ||
           line.find_first_not_of(' ') == std::string_view::npos;
}

void log_entry(const batch_file_entry& entry) {
    const auto& name = entry.name;
    log_line(log_level::trace_4, "LOG", "batch_file_reader::read_file, tid=", entry.tid,
             ", setting_name=", name.setting, name.instance.empty() ? "" : ".", name.instance,
             ", setting_value_in=", entry.value_in);
}

// Fast path for the common line form. False, and nothing is read, for any other form and for a line
// of more than `longest_line` bytes.
bool read_plain_line(line_source& lines, std::size_t longest_line, batch_file_entry& entry) {
    plain_line parts;
    if (!parts.split(lines.at_hand()) || parts.operation == "command"sv ||
        parts.size - 1 > longest_line) {
        return false;
    }
    lines.take(parts.size);
    store_short_text(entry.status, parts.status);
    store_short_text(entry.detail, parts.detail);
    store_short_text(entry.operation, parts.operation);
    parse_name(parts.name, entry.name);
    store_text(entry.tid, parts.tid);
    store_text(entry.value_in, parts.value_in);
    store_text(entry.value_out, parts.value_out);
    return true;
}

// Reads a line of any form. False when more than one word follows its values.
bool read_any_line(std::string_view line, batch_file_entry& entry) {
    batch_line words(line);
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
    line_source lines(in);
    for (;;) {
        const bool logs = log_enabled(log_level::trace_4);
        std::string_view line;
        bool is_whole = true;
        bool accepted = read_plain_line(lines, longest_line, entry);
        if (!accepted) {
            if (!lines.next(line, longest_line, is_whole)) {
                break;
            }
            if (holds_no_command(line)) {
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

// The copy is part of the operation's signature, and so is being the object's.
// NOLINTNEXTLINE(performance-unnecessary-value-param,readability-convert-member-functions-to-static)
bool batch_file_reader::decompress(std::string file_name, std::ostream& out) {
    std::ifstream in(file_name, std::ios::binary);
    if (!in) {
        return false;
    }
    const std::vector<unsigned char> plain = sysipc::efi_decompressor::decompress(in);
    if (!plain.empty()) {
        // The bytes are text; the standard stream writes chars.
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
