#include "batch/batch_file_reader.hpp"

#include <fstream>
#include <istream>
#include <ostream>
#include <vector>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/batch_line.hpp"
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

// Reads the next line as nearly all are. False, and nothing is read, when it is another.
bool read_plain_line(line_source& lines, batch_file_entry& entry) {
    plain_line parts;
    if (!parts.split(lines.at_hand()) || parts.operation == "command"sv) {
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

// Reads a line whatever it looks like. False when more than one word follows its values.
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

}  // namespace

batch_file_reader::batch_file_reader(batch_file_intf* entry_processor)
    : processor(entry_processor) {}

int batch_file_reader::read_file(std::istream& in, registrar* reg) {
    if (processor == nullptr) {
        return 0;
    }
    int count = 0;
    // The entry lives as long as the file is read: a line that lacks words keeps the previous
    // line's.
    batch_file_entry entry;
    entry.name.parse({});
    line_source lines(in);
    for (;;) {
        const bool logs = log_enabled(log_level::trace_4);
        bool accepted = read_plain_line(lines, entry);
        if (!accepted) {
            std::string_view line;
            if (!lines.next(line)) {
                break;
            }
            if (holds_no_command(line)) {
                continue;
            }
            accepted = read_any_line(line, entry);
        }
        if (logs) {
            log_entry(entry);
        }
        if (accepted) {
            processor->process_entry(entry, reg);
            ++count;
            // Lines may be at hand still, but the processor may have put an end to the stream.
            if (!in.good()) {
                break;
            }
        }
    }
    return count;
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
