#include <batch/batch_file_checker.hpp>
#include <batch/batch_file_reader.hpp>
#include <iostream>

int main() {
    dp::batch_file_checker checker;
    dp::batch_file_reader reader(&checker);
    reader.read_file(std::cin, nullptr);
    std::cout << checker.good << " clean set commands, " << checker.bad << " other lines\n";
    return checker.bad == 0 ? 0 : 1;
}
