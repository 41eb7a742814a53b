#include "redfish/protocol/etag.hpp"

#include <cstddef>

#include "redfish/protocol/field_text.hpp"
#include "service_api/fnv1a_64.hpp"

namespace dp_redfish {
namespace {

std::string_view without_weakness(std::string_view etag) {
    return etag.starts_with("W/") ? etag.substr(2) : etag;
}

}  // namespace

std::string etag_of_text(std::string_view text) {
    dp_service::fnv1a_64 hash;
    hash.add(text);
    return etag_of_version(hash.str());
}

std::string etag_of_version(std::string_view version) {
    std::string etag = "\"";
    etag += version;
    return etag + '"';
}

bool lists_etag(std::string_view header, std::string_view etag) {
    // No ETag of this service contains a comma.
    const std::string_view wanted = without_weakness(etag);
    for (;;) {
        const std::size_t comma = header.find(',');
        const std::string_view listed = without_spaces_around(header.substr(0, comma));
        if (listed == "*" || (!listed.empty() && without_weakness(listed) == wanted)) {
            return true;
        }
        if (comma == std::string_view::npos) {
            return false;
        }
        header.remove_prefix(comma + 1);
    }
}

}  // namespace dp_redfish
