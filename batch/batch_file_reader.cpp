#include "batch/batch_file_reader.hpp"

#include <algorithm>
#include <fstream>
#include <istream>
#include <ostream>
#include <utility>
#include <vector>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/batch_line.hpp"
#include "common/log.hpp"
#include "platform/sysipc/efi_decompressor.hpp"

namespace dp {
namespace {

bool holds_no_command(const std::string& line) {
    return line.empty() || line.front() == '#' || line.find_first_not_of(' ') == std::string::npos;
}

void log_entry(const batch_file_entry& entry) {
    const auto& name = entry.name;
    log_line(log_level::trace_4, "LOG", "batch_file_reader::read_file, tid=", entry.tid,
             ", setting_name=", name.setting, name.instance.empty() ? "" : ".", name.instance,
             ", setting_value_in=", entry.value_in);
}

}  // namespace

batch_file_reader::batch_file_reader(batch_file_intf* entry_processor)
    : processor(entry_processor) {}

int batch_file_reader::read_file(std::istream& in, registrar* reg) {
    int count = 0;
    // All three live as long as the file is read: a line that lacks words keeps the previous
    // line's.
    batch_file_entry entry;
    std::string name;
    std::string line;
    while (in.good()) {
        std::getline(in, line);
        entry.value_in.clear();
        entry.value_out.clear();
        if (holds_no_command(line)) {
            continue;
        }
        batch_line words(line);
        words.take_word(entry.status);
        words.take_word(entry.detail);
        words.take_word(entry.tid);
        words.take_word(entry.operation);
        if (entry.operation == "command") {
            words.take_word(entry.command);
        }
        words.take_word(name);
        entry.name.parse(name);
        words.take_value(entry.value_in);
        words.take_value(entry.value_out);
        log_entry(entry);
        words.skip_word();
        if (words.at_end()) {
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
