#include "host/model/values_file.hpp"

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_settings_rdr.hpp"
#include "common/io_loops.hpp"
#include "common/quoting.hpp"
#include "host/process/bounded_lock.hpp"
#include "host/process/text_of.hpp"
#include "host/process/trusted_file.hpp"
#include "platform/sysipc/efi_decompressor.hpp"
#include "service_api/values_seal.hpp"
#include "settings/configuration.hpp"
#include "support/checked_streams.hpp"

namespace dp_host {
namespace {

// A compressed image begins with the sizes of the rest and of its text, little-endian.
constexpr std::size_t image_header_size = 8;

std::uint64_t word_at(const std::string& bytes, std::size_t at) {
    std::uint64_t word = 0;
    for (std::size_t i = 4; i-- > 0;) {
        word = word << 8U | static_cast<unsigned char>(bytes[at + i]);
    }
    return word;
}

bool may_be_image(const std::string& bytes) {
    return bytes.size() > image_header_size &&
           word_at(bytes, 0) + image_header_size <= bytes.size();
}

// The text of a file of values. A read that fails is a failure: what was read so far would look
// like a damaged file, and its values would be replaced by older ones.
dp_support::result<std::string> read_text(const std::string& path) {
    if (const auto file = open_trusted_file(path); !file) {
        return file.error();
    }
    constexpr std::size_t limit = dp_service::values_seal::size_limit;
    const dp_support::failure too_large{text_of(path, " is larger than ", limit, " bytes"), EFBIG};
    const auto lock = bounded_lock::acquire(path, bounded_lock::kind::shared);
    if (!lock) {
        return lock.error();
    }
    auto file = open_trusted_file(path);
    if (!file) {
        return file.error();
    }
    std::string bytes;
    // A huge file is refused before its bytes are read.
    if (file->size > limit) {
        return too_large;
    }
    if (!dp::read_all(file->descriptor.get(), limit, bytes)) {
        return errno == EFBIG ? too_large : dp_support::system_failure("read", path, errno);
    }
    if (!may_be_image(bytes)) {
        return bytes;
    }
    if (word_at(bytes, 4) > limit) {
        return too_large;
    }
    dp_support::checked_istringstream image(bytes);
    const auto text = sysipc::efi_decompressor::decompress(image);
    return text.empty() ? bytes : std::string(text.begin(), text.end());
}

}  // namespace

std::size_t write_set_lines(const value_store& store, std::ostream& out) {
    std::size_t count = 0;
    dp::batch_file_entry entry;
    entry.status = "0";
    entry.detail = "0";
    entry.tid = "uefi";
    entry.operation = "set";
    store.for_each([&](value_store::key at, const std::string& value) {
        entry.name = at.name();
        entry.value_in = dp::add_backslash(value);
        out << entry << '\n';
        ++count;
    });
    return count;
}

std::string write_values(const value_store& store, std::ostream& out) {
    dp_support::checked_ostringstream text;
    text << dp_service::values_seal::begin_line << '\n';
    const std::size_t count = write_set_lines(store, text);
    const std::string end = dp_service::values_seal::end_line(text.view(), count);
    out << text.view() << end << '\n';
    return end.substr(end.rfind(' ') + 1);
}

dp_support::result<values_content> read_values(const std::string& path) {
    const auto plain = read_text(path);
    if (!plain) {
        return plain.error();
    }
    auto examined = dp_service::values_seal::examine(*plain);
    if (examined.found == dp_service::values_seal::completeness::damaged) {
        return dp_support::failure{path + " is damaged: " + examined.problem, EBADMSG};
    }
    std::vector<std::string> names;
    std::vector<std::string> texts;
    dp_support::checked_istringstream lines(*plain);
    dp::batch_file_settings_rdr(&names, &texts).read_file(lines, nullptr);
    values_content content;
    content.version = std::move(examined.version);
    content.values.reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        content.values.emplace_back(std::move(names[i]), std::move(texts[i]));
    }
    return content;
}

}  // namespace dp_host
