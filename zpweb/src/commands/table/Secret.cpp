#include "commands/table/Secret.h"

#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "sys/OwnersFile.h"

namespace zpweb {

namespace {

constexpr size_t LongestSecret = 255;

// Hides what is typed, while it lives.
class NoEcho {
public:
    NoEcho() : terminal_(::tcgetattr(STDIN_FILENO, &before_) == 0) {
        if (terminal_) {
            termios silent = before_;
            silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
        }
    }
    ~NoEcho() {
        if (terminal_) {
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
            std::cerr << '\n';
        }
    }
    NoEcho(const NoEcho&) = delete;
    NoEcho& operator=(const NoEcho&) = delete;

private:
    termios before_{};
    bool terminal_;
};

std::string firstLineOfInput() {
    std::string line;
    if (::isatty(STDIN_FILENO) == 1) {
        std::cerr << "Password: " << std::flush;
    }
    const NoEcho silent;
    std::getline(std::cin, line);
    return line;
}

Expected<std::string> secretOf(const Arguments& arguments) {
    if (arguments.hasSecret()) {
        return arguments.secret();
    }
    const std::string file = arguments[PasswordFile].value_or("-");
    if (file == "-") {
        return firstLineOfInput();
    }
    auto text = readNamedFile(file);
    return text.ok() ? Expected(text->substr(0, text->find('\n'))) : text.outcome();
}

}  // namespace

Outcome takeSecret(Arguments& arguments, Output& output) {
    auto read = secretOf(arguments);
    if (!read.ok()) {
        return read.outcome();
    }
    const std::string& secret = *read;
    const bool control = std::any_of(secret.begin(), secret.end(), [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
    });
    if (secret.empty() || secret.size() > LongestSecret || control) {
        return failure(
            Status::Usage,
            "password: it is empty, has more than 255 characters or a control character; expected "
            "one line on standard input or in --password-file");
    }
    output.hide(secret);
    arguments.setSecret(secret);
    return done();
}

}  // namespace zpweb
