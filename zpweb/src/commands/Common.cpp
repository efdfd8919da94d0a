#include "commands/Common.h"

#include <sys/mman.h>
#include <termios.h>

#include <algorithm>
#include <array>
#include <iostream>

#include "Results.h"
#include "conf/Line.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "sys/File.h"

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

std::string_view textOf(std::string_view line) { return zp::conf::skipSpace(withoutReturn(line)); }

}  // namespace

Expected<std::vector<Place>> findSite(const Configuration& configuration, const std::string& name) {
    std::vector<Place> places = configuration.find(name);
    if (places.empty()) {
        return failure(Status::NotFound, "site " + inQuotes(readableHostName(name)) + ": not in " +
                                             configuration.main().path() + " or what it includes");
    }
    return places;
}

Expected<Place> findRunning(const Configuration& configuration, const std::string& name) {
    const auto places = findSite(configuration, name);
    if (!places.ok()) {
        return places.outcome();
    }
    for (const Place& place : *places) {
        if (!place.block->stopped) {
            return place;
        }
    }
    return failure("site " + inQuotes(name) + " is stopped: start it first");
}

std::vector<const ConfigurationFile*> filesOf(const std::vector<Place>& places) {
    std::vector<const ConfigurationFile*> files;
    for (const Place& place : places) {
        if (std::find(files.begin(), files.end(), place.file) == files.end()) {
            files.push_back(place.file);
        }
    }
    return files;
}

Readable::Readable(const ConfigurationFile& file)
    : copy_(::memfd_create("configuration", MFD_CLOEXEC)),
      path_("/proc/self/fd/" + std::to_string(copy_.number())) {
    Scope scope = Scope::additions(file.lines());
    hideComments(scope, file);
    const std::string text = partOf(file.lines(), scope);
    for (size_t at = 0; at < text.size();) {
        const ssize_t count = ::write(copy_.number(), text.data() + at, text.size() - at);
        if (count <= 0) {
            return;
        }
        at += static_cast<size_t>(count);
    }
}

void hideComments(Scope& scope, const ConfigurationFile& file) {
    scope.hidden.assign(file.lines().size(), false);
    for (const Block& block : file.blocks()) {
        for (size_t i = block.lines.first; !block.stopped && i < block.lines.end; ++i) {
            scope.hidden[i] = textOf(file.lines()[i]).starts_with('#');
        }
    }
}

Scope siteScope(const ConfigurationFile& file, const std::string& name, const LineTest& test) {
    Scope scope;
    scope.mayChange.assign(file.lines().size(), false);
    for (const Block& block : file.blocks()) {
        if (block.name.empty() || !sameHost(block.name, name)) {
            continue;
        }
        scope.part.push_back(block.lines);
        for (size_t i = block.lines.first; i < block.lines.end; ++i) {
            scope.mayChange[i] = !test || test(textOf(file.lines()[i]));
        }
    }
    scope.mayAdd = test;
    hideComments(scope, file);
    return scope;
}

Scope sectionScope(const ConfigurationFile& file, const std::string& name, const LineTest& opens) {
    Scope scope = siteScope(file, name, [](std::string_view) { return false; });
    scope.mayAdd = {};
    for (const Range& range : scope.part) {
        bool inside = false;
        for (size_t i = range.first; i < range.end; ++i) {
            const std::string_view text = textOf(file.lines()[i]);
            inside = inside || opens(text);
            scope.mayChange[i] = inside;
            inside = inside && !zp::conf::beginsIgnoringCase(text, zp::conf::keyword::DirectoryEnd) &&
                     !zp::conf::beginsIgnoringCase(text, zp::conf::keyword::IfModuleEndTag);
        }
    }
    return scope;
}

void allowLines(Scope& scope, const ConfigurationFile& file, const LineTest& test) {
    for (size_t i = 0; i < file.lines().size(); ++i) {
        if (test(textOf(file.lines()[i]))) {
            scope.mayChange[i] = true;
        }
    }
}

LineTest beginsWithAny(std::vector<std::string> keywords) {
    return [keywords = std::move(keywords)](std::string_view text) {
        return std::any_of(keywords.begin(), keywords.end(), [text](const std::string& keyword) {
            return zp::conf::beginsIgnoringCase(text, keyword) &&
                   (text.size() == keyword.size() || zp::conf::isSpace(text[keyword.size()]));
        });
    };
}

LineTest opensFolder(const std::string& path) {
    return [path](std::string_view text) {
        const zp::conf::Line line(text);
        if (!line.begins(zp::conf::keyword::Directory)) {
            return false;
        }
        const std::string_view argument = line.argumentOf(zp::conf::keyword::Directory);
        return zp::conf::equalIgnoringCase(unquoted(argument.substr(0, argument.rfind('>'))), path);
    };
}

Outcome resultOf(const std::string& operation, int result, std::initializer_list<int> good) {
    if (std::find(good.begin(), good.end(), result) != good.end()) {
        return done();
    }
    std::string reason;
    switch (result) {
        case zp::result::NoConfigurationPath:
            reason = ": no configuration file";
            break;
        case zp::result::ConfigurationNotOpened:
            reason = ": the staged file could not be read or written (is the disk full?)";
            break;
        case zp::result::ScratchNotOpened:
            reason = ": its scratch file could not be written (is the disk full?)";
            break;
        default:
            break;
    }
    return failure(operation + " answered " + std::to_string(result) + reason);
}

Expected<std::string> readSecret(const Arguments& arguments, Output& output) {
    std::string secret;
    if (arguments.secret) {
        secret = *arguments.secret;
    } else if (arguments.has("--password-file") && arguments.one("--password-file") != "-") {
        auto text = readFile(arguments.one("--password-file"));
        if (!text.ok()) {
            return text.outcome();
        }
        secret = text->substr(0, text->find('\n'));
    } else {
        secret = firstLineOfInput();
    }
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
    return secret;
}

Parameter passwordFileOption() {
    return {"--password-file", Kind::InputFile, "FILE",
            "Take the password from this file's first line (default: from standard input)"};
}

NameValueVector assignments(const std::vector<std::string>& values) {
    NameValueVector pairs;
    for (const std::string& value : values) {
        const size_t sign = value.find('=');
        pairs.push_back({value.substr(0, sign), value.substr(sign + 1)});
    }
    return pairs;
}

}  // namespace zpweb
