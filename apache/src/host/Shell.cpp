#include "host/Shell.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

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

std::string commandLine(std::initializer_list<std::string_view> words) {
    std::string line;
    for (const std::string_view word : words) {
        if (!line.empty()) {
            line += ' ';
        }
        appendWord(line, word);
    }
    return line;
}

void run(std::initializer_list<std::string_view> words) {
    std::cout.flush();  // what the library printed comes before what the command prints
    static_cast<void>(std::system(commandLine(words).c_str()));
}

bool runThroughPipe(const std::string& command) {
    std::cout.flush();
    FILE* pipe = ::popen(command.c_str(), "re");
    if (pipe == nullptr) {
        return false;
    }
    while (std::fgetc(pipe) != EOF) {  // a closed pipe could end the command before its work is done
    }
    ::pclose(pipe);
    return true;
}

std::string firstLine(const std::string& command, size_t limit) {
    std::cout.flush();
    FILE* pipe = ::popen(command.c_str(), "re");
    if (pipe == nullptr) {
        return {};
    }
    std::string line;
    for (int c = std::fgetc(pipe); c != EOF && line.size() < limit; c = std::fgetc(pipe)) {
        line += static_cast<char>(c);
        if (c == '\n') {
            break;
        }
    }
    ::pclose(pipe);
    return line;
}

}  // namespace zp::host
