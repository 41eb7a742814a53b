#ifndef DP_HOST_MODEL_VITAL_PRODUCT_DATA_HPP
#define DP_HOST_MODEL_VITAL_PRODUCT_DATA_HPP

#include <string>

#include "support/result.hpp"

namespace dp_host {

/// Whether `value` is a valid value of vital product data: not empty, without control characters.
bool is_product_data_value(const std::string& value);

/// The content of the product data file `path` with `value` as the value of `key`, which is added
/// if it is missing. Everything else is unchanged. A missing file counts as empty.
dp_support::result<std::string> with_product_data(const std::string& path, const std::string& key,
                                                  const std::string& value);

}  // namespace dp_host

#endif
