#include "service_api/choice_list.hpp"

namespace dp_service::choice_list {

std::vector<std::string> split(const std::string& chc) {
    std::vector<std::string> choices;
    if (chc.empty()) {
        return choices;
    }
    choices.emplace_back();
    for (std::size_t i = 0; i < chc.size(); ++i) {
        if (chc[i] == ',') {
            choices.emplace_back();
        } else if (chc[i] == '\\' && i + 1 < chc.size()) {
            choices.back() += chc[++i];
        } else {
            choices.back() += chc[i];
        }
    }
    return choices;
}

std::string join(const std::vector<std::string>& choices) {
    std::string chc;
    for (const auto& choice : choices) {
        if (&choice != &choices.front()) {
            chc += ',';
        }
        for (const char c : choice) {
            if (c == ',' || c == '\\') {
                chc += '\\';
            }
            chc += c;
        }
    }
    return chc;
}

}  // namespace dp_service::choice_list
