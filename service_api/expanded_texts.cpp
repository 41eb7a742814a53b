#include "service_api/expanded_texts.hpp"

#include <cstdio>

namespace expanded_texts {

void forget() {
    for (const auto& text : all) {
        static_cast<void>(std::remove(text.str().c_str()));
    }
}

}  // namespace expanded_texts
