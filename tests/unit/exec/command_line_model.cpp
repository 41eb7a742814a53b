#include "tests/unit/exec/command_line_model.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace test {
namespace {

enum class kinds { gap, bare, quoted, arrow, double_arrow, refusal };

struct token {
    kinds kind;
    std::string text;
};

std::string without_trailing_spaces(const std::string& text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// The part of a line that is examined; nothing when it consists of spaces and one "&".
std::optional<std::string> visible_part(const std::string& line) {
    std::string command = without_trailing_spaces(line);
    if (!command.empty() && command.back() == '&') {
        command.pop_back();
        command = without_trailing_spaces(command);
    }
    if (command.empty()) {
        return std::nullopt;
    }
    return line.substr(0, command.size() - command.find_first_not_of(' '));
}

// The quoted word whose opening quote is before `at`; moves `at` past the closing quote. Nothing
// when the text ends first.
std::optional<token> quoted_word(const std::string& text, std::size_t& at) {
    std::string word;
    while (at < text.size()) {
        std::string unit(1, text[at]);
        if (unit == "\"") {
            ++at;
            return word.empty() ? token{kinds::refusal, "no parameter between quotes"}
                                : token{kinds::quoted, word};
        }
        if (unit == "\\") {
            unit = text.substr(at, 2);
            if (unit != "\\\"" && unit != "\\\\") {
                return token{kinds::refusal, "unknown escape character"};
            }
        }
        if (word.size() >= 127) {
            return token{kinds::refusal, "parameter is too long"};
        }
        word += unit.back();
        at += unit.size();
    }
    return std::nullopt;
}

token operator_token(const std::string& text, std::size_t& at) {
    if (text.compare(at, 2, ">>") == 0) {
        at += 2;
        return {kinds::double_arrow, ""};
    }
    switch (text[at++]) {
        case '>':
            return {kinds::arrow, ""};
        case '<':
            return {kinds::refusal, "redirect input is not supported"};
        case '|':
            return {kinds::refusal, "pipe is not supported"};
        default:
            return {kinds::refusal, "escape char appear out of quotes"};
    }
}

std::vector<token> tokens_of(const std::string& text) {
    std::vector<token> tokens;
    std::size_t at = 0;
    while (at < text.size() && (tokens.empty() || tokens.back().kind != kinds::refusal)) {
        if (text[at] == ' ') {
            at = std::min(text.find_first_not_of(' ', at), text.size());
            tokens.push_back({kinds::gap, ""});
        } else if (text[at] == '"') {
            const bool touches_word = !tokens.empty() && tokens.back().kind == kinds::bare;
            ++at;
            const auto word =
                touches_word ? token{kinds::refusal, "quotes appears in the middle of parameter"}
                             : quoted_word(text, at);
            if (!word) {
                break;
            }
            tokens.push_back(*word);
        } else if (std::string("<|>\\").find(text[at]) != std::string::npos) {
            tokens.push_back(operator_token(text, at));
        } else {
            const std::size_t end = std::min(text.find_first_of(" \"\\<|>", at), text.size());
            if (end - at > 127) {
                tokens.push_back({kinds::refusal, "parameter is too long"});
            } else {
                tokens.push_back({kinds::bare, text.substr(at, end - at)});
            }
            at = end;
        }
    }
    return tokens;
}

}  // namespace

command_line_outcome model_command_line(const std::string& line) {
    command_line_outcome outcome;
    const auto text = visible_part(line);
    if (!text) {
        outcome.refusal = "chomp command line failed";
        return outcome;
    }
    const std::vector<token> tokens = tokens_of(*text);
    std::optional<command_line_outcome::redirection> pending;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const token& t = tokens[i];
        const bool arrow_follows =
            i + 1 < tokens.size() &&
            (tokens[i + 1].kind == kinds::arrow || tokens[i + 1].kind == kinds::double_arrow);
        const bool is_arrow = t.kind == kinds::arrow || t.kind == kinds::double_arrow;
        if (t.kind == kinds::refusal || (is_arrow && pending)) {
            outcome.refusal = t.kind == kinds::refusal ? t.text : "redirection parse error";
            return outcome;
        }
        if (is_arrow) {
            std::string source = "1";
            const bool touched = i > 0 && tokens[i - 1].kind == kinds::bare;
            if (touched) {
                if (tokens[i - 1].text.find_first_not_of("0123456789") == std::string::npos) {
                    source = tokens[i - 1].text;
                } else {
                    outcome.params.push_back(tokens[i - 1].text);
                }
            } else if (!outcome.params.empty() &&
                       (outcome.params.back() == "1" || outcome.params.back() == "2")) {
                source = outcome.params.back();
                outcome.params.pop_back();
            }
            pending = {source, "", t.kind == kinds::arrow ? 1 : 2};
        } else if (t.kind == kinds::quoted || (t.kind == kinds::bare && !arrow_follows)) {
            if (pending) {
                std::get<1>(*pending) = t.text;
                outcome.redirections.push_back(*pending);
                pending.reset();
            } else {
                outcome.params.push_back(t.text);
            }
        }
    }
    return outcome;
}

}  // namespace test
