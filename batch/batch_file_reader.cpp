#include "batch/batch_file_reader.hpp"

#include <algorithm>
#include <fstream>
#include <istream>
#include <ostream>
#include <utility>
#include <vector>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/batch_file_loader.hpp"
#include "batch/batch_line.hpp"
#include "batch/line_source.hpp"
#include "batch/name_parts.hpp"
#include "common/likely_room.hpp"
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

// Makes room where a loader gathers entries; its list is the caller's and may be null.
void make_room(const batch_file_loader& loader, const line_source& lines, int count) {
    if (loader.entries != nullptr && loader.entries->size() == loader.entries->capacity()) {
        const std::size_t taken = static_cast<std::size_t>(count) + 1;
        make_likely_room(*loader.entries, lines.bytes_given() / taken, lines.bytes_left());
    }
}

}  // namespace

batch_file_reader::batch_file_reader(batch_file_intf* entry_processor)
    : processor(entry_processor) {}

int batch_file_reader::read_file(std::istream& in, registrar* reg) {
    int count = 0;
    // The entry lives as long as the file is read: a line that lacks words keeps the previous
    // line's.
    batch_file_entry entry;
    entry.name.parse({});
    line_source lines(in);
    const auto* const loader = dynamic_cast<batch_file_loader*>(processor);
    for (std::string_view line; lines.next(line);) {
        if (holds_no_command(line)) {
            continue;
        }
        batch_line words(line);
        for (std::string* const word :
             {&entry.status, &entry.detail, &entry.tid, &entry.operation}) {
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
        if (log_enabled(log_level::trace_4)) {
            log_entry(entry);
        }
        words.take_word();
        if (words.empty()) {
            if (loader != nullptr) {
                make_room(*loader, lines, count);
            }
            processor->process_entry(entry, reg);
            ++count;
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
