#include "tools/dpctl/status/status_follower.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace dpctl {
namespace {

using record_list = std::vector<status_record>;

bool same_line(const status_record& a, const status_record& b) {
    return a.line == b.line;
}

// Whether `records` is the beginning of `seen`, or all of it.
bool is_beginning(const record_list& records, const record_list& seen) {
    return records.size() <= seen.size() &&
           std::equal(records.begin(), records.end(), seen.begin(), same_line);
}

// How many of the first `records` are the last ones of `seen`; 0 if `records` does not continue it.
std::size_t already_seen(const record_list& records, const record_list& seen) {
    for (std::size_t count = std::min(records.size(), seen.size()); count > 0; --count) {
        const auto end = records.begin() + static_cast<std::ptrdiff_t>(count);
        if (same_line(records[count - 1], seen.back()) &&
            std::equal(records.begin(), end, seen.end() - static_cast<std::ptrdiff_t>(count),
                       same_line)) {
            return count;
        }
    }
    return 0;
}

bool is_finished(const record_list& records) {
    return std::any_of(records.begin(), records.end(), [](const status_record& record) {
        return record.what == status_record::kind::done;
    });
}

}  // namespace

status_follower::news status_follower::update(const file_snapshot& file, bool is_settled) {
    if (!file.text) {
        // If the file comes back, it is a new one.
        version_.reset();
        seen_.clear();
        return {};
    }
    if (version_ == file.version) {
        return {};
    }
    auto records = read_records(*file.text).records;
    news result = compare(records, is_settled);
    if (!result.unsure) {
        version_ = file.version;
        seen_ = std::move(records);
    }
    return result;
}

status_follower::news status_follower::compare(const record_list& records, bool is_settled) const {
    if (seen_.empty()) {
        return {records, false, false};
    }
    if (is_beginning(records, seen_)) {
        if (!is_settled) {
            return {{}, false, true};
        }
        // The same transaction, not finished yet: the file was only rewritten.
        if (records.size() == seen_.size() && !is_finished(seen_)) {
            return {};
        }
        return {records, false, false};
    }
    const std::size_t known = already_seen(records, seen_);
    if (known > 0) {
        return {
            {records.begin() + static_cast<std::ptrdiff_t>(known), records.end()}, false, false};
    }
    const bool has_gap = !records.front().is_first() && !is_finished(seen_) &&
                         records.front().transaction == seen_.back().transaction;
    return {records, has_gap, false};
}

}  // namespace dpctl
