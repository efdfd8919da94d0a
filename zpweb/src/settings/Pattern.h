// Texts within the patterns and targets of rewrite rules.
#pragma once

#include <string>

namespace zpweb {

// A regular expression that matches the text and nothing else.
inline std::string literal(const std::string& text) {
    constexpr const char* Special = "\\^$.[]|()?*+{}#";
    std::string pattern;
    for (const char c : text) {
        pattern += std::string(Special).find(c) == std::string::npos ? "" : "\\";
        pattern += c;
    }
    return pattern;
}

// A target that is the text: a rule takes "%1" and "$1" for what was matched.
inline std::string replacement(const std::string& text) {
    std::string target;
    for (const char c : text) {
        target += c == '%' || c == '$' || c == '\\' ? "\\" : "";
        target += c;
    }
    return target;
}

}  // namespace zpweb
