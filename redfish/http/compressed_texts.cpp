#include "redfish/http/compressed_texts.hpp"

#include <utility>

namespace dp_redfish {

std::shared_ptr<const std::string> compressed_texts::find(
    const std::shared_ptr<const std::string>& text) const {
    for (const entry& kept : entries_) {
        // A weak pointer that has expired never compares equal to an object that exists.
        if (kept.text.lock() == text) {
            return kept.compressed;
        }
    }
    return nullptr;
}

void compressed_texts::add(const std::shared_ptr<const std::string>& text,
                           std::shared_ptr<const std::string> compressed) {
    std::erase_if(entries_, [](const entry& kept) { return kept.text.expired(); });
    if (text.use_count() < 2) {
        return;
    }
    if (entries_.size() == most_texts) {
        entries_.erase(entries_.begin());
    }
    entries_.push_back({text, std::move(compressed)});
}

}  // namespace dp_redfish
