#include "service_api/template_cache.hpp"

#include <cstdio>

namespace dp_service::template_cache {

void discard() {
    for (const auto& file : files) {
        static_cast<void>(std::remove(file.str().c_str()));
    }
}

}  // namespace dp_service::template_cache
