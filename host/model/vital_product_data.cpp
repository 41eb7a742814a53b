#include "host/model/vital_product_data.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "host/process/trusted_file.hpp"
#include "support/checked_streams.hpp"

namespace dp_host {
namespace {

constexpr std::size_t longest_file = std::size_t{1024} * 1024;

}  // namespace

bool is_product_data_value(const std::string& value) {
    return !value.empty() && std::none_of(value.begin(), value.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == '\x7F';
    });
}

dp_support::result<std::string> with_product_data(const std::string& path, const std::string& key,
                                                  const std::string& value) {
    const auto before = read_trusted_file(path, longest_file);
    if (!before && before.code() != ENOENT) {
        return before.error();
    }
    const std::string begin = key + '=';
    dp_support::checked_istringstream lines(before ? *before : std::string());
    std::string after;
    bool is_there = false;
    for (std::string line; std::getline(lines, line); after += '\n') {
        const bool is_key = line.starts_with(begin);
        after += is_key && !is_there ? begin + value : line;
        is_there = is_there || is_key;
    }
    return is_there ? after : after + begin + value + '\n';
}

}  // namespace dp_host
