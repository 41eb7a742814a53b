#include <exec/security_wrap.hpp>

#include <iostream>

#include "snippets.hpp"

void snippets::exec(const std::string& /*folder*/) {
    //! [example]
    std::vector<std::string> words;
    std::vector<dp::security_wrap::redirection> redirections;
    unsigned flag = 0;
    if (dp::security_wrap::parse_commandline("verify \"image 1\"", words, redirections, flag)) {
        std::cout << words[0] << " of " << words[1] << '\n';
    }
    //! [example]
}
