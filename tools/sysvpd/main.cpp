#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>

#include "service_api/server_paths.hpp"
#include "support/command_line.hpp"
#include "support/program_main.hpp"

// Stand-in for the board's reader of vital product data, which is a text file here.

namespace {

/// The value of the first line KEY=VALUE in `in` whose key is `key`.
std::optional<std::string> find_value(std::istream& in, const std::string& key) {
    std::string line;
    while (std::getline(in, line)) {
        const auto equals = line.find('=');
        if (equals != std::string::npos && line.compare(0, equals, key) == 0) {
            return line.substr(equals + 1);
        }
    }
    return std::nullopt;
}

int run(int argc, char** argv) {
    dp_support::command_line program("Prints one item of the server's vital product data.");
    std::string key;
    program.add_option("-g", key, "Print the value of KEY; UEFIID is the BIOS's build id",
                       {.value_name = "KEY", .required = true});
    const std::string file = dp_service::server_paths::vital_product_data.str();
    program.set_footer("The data is in " + file +
                       ", as lines KEY=VALUE.\n"
                       "Exit codes: 0 done, 1 no such item or no data, 2 wrong usage.");
    if (const auto code = program.parse(argc, argv)) {
        return *code;
    }

    std::ifstream in(file);
    if (!in) {
        std::cerr << "sysvpd: cannot read " << file << ": " << std::strerror(errno) << '\n';
        return dp_support::exit_code::failed;
    }
    const auto value = find_value(in, key);
    if (in.bad()) {
        std::cerr << "sysvpd: cannot read " << file << '\n';
        return dp_support::exit_code::failed;
    }
    if (!value) {
        std::cerr << "sysvpd: " << file << " has no " << key << '\n';
        return dp_support::exit_code::failed;
    }
    std::cout << *value << '\n';
    if (!dp_support::flushed(std::cout)) {
        std::cerr << "sysvpd: cannot write the value\n";
        return dp_support::exit_code::failed;
    }
    return dp_support::exit_code::done;
}

}  // namespace

int main(int argc, char** argv) {
    return dp_support::guarded_main("sysvpd", run, argc, argv);
}
