#include "shared/FolderProtection.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <ostream>

#include "FileHandling.h"
#include "conf/ScratchFile.h"
#include "conf/Text.h"
#include "host/Paths.h"
#include "host/ReadAll.h"
#include "host/Shell.h"
#include "shared/ParameterFile.h"

namespace zp {

namespace {

constexpr char Delimiter = ' ';
constexpr char CommentMark = '#';
constexpr const char* CopySuffix = ".zpnew";

using State = host::HeldFile::State;

}  // namespace

FolderProtection::FolderProtection(const std::string& folder)
    : accessFile_(folder + "/.htaccess"),
      passwordFile_(folder + "/.htpasswd"),
      directives_{{{"AuthUserFile", passwordFile_.path()},
                   {"AuthName", "\"Restricted Area\""},
                   {"AuthType", "Basic"},
                   {"require", "valid-user"}}} {}

std::optional<std::string> FolderProtection::missingLines() const {
    std::string missing;
    for (const auto& [name, value] : directives_) {
        const auto isThere = hasParameter(accessFile_.path(), name, value, Delimiter, CommentMark);
        if (!isThere) {
            return std::nullopt;
        }
        if (!*isThere) {
            missing.append(name).append(1, Delimiter).append(value).append("\n");
        }
    }
    return missing;
}

bool FolderProtection::demandPassword() const {
    const host::Descriptor old = accessFile_.open(O_RDONLY);
    if (!conf::isOneLine(accessFile_.path()) || accessFile_.directory() == nullptr ||
        (!old.isOpen() && accessFile_.state() != State::Missing)) {
        return false;
    }
    const auto missing = missingLines();
    if (!missing || missing->empty()) {
        return missing.has_value();
    }
    const auto text = old.isOpen() ? host::readAll(old.number()) : std::string();
    if (!text) {
        return false;
    }
    conf::ScratchFile copy(accessFile_.directory()->descriptor(), accessFile_.name() + CopySuffix);
    copy.copyText(*text);
    copy.copyText(text->empty() || text->ends_with('\n') ? "" : "\n");
    copy.copyText(*missing);
    return copy.isOpen() && (old.isOpen() || ::fchmod(copy.descriptor(), ReadOnlyForAll) == 0) &&
           copy.renameTo(accessFile_.name(), old.number());
}

bool FolderProtection::lift() const {
    FileHandling file;
    const std::string& path = accessFile_.path();
    return std::all_of(directives_.begin(), directives_.end(), [&](const Directive& directive) {
        const auto& [name, value] = directive;
        const auto isThere = hasParameter(path, name, value, Delimiter, CommentMark);
        return isThere && (!*isThere || file.delParamFromFile(path, name, value, Delimiter, CommentMark));
    });
}

bool FolderProtection::addUser(const std::string& user, const std::string& password,
                               Command command) const {
    const char* option = passwordFile_.isPresent() ? "-b" : "-cb";
    const auto line = [&](const std::string& file) {
        return host::commandLine({host::program::PasswordTool, option, file, user, password});
    };
    return changePasswords(line, command);
}

bool FolderProtection::deleteUser(const std::string& user, Command command) const {
    const auto line = [&](const std::string& file) {
        return host::commandLine({host::program::PasswordTool, "-D", file, user});
    };
    return changePasswords(line, command);
}

// The tool gets the path of an open file: by its name it would write through a link of the owner's.
bool FolderProtection::changePasswords(const CommandLine& line, Command command) const {
    if (command == Command::Shown) {
        host::out() << "command=" << line(passwordFile_.path()) << '\n';
    }
    const host::Descriptor old = passwordFile_.open(O_RDONLY);
    const auto text = old.isOpen() ? host::readAll(old.number()) : std::string();
    if (!text || passwordFile_.directory() == nullptr) {
        return false;
    }
    conf::ScratchFile copy(passwordFile_.directory()->descriptor(), passwordFile_.name() + CopySuffix);
    copy.copyText(*text);
    if (!copy.isOpen() || !copy.flush()) {
        copy.remove();
        return false;
    }
    const host::Ran ran = host::runThroughPipe(line(host::pathOf(copy.descriptor())));
    struct stat status {};
    const bool isThere = ::fstat(copy.descriptor(), &status) == 0 && (old.isOpen() || status.st_size > 0);
    if (ran != host::Ran::Done || !isThere) {
        copy.remove();
        return ran != host::Ran::NotStarted;
    }
    return copy.renameTo(passwordFile_.name(), old.number());
}

bool isUserName(const std::string& name) { return conf::isOneLine(name); }

}  // namespace zp
