#include "shared/DirectoryProtection.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>

#include "FileHandling.h"
#include "conf/ScratchFile.h"
#include "conf/Text.h"
#include "host/Access.h"
#include "host/Machine.h"
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
// The tool's command line for a password file.
using CommandLine = std::function<std::string(const std::string& passwordFile)>;

}  // namespace

DirectoryProtection::DirectoryProtection(const std::string& directory)
    : accessFile_(directory + "/.htaccess"),
      passwordFile_(directory + "/.htpasswd"),
      directives_{{{"AuthUserFile", passwordFile_.path()},
                   {"AuthName", "\"Restricted Area\""},
                   {"AuthType", "Basic"},
                   {"require", "valid-user"}}} {}

std::optional<std::string> DirectoryProtection::missingLines() const {
    std::string missing;
    for (const auto& [name, value] : directives_) {
        const auto isThere = hasParameter(accessFile_.path(), {name, value, Delimiter}, CommentMark);
        if (!isThere) {
            return std::nullopt;
        }
        if (!*isThere) {
            missing.append(name).append(1, Delimiter).append(value).append("\n");
        }
    }
    return missing;
}

bool DirectoryProtection::demandPassword() const {
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

bool DirectoryProtection::lift() const {
    FileHandling file;
    const std::string& path = accessFile_.path();
    return std::all_of(directives_.begin(), directives_.end(), [&](const Directive& directive) {
        const auto& [name, value] = directive;
        const auto isThere = hasParameter(path, {name, value, Delimiter}, CommentMark);
        return isThere && (!*isThere || file.delParamFromFile(path, name, value, Delimiter, CommentMark));
    });
}

namespace {

// A copy of a password file, on which the tool works.
class Copy {
public:
    explicit Copy(const host::HeldFile& file) : name_(file.name()), old_(file.open(O_RDONLY)) {
        if (file.directory() == nullptr || (!old_.isOpen() && file.state() != State::Missing)) {
            return;
        }
        copy_ = std::make_unique<conf::ScratchFile>(file.directory()->descriptor(), name_ + CopySuffix);
        const auto text = old_.isOpen() ? host::readAll(old_.number()) : std::string();
        before_ = text.value_or("");
        copy_->copyText(before_);
        if (!text || !copy_->flush()) {
            drop();
        }
    }
    bool isReady() const { return copy_ != nullptr && copy_->isOpen(); }
    bool hadFile() const { return old_.isOpen(); }

    // The tool gets the path of an open file: by its name it would write through a link of the owner's.
    host::Ran run(const CommandLine& line) const {
        return host::runThroughPipe(line(host::pathOf(copy_->descriptor())));
    }
    void drop() { copy_->remove(); }
    void setModeOfOld(mode_t mode) const {
        if (hadFile() && ::fchmod(old_.number(), mode) != 0) {
            host::noteFault("mode of " + name_);
        }
    }
    bool putInPlace(const std::string& user, std::optional<mode_t> mode = {}) {
        struct stat status {};
        const int copy = copy_->descriptor();
        const bool known = ::fstat(copy, &status) == 0;
        if (known && !hadFile() && status.st_size == 0) {  // the tool has made nothing
            drop();
            return true;
        }
        if (!known || !hasOthersThan(user) || (hadFile() && !host::takeOverAccess(old_.number(), copy)) ||
            (mode && ::fchmod(copy, *mode) != 0)) {
            drop();
            return false;
        }
        return copy_->renameTo(name_, -1);
    }

private:
    // To the tool a file that it cannot read on ends there: what it leaves must have everybody else's line.
    bool hasOthersThan(const std::string& user) const {
        const host::Descriptor copy(
            ::open(host::pathOf(copy_->descriptor()).c_str(), O_RDONLY | O_CLOEXEC));
        const auto now = copy.isOpen() ? host::readAll(copy.number()) : std::nullopt;
        std::istringstream lines(before_);
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with(user + ":") &&
                (!now || ("\n" + *now).find("\n" + line) == std::string::npos)) {
                return false;
            }
        }
        return now.has_value();
    }

    std::string name_, before_;
    host::Descriptor old_;
    std::unique_ptr<conf::ScratchFile> copy_;
};

CommandLine addition(const char* option, const std::string& user, const std::string& password) {
    return [=](const std::string& file) {
        return host::commandLine({host::program::PasswordTool, option, file, user, password});
    };
}

CommandLine deletion(const std::string& user) {
    return [=](const std::string& file) {
        return host::commandLine({host::program::PasswordTool, "-D", file, user});
    };
}

void show(const CommandLine& line, const host::HeldFile& file) {
    host::out() << "command=" << line(file.path()) << '\n';
}

}  // namespace

bool DirectoryProtection::addUser(const std::string& user, const std::string& password) const {
    Copy copy(passwordFile_);
    if (!copy.isReady()) {
        return false;
    }
    const host::Ran ran = copy.run(addition(copy.hadFile() ? "-b" : "-cb", user, password));
    if (ran == host::Ran::Done) {
        return copy.putInPlace(user, ReadOnlyForAll);
    }
    copy.drop();
    if (ran == host::Ran::NotStarted) {
        return false;
    }
    copy.setModeOfOld(ReadOnlyForAll);  // also where the tool has refused
    return true;
}

bool DirectoryProtection::deleteUser(const std::string& user) const {
    show(deletion(user), passwordFile_);
    Copy copy(passwordFile_);
    const host::Ran ran = copy.isReady() ? copy.run(deletion(user)) : host::Ran::NotStarted;
    if (ran == host::Ran::Done) {
        return copy.putInPlace(user);
    }
    if (copy.isReady()) {
        copy.drop();
    }
    return ran != host::Ran::NotStarted;
}

// On one copy. When the tool fails to delete there is nothing that could be lost: it adds to a fresh one.
DirectoryProtection::Replaced DirectoryProtection::replaceUser(const std::string& user,
                                                               const std::string& password) const {
    show(deletion(user), passwordFile_);
    std::optional<Copy> copy(passwordFile_);
    const host::Ran deleted = copy->isReady() ? copy->run(deletion(user)) : host::Ran::NotStarted;
    if (deleted != host::Ran::Done && copy->isReady()) {
        copy->drop();
    }
    if (deleted == host::Ran::NotStarted) {
        return Replaced::No;
    }
    show(addition("-b", user, password), passwordFile_);
    if (deleted == host::Ran::Failed) {
        copy.emplace(passwordFile_);
    }
    const host::Ran added =
        copy->isReady() ? copy->run(addition("-b", user, password)) : host::Ran::NotStarted;
    if (added == host::Ran::Done) {
        return copy->putInPlace(user) ? Replaced::Yes : Replaced::Deleted;
    }
    if (copy->isReady()) {
        copy->drop();
    }
    return added == host::Ran::NotStarted ? Replaced::Deleted : Replaced::Yes;
}

bool isUserName(const std::string& name) { return conf::isOneLine(name); }

}  // namespace zp
