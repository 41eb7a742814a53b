#ifndef DP_TESTS_UNIT_REDFISH_HTTP_GUNZIP_HPP
#define DP_TESTS_UNIT_REDFISH_HTTP_GUNZIP_HPP

#include <string>

namespace test {

/// The text that was compressed; "(not gzip)" when it is malformed or something follows it.
std::string gunzip(const std::string& compressed);

}  // namespace test

#endif
