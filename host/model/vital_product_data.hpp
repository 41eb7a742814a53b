#ifndef DP_HOST_MODEL_VITAL_PRODUCT_DATA_HPP
#define DP_HOST_MODEL_VITAL_PRODUCT_DATA_HPP

#include <string>

namespace dp_host {

/// Whether `value` can stand in the server's vital product data: not empty, no control characters.
bool is_product_data_value(const std::string& value);

/// The text of the product data file `path` with `key`'s value replaced, or added when there is no
/// such key; everything else stays as it is. A missing file is an empty one. `problem` says why the
/// file can't be read.
std::string with_product_data(const std::string& path, const std::string& key,
                              const std::string& value, std::string& problem);

}  // namespace dp_host

#endif
