#include "host/Shell.h"

#include <string_view>

namespace zp::host {

namespace {

constexpr std::string_view Plain =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+=:,./-";

void appendWord(std::string& line, std::string_view word) {
    if (!word.empty() && word.find_first_not_of(Plain) == std::string_view::npos) {
        line += word;
        return;
    }
    line += '\'';
    for (const char c : word) {
        if (c == '\'') {
            line += "'\\''";
        } else {
            line += c;
        }
    }
    line += '\'';
}

}  // namespace

std::string commandLine(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        if (!line.empty()) {
            line += ' ';
        }
        appendWord(line, word);
    }
    return line;
}

}  // namespace zp::host
