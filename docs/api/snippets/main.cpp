// Runs the examples of the API documentation's pages: snippets FOLDER
#include "snippets.hpp"

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    for (auto* const run : {snippets::common, snippets::settings, snippets::transactions,
                            snippets::batch, snippets::logs, snippets::exec, snippets::bios,
                            snippets::platform, snippets::service_api}) {
        run(argv[1]);
    }
    return 0;
}
