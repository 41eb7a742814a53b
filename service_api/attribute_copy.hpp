#ifndef DP_SERVICE_API_ATTRIBUTE_COPY_HPP
#define DP_SERVICE_API_ATTRIBUTE_COPY_HPP

#include <deque>
#include <string>

#include "bios/dp_api.h"

namespace dp_service {

/// A copy of an attribute with its texts, which the library keeps only until the service is
/// initialized again.
class attribute_copy {
  public:
    explicit attribute_copy(const dp_attribute& attribute);
    attribute_copy(const attribute_copy&) = delete;
    attribute_copy& operator=(const attribute_copy&) = delete;
    ~attribute_copy() = default;

    /// Valid as long as this object.
    [[nodiscard]] const dp_attribute& get() const { return attribute_; }

  private:
    dp_attribute attribute_;
    std::deque<std::string> texts_;
};

}  // namespace dp_service

#endif
