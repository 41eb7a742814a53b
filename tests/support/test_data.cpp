#include "tests/support/test_data.hpp"

#include <unistd.h>

#include <string>

namespace test {

std::string data_file(const std::string& name) {
    return DP_TEST_DATA_DIR "/" + name;
}

std::string missing_data(const std::string& name) {
    if (std::string(DP_TEST_DATA_DIR).empty()) {
        return "DP_TEST_DATA_DIR is not set: no real data to test with";
    }
    const std::string path = data_file(name);
    return access(path.c_str(), R_OK) == 0 ? "" : "cannot read " + path;
}

}  // namespace test
